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
/// Nothing without a curve.
KNOTWORK_EXPORT void writeCurveSvg(std::ostream& os, const FittedCurve& curve,
                                   const TtupleVector& points, const DoubleVec& parameters,
                                   const std::vector<CurveConstraint>& constraints,
                                   const std::string& title);

}  // namespace knotwork
