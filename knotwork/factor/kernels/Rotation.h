// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

namespace knotwork {

/// The plane rotation that turns (a, b) into (c a + s b, c b - s a).
struct Rotation {
    double c;
    double s;

    void turn(double& a, double& b) const
    {
        const double before = a;
        a = c * before + s * b;
        b = c * b - s * before;
    }
};

/// makeRotation where squares would leave the range of doubles, or there is nothing to rotate.
Rotation makeScaledRotation(double& a, double b);

/// The rotation that sends (a, b) to (r, 0); a becomes r, which takes the sign of the larger
/// argument, of b on ties. Good over the whole range, subnormal to largest.
inline Rotation makeRotation(double& a, double b)
{
    const double larger = std::fabs(a) > std::fabs(b) ? a : b;
    if (!(std::fabs(larger) > 1e-140 && std::fabs(larger) < 1e140)) return makeScaledRotation(a, b);
    const double r = std::copysign(std::sqrt(a * a + b * b), larger);
    const Rotation rotation = {a / r, b / r};
    a = r;
    return rotation;
}

}  // namespace knotwork
