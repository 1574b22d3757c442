// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/solvers/TsolverReporter.h"

namespace knotwork {

/// What a curve must meet exactly: its value, or a derivative, at a parameter.
struct CurveConstraint {
    double parameter;
    int derivative;             ///< 0: the value; k: the k-th derivative by the parameter
    std::vector<double> value;  ///< one number a coordinate, in the data's units
};

/// What to fit with.
struct CurveFitOptions {
    double tolerance = 1e-14;  ///< what counts as zero in the problem scaled to unit size; 0 to 1
    bool estimateCutoff = false;          ///< raises the tolerance to a gap in the singular values
    TsolverReporter* reporter = nullptr;  ///< hears the solver; null: nobody does
};

enum class FitVerdict {
    kMet,                   ///< the constraints are met and the rest is the least-squares fit
    kBadInput,              ///< points, parameters, basis and constraints do not make a problem
    kTooLarge,              ///< the system does not fit into memory or into the arrays' counts
    kDependentConstraints,  ///< the constraints depend on each other
    kUndetermined,          ///< the data do not fix every control point
    kInaccurate,            ///< no answer to trust: rounding, or a coarse tolerance, decides it,
                            ///< or the curve leaves the range of numbers
};

/// The honest figures of a fit, all in the data's units unless said otherwise.
struct CurveFitReport {
    FitVerdict verdict = FitVerdict::kBadInput;
    std::string reason;  ///< why there is no curve, as a sentence's end; empty when met
    int dataPoints = 0;
    int unknowns = 0;        ///< control points
    int constraints = 0;     ///< equations met exactly
    int columnsUsed = 0;     ///< unknowns that took part in the solution
    double tolerance = 0.0;  ///< as used, on the scaled problem; the cut-off if that was estimated
    double rms = 0.0;        ///< sqrt(sum of squared residuals, all coordinates / data points)
    double maxResidual = 0.0;  ///< largest distance of a data point from the curve at its parameter
    double maxResidualAt = 0.0;  ///< that parameter
    /// Largest deviation from a constraint, any coordinate. A derivative counts per row of unit
    /// length, so that slopes too are judged in the data's units.
    double constraintResidual = 0.0;
};

/// A fitted curve with its report; without control points unless the verdict is kMet.
struct KNOTWORK_EXPORT FittedCurve {
    BsplineBasis basis;
    int dimension = 0;                  ///< coordinates of a point
    std::vector<double> controlPoints;  ///< point after point
    CurveFitReport report;

    bool met() const { return report.verdict == FitVerdict::kMet; }
    /// The curve at t, or a derivative; one number a coordinate. Empty without a curve.
    std::vector<double> at(double t, int derivative = 0) const;
};

/// Fits a curve to points at given parameters, constraints held exactly.
/// Shapes     one parameter a point, in any order, within the basis's range; any dimension.
/// Method     the least-squares rows and the constraint rows, in a problem scaled to unit size,
///            go through Thouseholder; a second pass with the residuals as right-hand side both
///            polishes the answer and shows whether it can be believed.
/// Failures   are verdicts with a reason; nothing throws for lack of memory or for bad input.
KNOTWORK_EXPORT FittedCurve fitCurve(const TtupleVector& points, const DoubleVec& parameters,
                                     const BsplineBasis& basis,
                                     const std::vector<CurveConstraint>& constraints = {},
                                     const CurveFitOptions& options = {});

}  // namespace knotwork
