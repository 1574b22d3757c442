// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>

#include "knotwork/fit/BsplineBasis.h"

namespace knotwork {

/// The parameters that a basis takes: its range and, since parameters are sums that round, a little
/// beyond either end, from where they are brought back to that end; a periodic basis takes all.
class ParameterRange {
  public:
    explicit ParameterRange(const BsplineBasis& basis) : basis_(basis) {}

    static constexpr int kConstraintSteps = 4;  ///< roundings behind a constraint's parameter

    /// Whether t lies within the range but for that many roundings. False for a NaN.
    bool takes(double t, int steps) const
    {
        if (basis_.closed()) return std::isfinite(t);
        const double slack = steps * 0x1p-52 * basis_.period();
        return t >= basis_.first() - slack && t <= basis_.last() + slack;
    }
    double inside(double t) const
    {
        return basis_.closed() ? basis_.wrapped(t) : std::clamp(t, basis_.first(), basis_.last());
    }

  private:
    const BsplineBasis& basis_;
};

}  // namespace knotwork
