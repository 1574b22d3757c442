// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork {

/// How parameters are spread over a run of points.
enum class Parameterisation {
    kUniform,      ///< equal steps
    kChord,        ///< in proportion to the distance between neighbours
    kCentripetal,  ///< in proportion to its square root
};

/// One parameter a point, ascending from 0 to 1. Empty for fewer than two points, for points that
/// all coincide (unless uniform) and for coordinates that are no finite numbers.
KNOTWORK_EXPORT DoubleVec parameterValues(const TtupleVector& points, Parameterisation mode);

}  // namespace knotwork
