// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// An exact factor for numbers of this magnitude that makes their squares and reciprocals safe, and
/// gives subnormal ones all their digits for what follows.
double safeScale(double magnitude);

/// Turns x into the v of the reflection I - v v^T / v(0) that sends x to sigma times the first
/// axis, and returns sigma, whose sign is opposite to x(0)'s, a zero counting as positive; 0.0 for
/// a zero x, which stays. v(0) lies between 1 and 2.
double makeReflection(int n, double* x);

}  // namespace knotwork
