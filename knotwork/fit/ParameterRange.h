// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/fit/BsplineBasis.h"

namespace knotwork {

/// The parameters that a basis takes: its range and, since parameters are sums that round, a little
/// beyond either end, from where they are brought back to that end.
class ParameterRange {
  public:
    explicit ParameterRange(const BsplineBasis& basis) : first_(basis.first()), last_(basis.last())
    {
    }

    static constexpr int kConstraintSteps = 4;  ///< roundings behind a constraint's parameter

    /// Whether t lies within the range but for that many roundings. False for a NaN.
    bool takes(double t, int steps) const
    {
        const double slack = steps * 0x1p-52 * (last_ - first_);
        return t >= first_ - slack && t <= last_ + slack;
    }
    double clamped(double t) const { return std::clamp(t, first_, last_); }

  private:
    double first_;
    double last_;
};

}  // namespace knotwork
