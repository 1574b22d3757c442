// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "knotwork/fit/FitReport.h"
#include "knotwork/solvers/TsolverReporter.h"

namespace knotwork {

/// How to fit, a curve or a surface.
struct FitOptions {
    // Not left to the compiler: GCC 12 warns, wrongly, where options are made of {}.
    FitOptions() {}  // NOLINT(modernize-use-equals-default)

    FitMethod method = FitMethod::kHouseholder;
    /// What counts as zero in the problem scaled to unit size, 0 to 1. Above 0 a fit is refused
    /// unless the solver of the method, with this as its tolerance, finds the same.
    double zero = 0.0;
    bool estimateCutoff = false;          ///< raises that to a gap in the singular values
    TsolverReporter* reporter = nullptr;  ///< hears the solver; null: nobody does
    /// Hears what share of the work is done, ascending to 1, at most a hundred times; may be null.
    std::function<void(double)> progress;

    bool asksSolver() const { return zero > 0.0 || estimateCutoff; }
};

}  // namespace knotwork
