// SPDX-License-Identifier: MIT
#include "knotwork/fit/Numbers.h"

#include <algorithm>
#include <cmath>

namespace knotwork {

bool allFinite(const DoubleVec& v)
{
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i)
        if (!std::isfinite(v(i))) return false;
    return true;
}

double largestMagnitude(const DoubleVec& v)
{
    double largest = 0.0;
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) {
        const double magnitude = std::fabs(v(i));
        if (std::isnan(magnitude)) return magnitude;
        largest = std::max(largest, magnitude);
    }
    return largest;
}

DoubleVec contiguous(const DoubleVec& v)
{
    return v.stride() == 1 ? v : v.copy();
}

}  // namespace knotwork
