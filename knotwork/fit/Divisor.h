// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

namespace knotwork {

/// Divides by a power of two, in two steps of which each is a double.
class Divisor {
  public:
    explicit Divisor(int exponent)
        : first_(std::ldexp(1.0, -exponent / 2)),
          second_(std::ldexp(1.0, -exponent - -exponent / 2))
    {
    }
    double operator()(double x) const { return x * first_ * second_; }

  private:
    double first_;
    double second_;
};

}  // namespace knotwork
