// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <vector>

#include "knotwork/fit/FitReport.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace knotwork {

// What fits of curves and of surfaces share: limits, refusals, and what happens without memory. A
// Fitted has a report and forget(), which lets go of all that was made.

constexpr double kBelievable = 1e-9;      // largest error, of the answer's or the data's size
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the same size

constexpr const char* kValueOutOfRange = "a constraint's value leaves the range of numbers";

template <class Fitted>
void refuse(Fitted& fitted, FitVerdict verdict, const std::string& reason)
{
    fitted.forget();
    fitted.report.verdict = verdict;
    fitted.report.reason = reason;
}

/// What a believed answer is called. met: whether constraints are.
inline FitVerdict verdictOf(const FitReport& report, bool met)
{
    if (report.constraints == 0) return FitVerdict::kFitted;
    if (met) return FitVerdict::kMet;
    return report.method == FitMethod::kQr ? FitVerdict::kCompromise : FitVerdict::kInaccurate;
}

inline std::string tooFewEquations(long long unknowns, long long equations, const char* noun)
{
    return std::to_string(unknowns) + " unknowns are more than " + std::to_string(equations) + " " +
           noun + " can fix";
}

/// Points close to the largest number can have control points, or residuals, beyond it.
/// largestKnown: whether the largest residual is.
inline bool isFinite(const std::vector<double>& controlPoints, const FitReport& report,
                     bool largestKnown = true)
{
    return std::isfinite(report.rms) && (!largestKnown || std::isfinite(report.maxResidual)) &&
           std::isfinite(report.constraintResidual) &&
           std::all_of(controlPoints.begin(), controlPoints.end(),
                       [](double x) { return std::isfinite(x); });
}

/// Runs a fit unless fault() says what is wrong with the request. Where anything in it finds no
/// memory, the report says so, which takes no memory itself. The caller's callbacks run in here
/// too.
template <class Fitted, class Fault, class Fit>
Fitted checkedFit(FitMethod method, Fault fault, Fit fit)
{
    Fitted fitted;
    fitted.report.method = method;
    try {
        const OutOfMemoryThrows scope;
        const std::string found = fault();
        if (found.empty())
            fit(fitted);
        else
            refuse(fitted, FitVerdict::kBadInput, found);
        return fitted;
    } catch (const std::bad_alloc&) {
        fitted.forget();
    }
    fitted.report.verdict = FitVerdict::kTooLarge;
    fitted.report.reason.clear();
    try {
        fitted.report.reason = "the system does not fit into memory";
    } catch (const std::bad_alloc&) {
        fitted.report.reason = "no memory";  // so short that a string has room for it
    }
    return fitted;
}

}  // namespace knotwork
