// SPDX-License-Identifier: MIT
#include "knotwork/fit/Parameters.h"

#include <cmath>

namespace knotwork {

namespace {

/// Brings the numbers to unit size by a power of two, which loses no digit: no distance overflows
/// then, and none vanishes. False when a number is not finite.
bool scaleToUnitSize(DoubleVec numbers)
{
    double largest = 0.0;
    for (int i = 0, n = static_cast<int>(numbers.length()); i < n; ++i) {
        if (!std::isfinite(numbers(i))) return false;
        largest = std::fmax(largest, std::fabs(numbers(i)));
    }
    if (largest == 0.0) return true;
    const int exponent = std::ilogb(largest);
    for (int i = 0, n = static_cast<int>(numbers.length()); i < n; ++i)
        numbers(i) = std::ldexp(numbers(i), -exponent);
    return true;
}

double stepBetween(const DoubleVec& a, const DoubleVec& b, Parameterisation mode)
{
    if (mode == Parameterisation::kUniform) return 1.0;
    const double distance = (b - a).vecLen();
    return mode == Parameterisation::kChord ? distance : std::sqrt(distance);
}

}  // namespace

DoubleVec parameterValues(const TtupleVector& points, Parameterisation mode)
{
    const int n = points.points();
    if (n < 2) return DoubleVec();
    TtupleVector source(points.copy());
    if (!scaleToUnitSize(source.data())) return DoubleVec();
    double largest = 0.0;
    DoubleVec steps(static_cast<unsigned>(n), 0.0);
    for (int i = 1; i < n; ++i) {
        steps(i) = stepBetween(source(i - 1), source(i), mode);
        if (steps(i) > largest) largest = steps(i);
    }
    if (largest == 0.0) return DoubleVec();
    for (int i = 1; i < n; ++i) steps(i) /= largest;  // sums of large steps stay finite
    DoubleVec parameters(cumsum(steps));
    const double total = parameters(n - 1);
    for (int i = 0; i < n; ++i) parameters(i) /= total;
    return parameters;
}

}  // namespace knotwork
