// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "knotwork/export.h"
#include "knotwork/fit/CurveFit.h"

namespace knotwork {

/// Writes a picture of a fit as SVG: data, curve, control polygon, knots, constraints; axes with
/// numbers, the figures of the report below the title; of a closed curve the seam. A curve of one
/// coordinate is drawn over its parameter, others in their first two coordinates with equal units.
/// What holds in one of the two is a bar along the line it asks for, at the curve. With the options
/// of the fit also its directions, as arrows, and held control points. Nothing without a curve.
KNOTWORK_EXPORT void writeCurveSvg(std::ostream& os, const FittedCurve& curve,
                                   const TtupleVector& points, const DoubleVec& parameters,
                                   const std::vector<CurveConstraint>& constraints,
                                   const std::string& title, const CurveFitOptions& options = {});

}  // namespace knotwork
