// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"

namespace knotwork {

/// The curve of a basis and its control points (point after point, `dimension` numbers each), made
/// through a kernel record, which is the only way that knots get into one. A periodic basis makes
/// the periodic form, whose outermost knots, which shape nothing, count as 1 beyond their
/// neighbours.
KNOTWORK_EXPORT std::shared_ptr<AP_SPLINE> makeSpline(const BsplineBasis& basis, int dimension,
                                                      const std::vector<double>& controlPoints);

/// The surface of two bases; control points in rows of constant v.
KNOTWORK_EXPORT std::shared_ptr<AP_SURFACE> makeSurface(const BsplineBasis& u,
                                                        const BsplineBasis& v, int dimension,
                                                        const std::vector<double>& controlPoints);

}  // namespace knotwork
