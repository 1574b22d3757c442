// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// An unevaluated sum of two doubles, the second below half a unit in the last place of the first:
/// about 106 bits, the same ones on every machine. Numbers of unit size; nothing is said about
/// overflow, and products below 1e-290 lose digits.
/// Source    Dekker: A floating-point technique for extending the available precision, Numer.
///           Math. 18 (1971); Knuth: The Art of Computer Programming 2, 4.2.2, for the sum.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;

    DoubleDouble() = default;
    DoubleDouble(double x) : high(x) {}  // NOLINT: a double is one, like an int is a double
    DoubleDouble(double h, double l) : high(h), low(l) {}
};

/// The sum exactly, of any two doubles.
inline DoubleDouble twoSum(double a, double b)
{
    const double sum = a + b;
    const double shown = sum - a;
    return {sum, (a - (sum - shown)) + (b - shown)};
}

/// The same where |a| >= |b|.
inline DoubleDouble quickTwoSum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

inline DoubleDouble twoProduct(double a, double b)
{
    constexpr double kSplitter = 134217729.0;  // 2^27 + 1
    const double p = a * b;
    const double ca = kSplitter * a;
    const double cb = kSplitter * b;
    const double aHigh = ca - (ca - a);
    const double bHigh = cb - (cb - b);
    const double aLow = a - aHigh;
    const double bLow = b - bHigh;
    return {p, ((aHigh * bHigh - p) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

inline DoubleDouble operator-(DoubleDouble a)
{
    return {-a.high, -a.low};
}

inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble high = twoSum(a.high, b.high);
    const DoubleDouble low = twoSum(a.low, b.low);
    const DoubleDouble sum = quickTwoSum(high.high, high.low + low.high);
    return quickTwoSum(sum.high, sum.low + low.low);
}

inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b)
{
    return a + -b;
}

inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble p = twoProduct(a.high, b.high);
    return quickTwoSum(p.high, p.low + (a.high * b.low + a.low * b.high));
}

inline DoubleDouble operator/(DoubleDouble a, DoubleDouble b)
{
    const double first = a.high / b.high;
    const DoubleDouble rest = a - b * DoubleDouble(first);
    const double second = rest.high / b.high;
    const DoubleDouble last = rest - b * DoubleDouble(second);
    return quickTwoSum(first, second) + DoubleDouble(last.high / b.high);
}

inline DoubleDouble& operator+=(DoubleDouble& a, DoubleDouble b)
{
    return a = a + b;
}

}  // namespace knotwork
