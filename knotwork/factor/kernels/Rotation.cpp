// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/Rotation.h"

#include <algorithm>

#include "knotwork/factor/kernels/Reflection.h"

namespace knotwork {

Rotation makeScaledRotation(double& a, double b)
{
    if (a == 0.0 && b == 0.0) return {1.0, 0.0};
    if (!std::isfinite(a) || !std::isfinite(b)) {
        a = std::fabs(a) + std::fabs(b);
        return {a - a, a - a};
    }
    const double scale = safeScale(std::max(std::fabs(a), std::fabs(b)));
    double scaled = a * scale;
    const Rotation rotation = makeRotation(scaled, b * scale);
    a = scaled / scale;
    return rotation;
}

}  // namespace knotwork
