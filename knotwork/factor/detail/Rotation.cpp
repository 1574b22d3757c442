// SPDX-License-Identifier: MIT
#include "knotwork/factor/detail/Rotation.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/detail/Reflection.h"
#include "knotwork/platform/blas.h"

namespace knotwork {

/// Not every linked drotg scales by itself: one that squares its arguments as they are loses digits
/// below 1e-154, returns infinity below 1e-162 and above 1e154, and a factor of medium size holds
/// elements that small.
Rotation makeRotation(double& a, double b)
{
    Rotation r;
    const double scale = safeScale(std::max(std::fabs(a), std::fabs(b)));
    a *= scale;
    b *= scale;
    drotg_(&a, &b, &r.c, &r.s);
    a /= scale;
    return r;
}

}  // namespace knotwork
