// SPDX-License-Identifier: MIT
#pragma once

#include <new>

#include "knotwork/fit/FitReport.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace knotwork {

/// Runs a fit. Where anything in it finds no memory, `forget` lets go of what was made, and the
/// report says so; that takes no memory itself. The caller's callbacks run in here too.
template <class Fit, class Forget>
void withinMemory(FitReport& report, Fit fit, Forget forget)
{
    try {
        const OutOfMemoryThrows scope;
        return fit();
    } catch (const std::bad_alloc&) {
        forget();
    }
    report.verdict = FitVerdict::kTooLarge;
    report.reason.clear();
    try {
        report.reason = "the system does not fit into memory";
    } catch (const std::bad_alloc&) {
        report.reason = "no memory";  // so short that a string has room for it
    }
}

}  // namespace knotwork
