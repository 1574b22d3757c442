// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork {

/// Puts knots into a basis and moves its control points (`dimension` numbers each, the weight among
/// them if there is one) so that the shape stays, whatever a knot's multiplicity becomes.
/// Knots     in any order, inside the basis's range and not at its ends; none may become more than
///           `degree`-fold. False, and nothing changes, for others. A periodic basis gets them in
///           every period, rounded as its others are.
/// Accuracy  combinations of neighbours with shares from 0 to 1, one for each knot: to within a few
///           eps of the largest control point a knot.
/// Source    W. Boehm, Inserting new knots into B-spline curves, Computer-Aided Design 12 (1980).
KNOTWORK_EXPORT bool refine(BsplineBasis& basis, int dimension, std::vector<double>& controlPoints,
                            const std::vector<double>& knots);

/// The same for a fitted curve, its spline made anew; the report stays that of the fit.
KNOTWORK_EXPORT bool refine(FittedCurve& curve, const std::vector<double>& knots);
KNOTWORK_EXPORT bool refine(FittedSurface& surface, const std::vector<double>& knotsU,
                            const std::vector<double>& knotsV);

/// The same closed curve as an open one over one period, with clamped ends that are the same point
/// to the bit: for those who know no other. An open curve: itself.
/// Accuracy  as refine(), with degree knots at either end.
KNOTWORK_EXPORT FittedCurve clampedForm(const FittedCurve& curve);

/// The bases of a curve or surface of degree 1 or more, with all their knots. The outermost ones,
/// which such objects do not keep and no shape depends on, repeat their neighbours, or lie 1 beyond
/// them in a periodic form. With CV() this is what refine() takes and makeSpline() gives back.
KNOTWORK_EXPORT BsplineBasis basisOf(const AP_SPLINE& curve);
KNOTWORK_EXPORT BsplineBasis basisInU(const AP_SURFACE& surface);
KNOTWORK_EXPORT BsplineBasis basisInV(const AP_SURFACE& surface);

}  // namespace knotwork
