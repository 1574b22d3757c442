// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "measures/FitOracle.h"

namespace knotwork_measures {

/// Draws that are the same with every standard library.
class Draw {
  public:
    Draw(std::uint64_t seed, std::uint64_t index) : bits_(seed * 0x9e3779b97f4a7c15U + index) {}
    int below(int n) { return static_cast<int>(bits_() % static_cast<std::uint64_t>(n)); }
    int from(int first, int last) { return first + below(last - first + 1); }
    bool chance(int percent) { return below(100) < percent; }
    double unit() { return static_cast<double>(bits_() >> 11) * 0x1p-53; }  ///< in [0, 1)
    double signedUnit() { return 2.0 * unit() - 1.0; }
    double power(double first, double last)  ///< of ten
    {
        return std::pow(10.0, first + (last - first) * unit());
    }
    template <class T>
    const T& oneOf(const std::vector<T>& values)
    {
        return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
    }

  private:
    std::mt19937_64 bits_;
};

/// How wild a direction may be.
struct Wildness {
    int mostUnknowns;
    int mostDegree;      ///< in rare cases two more
    int tamePercent;     ///< of the choices of parameters that spread them over all spans
    int mostPerUnknown;  ///< samples
};

knotwork::BsplineBasis randomBasis(Draw& draw, const Wildness& wildness);
/// Of a closed curve: one span and more, fewer than the degree among them.
knotwork::BsplineBasis randomPeriodicBasis(Draw& draw, const Wildness& wildness);
std::vector<double> randomParameters(Draw& draw, const knotwork::BsplineBasis& basis,
                                     const Wildness& wildness);
std::vector<Place> randomPlaces(Draw& draw, const knotwork::BsplineBasis& basis,
                                const std::vector<double>& parameters, int count);

}  // namespace knotwork_measures
