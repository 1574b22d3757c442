// SPDX-License-Identifier: MIT
#pragma once

#include <limits>
#include <random>

namespace knotwork_measures {

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Small random numbers from a fixed seed, the same with every standard library.
class Dice {
  public:
    explicit Dice(unsigned seed) : bits_(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(bits_() % n); }
    double unit() { return static_cast<double>(bits_() >> 11) * 0x1p-53; }  ///< in [0, 1)

  private:
    std::mt19937_64 bits_;
};

}  // namespace knotwork_measures
