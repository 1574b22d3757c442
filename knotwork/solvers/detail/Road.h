// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "knotwork/solvers/detail/LaneReader.h"
#include "knotwork/solvers/detail/WorkingMatrix.h"

namespace knotwork {

/// A factored system, and how to get from right-hand sides to unknowns. Only read once it is made,
/// so that solvers on several threads may share it.
class Road {
  public:
    virtual ~Road() = default;
    /// x: a row of rhs.lanes() for each unknown.
    virtual void solve(const LaneReader& rhs, double* x) const = 0;
    /// An answer without a number as large as that is to be had on the literal road.
    virtual double leastAnswer() const = 0;
};

/// The short road for a system, through spans or in blocks; null where it might not lead to where
/// the literal one does: see RoadGuard.h.
std::unique_ptr<const Road> findShortRoad(const WorkingMatrix& system, int constraints,
                                          double negligible);

}  // namespace knotwork
