// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace knotwork {

/// What becomes of constraints.
enum class FitMethod {
    kHouseholder,  ///< met exactly; the other rows are fitted in what they leave open
    kQr,           ///< fitted like the others: a constraint is one more row of the least squares
};

enum class FitVerdict {
    kMet,                   ///< there are constraints, all are met, and the rest is the
                            ///< least-squares fit
    kFitted,                ///< there are none: the least-squares fit
    kCompromise,            ///< the least-squares fit of all rows, which leaves constraints unmet;
                            ///< only with a method that fits them
    kBadInput,              ///< points, parameters, basis and constraints do not make a problem
    kTooLarge,              ///< the system does not fit into memory or into the arrays' counts
    kDependentConstraints,  ///< the constraints depend on each other
    kUndetermined,          ///< the data do not fix every control point
    kInaccurate,            ///< no answer to trust: rounding, or what was to count as zero, decides
                            ///< it, or the answer leaves the range of numbers
};

/// The honest figures of a fit, all in the data's units unless said otherwise.
struct FitReport {
    FitVerdict verdict = FitVerdict::kBadInput;
    std::string reason;   ///< why there is no fit, as a sentence's end; empty when there is one
    int dataPoints = 0;   ///< at most 2^31 - 1 of them are counted here
    int unknowns = 0;     ///< control points
    int constraints = 0;  ///< equations that are constraints
    int columnsUsed = 0;  ///< unknowns that took part in the solution
    double zero = 0.0;    ///< what counted as zero in the scaled problem; a cut-off if estimated
    /// sqrt(sum of squared residuals, all coordinates / data points); with weights
    /// sqrt(sum of weighted ones / sum of weights).
    double rms = 0.0;
    /// Largest distance of a data point from the fit at its parameters, of those with a weight; NaN
    /// where the samples are gone.
    double maxResidual = 0.0;
    /// Largest deviation from a constraint, any coordinate. A derivative counts per row of unit
    /// length, so that slopes too are judged in the data's units.
    double constraintResidual = 0.0;
    FitMethod method = FitMethod::kHouseholder;

    /// Whether there is a fit: met, fitted, or a compromise.
    bool fits() const
    {
        return verdict == FitVerdict::kMet || verdict == FitVerdict::kFitted ||
               verdict == FitVerdict::kCompromise;
    }
};

}  // namespace knotwork
