// SPDX-License-Identifier: MIT
#include "knotwork/fit/Parameters.h"

#include <cmath>

namespace knotwork {

namespace {

double stepBetween(const DoubleVec& a, const DoubleVec& b, Parameterisation mode)
{
    if (mode == Parameterisation::kUniform) return 1.0;
    // Halved first, so that points at opposite ends of the range of doubles stay finite.
    const double distance = (b * 0.5 - a * 0.5).vecLen();
    return mode == Parameterisation::kChord ? distance : std::sqrt(distance);
}

}  // namespace

DoubleVec parameterValues(const TtupleVector& points, Parameterisation mode)
{
    const int n = points.points();
    if (n < 2) return DoubleVec();
    TtupleVector source(points);
    double largest = 0.0;
    DoubleVec steps(static_cast<unsigned>(n), 0.0);
    for (int i = 1; i < n; ++i) {
        steps(i) = stepBetween(source(i - 1), source(i), mode);
        if (!std::isfinite(steps(i))) return DoubleVec();
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
