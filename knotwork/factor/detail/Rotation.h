// SPDX-License-Identifier: MIT
#pragma once

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

/// The rotation that sends (a, b) to (r, 0); a becomes r. Signs are drotg's: r takes that of the
/// larger argument, of b on ties. Good over the whole range, subnormal to largest, with any drotg.
Rotation makeRotation(double& a, double b);

}  // namespace knotwork
