// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// An exact factor for numbers of this magnitude that makes their squares and reciprocals safe, and
/// gives subnormal ones all their digits for what follows.
double safeScale(double magnitude);

/// The reflection I - tau w w^T, w(0) = 1, that sends a vector to sigma times the first axis. tau
/// is 0 when there is nothing to reflect, and otherwise lies between 1 and 2.
struct Reflection {
    double sigma;
    double tau;
    double inverse;  ///< times the vector is w, but for w(0)
};

/// The reflection of a vector that begins with alpha and is `norm` > 0 long. sigma's sign is
/// opposite to alpha's, so that nothing cancels; a zero counts as positive.
/// Range     norm and its reciprocal must be doubles; makeReflection takes all vectors.
inline Reflection reflectionOf(double alpha, double norm)
{
    const double sigma = alpha < 0.0 ? norm : -norm;
    return {sigma, (sigma - alpha) / sigma, 1.0 / (alpha - sigma)};
}

/// True for lengths whose squares, and those of all that counts beside them, lose no digits.
inline bool hasSafeSquare(double length)
{
    return length > 1e-140 && length < 1e140;
}

/// Turns x into w, with 1 in x(0). A zero x stays, with tau 0.
/// Range     all of it, subnormal numbers too: where squares would leave the doubles, x is scaled
/// by
///           a power of two first. A norm above the largest double is infinite.
Reflection makeReflection(int n, double* x);

}  // namespace knotwork
