// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/FitOptions.h"
#include "knotwork/fit/FitReport.h"
#include "knotwork/fit/LineConstraint.h"
#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntGenMat.h"

namespace knotwork {

/// What to fit with.
struct SurfaceFitOptions : FitOptions {
    std::vector<LineConstraint> acrossU;  ///< lines of constant u; values run along v
    std::vector<LineConstraint> acrossV;  ///< lines of constant v; values run along u
    /// Of the squared residuals, one a row and one a column of points, 0 or more; a point's is the
    /// product of the two. None: all are 1. A line of weight 0 is left out.
    DoubleVec uWeights;
    DoubleVec vWeights;
};

struct SurfaceFitReport : FitReport {
    double maxResidualAtU = 0.0;  ///< the parameters of the largest residual
    double maxResidualAtV = 0.0;
};

/// A fitted surface with its report; without control points unless that says there is a fit.
struct KNOTWORK_EXPORT FittedSurface {
    BsplineBasis u;
    BsplineBasis v;
    int dimension = 0;                          ///< coordinates of a point
    std::vector<double> controlPoints;          ///< rows of constant v, each with all points in u
    std::shared_ptr<const AP_SURFACE> surface;  ///< the same surface, to evaluate and hand on
    SurfaceFitReport report;

    bool met() const { return report.verdict == FitVerdict::kMet; }
    bool fits() const { return report.fits(); }  ///< met, fitted, or a compromise
    void forget();                               ///< the control points and the surface
    /// The surface at (u, v), or a partial derivative; one number a coordinate. Empty without one.
    std::vector<double> at(double u, double v, int derivativeU = 0, int derivativeV = 0) const;
};

/// Constraints that hold the first and last line of samples in a direction, so that corners are met
/// exactly and each border is the end-exact fit of its own samples.
KNOTWORK_EXPORT std::vector<LineConstraint> endLinesInU(const TtupleMatrix& points,
                                                        const DoubleVec& uParameters);
KNOTWORK_EXPORT std::vector<LineConstraint> endLinesInV(const TtupleMatrix& points,
                                                        const DoubleVec& vParameters);

/// Fits a surface to a grid of points, lines of constraints held exactly or fitted too.
/// Shapes     points: rows in u, columns in v; one parameter a row and one a column.
/// Method     columns of points are fitted along v and what comes out of them along u, each
///            direction like a curve, refined and judged likewise; the error of the first counts
///            with what the second makes of it. Where a line of constant u crosses one of constant
///            v, the value is read off the line that asks for a value at a sample of the other;
///            where both ask for derivatives the mixed derivative is 0. With kQr a line counts in
///            its direction like samples of weight 1 there.
/// Figures    of the points with a weight; sums are weighted, the largest residual is not.
/// Failures   are verdicts with a reason.
KNOTWORK_EXPORT FittedSurface fitSurface(const TtupleMatrix& points, const DoubleVec& uParameters,
                                         const DoubleVec& vParameters, const BsplineBasis& u,
                                         const BsplineBasis& v,
                                         const SurfaceFitOptions& options = {});

/// The same with some control points given: where mask (rows in u, columns in v) is 1, `held` has
/// them and they stay to the bit; the others are fitted. No line constraints. What is held is
/// subtracted from the data and the rest solved direction by direction, which is not the joint
/// least-squares fit of the free control points.
KNOTWORK_EXPORT FittedSurface fitSurfaceAround(const TtupleMatrix& points,
                                               const DoubleVec& uParameters,
                                               const DoubleVec& vParameters, const BsplineBasis& u,
                                               const BsplineBasis& v, const IntGenMat& mask,
                                               const TtupleMatrix& held,
                                               const SurfaceFitOptions& options = {});

}  // namespace knotwork
