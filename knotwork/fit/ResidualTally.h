// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// The error figures of a fit, some data points at a time.
class ResidualTally {
  public:
    /// Counts points by the sum of their squared distances from the fit, each times its weight, by
    /// their weights' sum and the largest squared distance; returns whether none before lay as far
    /// away. Points without weight count for nothing: their largest is below 0.
    bool add(double squares, double weights, double largest)
    {
        total_ += DoubleDouble(squares);
        weights_ += DoubleDouble(weights);
        // Negated, so that what is no number is kept.
        if (largest <= largest_) return false;
        largest_ = largest;
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
