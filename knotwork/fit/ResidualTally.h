// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// The error figures of a fit, data point by data point.
class ResidualTally {
  public:
    /// Counts a point by its squared distance from the fit; returns whether none before lay as far
    /// away. A point without weight counts for nothing.
    bool add(double squares, double weight = 1.0)
    {
        if (weight == 0.0) return false;
        total_ += DoubleDouble(weight * squares);
        weights_ += DoubleDouble(weight);
        if (squares <= largest_) return false;
        largest_ = squares;
        return true;
    }

    /// Whether distances that rounded, each by about eps times the largest of the numbers that it
    /// is made of, are good for three digits.
    bool standsRounding(double largestNumber) const
    {
        constexpr double kRounding = 16 * 0x1p-52;
        return rms() > 1e3 * kRounding * largestNumber;
    }

    double rms() const { return std::sqrt((total_ / weights_).high); }
    double largest() const { return std::sqrt(largest_); }

  private:
    DoubleDouble total_;
    DoubleDouble weights_;
    double largest_ = -1.0;
};

}  // namespace knotwork
