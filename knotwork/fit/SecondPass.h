// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "knotwork/geometry/TtupleVector.h"

namespace knotwork {

/// Solves for right-hand sides and says whether it could.
using PassSolver = std::function<bool(const TtupleVector& rhs, TtupleVector& unknowns)>;

/// Solves once more for what x leaves of the right-hand sides and adds the correction to x. Returns
/// the largest correction as a share of the largest unknown of its coordinate, 1 when there is no
/// telling: how far rounding, or a raised cut-off, had moved the answer.
/// Shapes    left: overwritten; x: one point an unknown.
double polish(TtupleVector left, TtupleVector x, const PassSolver& solve);

}  // namespace knotwork
