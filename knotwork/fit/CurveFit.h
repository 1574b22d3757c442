// SPDX-License-Identifier: MIT
#pragma once

#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveAccumulator.h"
#include "knotwork/fit/CurveConstraints.h"
#include "knotwork/fit/CurveSamples.h"
#include "knotwork/fit/FitOptions.h"
#include "knotwork/fit/FitReport.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork {

/// What to fit with.
struct CurveFitOptions : FitOptions {
    DoubleVec weights;  ///< of the squared residuals, one a point, 0 or more; empty: all are 1
    // More to meet than values and derivatives. Directions are for kHouseholder.
    std::vector<LinearConstraint> linear;
    std::vector<DirectionConstraint> directions;
    std::vector<HeldControlPoint> held;

    /// Smoothing: lambda, 0 or more. With it lambda (sum of weights) T^(2K - 1) times the integral
    /// of the squared K-th derivative over the range, of length T, joins the sum of the squared
    /// residuals, so that units, the number of data and that of knots change nothing. Spans without
    /// data are bridged then. Not with kQr.
    std::optional<double> smoothing;
    bool autoSmoothing = false;  ///< instead: the lambda of the least generalised cross-validation
    int smoothingOrder = 0;      ///< K, 1 to the degree; 0: 2, or the degree where that is 1
};

struct CurveFitReport : FitReport {
    double maxResidualAt = 0.0;  ///< the parameter of the largest residual
    /// What else is to be known of the curve, sentences' ends: a tangent that was to have a
    /// direction and vanishes, or points the other way; spans without data that hardly any
    /// smoothing bridges.
    std::vector<std::string> remarks;

    // Of a smoothed fit; NaN without.
    double lambda = std::numeric_limits<double>::quiet_NaN();
    /// The degrees of freedom that the data use, of a coordinate: control points that constraints
    /// leave free, down to what smoothing leaves.
    double effectiveDf = std::numeric_limits<double>::quiet_NaN();
    /// Generalised cross-validation, in squared units of the data: sum w |r|^2 / (d M) over
    /// (1 - effectiveDf / M)^2 for M points with a weight and d coordinates.
    double gcv = std::numeric_limits<double>::quiet_NaN();
    /// Whether lambda was looked for and the search ended where hardly any of the freedom is left,
    /// or all of it: few clean data interpolate.
    bool smoothingAtEnd = false;
};

/// A fitted curve with its report; without control points unless that says there is a fit.
struct KNOTWORK_EXPORT FittedCurve {
    BsplineBasis basis;
    int dimension = 0;                        ///< coordinates of a point
    std::vector<double> controlPoints;        ///< point after point
    std::shared_ptr<const AP_SPLINE> spline;  ///< the same curve, to evaluate and hand on
    CurveFitReport report;

    bool met() const { return report.verdict == FitVerdict::kMet; }
    bool fits() const { return report.fits(); }  ///< met, fitted, or a compromise
    void forget();                               ///< the control points and the spline
    /// The curve at t, or a derivative; one number a coordinate. Empty without a curve.
    std::vector<double> at(double t, int derivative = 0) const;
};

/// Fits a curve to points at given parameters, constraints held exactly or fitted too: what becomes
/// smallest is the sum of the squared residuals, each times its weight.
/// Shapes     one parameter a point, in any order, within the basis's range but for rounding: what
///            is at most (number of points) x eps x the range beyond it counts as its end (4 eps
///            for a constraint); any dimension.
/// Method     in a problem scaled to unit size the data rows are compressed to a triangle, in which
///            the constraints are eliminated; the solution is then refined by what it leaves of the
///            rows themselves, in doubled precision where double is not enough. With kQr a value
///            counts like a data point of weight 1 and a derivative like one along a row of about
///            unit length.
/// Smoothing  a penalty joins the squares, see CurveFitOptions; to look for its share costs some
///            fifty factorisations of a band, whatever the number of points.
/// Source     Wahba: Spline Models for Observational Data (SIAM 1990), chapters 1 and 4.
/// Verdict    an answer stands where data and constraints determine it and its error, estimated
///            from the condition and the last correction, is below 1e-9 of the largest control
///            point, or of the data where those are larger; docs/RELIABILITY.md has what was
///            measured.
/// Failures   are verdicts with a reason; nothing throws for lack of memory or for bad input.
/// Threads    may fit the same points, parameters and weights, which are only read.
KNOTWORK_EXPORT FittedCurve fitCurve(const TtupleVector& points, const DoubleVec& parameters,
                                     const BsplineBasis& basis,
                                     const std::vector<CurveConstraint>& constraints = {},
                                     const CurveFitOptions& options = {});

/// The same for samples that are handed out a stretch at a time, twice or a few times more: nothing
/// grows with their number. Weights come with the samples; what counts as beyond the knots by
/// rounding goes by the length of a stretch.
KNOTWORK_EXPORT FittedCurve fitCurve(const SampleReader& reader, int dimension,
                                     const BsplineBasis& basis,
                                     const std::vector<CurveConstraint>& constraints = {},
                                     const CurveFitOptions& options = {});

/// The same for samples that were gathered: parts that merged, in whatever order, give the same
/// curve but for rounding. The error of the gathering itself cannot be refined away, so that fewer
/// ill-conditioned fits stand. The largest residual is not known (NaN), nor where it is.
KNOTWORK_EXPORT FittedCurve fitCurve(const CurveAccumulator& gathered,
                                     const std::vector<CurveConstraint>& constraints = {},
                                     const CurveFitOptions& options = {});

}  // namespace knotwork
