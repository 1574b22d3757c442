// SPDX-License-Identifier: MIT
#include "knotwork/fit/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace knotwork {

int firstNotFinite(const DoubleVec& v)
{
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i)
        if (!std::isfinite(v(i))) return i;
    return -1;
}

bool allFinite(const DoubleVec& v)
{
    return firstNotFinite(v) < 0;
}

std::string shortestText(double x)
{
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, x);
    return std::string(text, end.ptr);
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
