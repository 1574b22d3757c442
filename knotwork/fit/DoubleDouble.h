// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// An unevaluated sum of two numbers, the second below half a unit in the last place of the first:
/// about 106 bits of doubles, the same ones on every machine. T: double, or a vector of them.
/// Numbers of unit size; nothing is said about overflow, and products below 1e-290 lose digits.
/// Source    Dekker: A floating-point technique for extending the available precision, Numer.
///           Math. 18 (1971); Knuth: The Art of Computer Programming 2, 4.2.2, for the sum.
template <class T>
struct Doubled {
    T high = {};
    T low = {};

    Doubled() = default;
    [[gnu::always_inline]] Doubled(double x) : high(T{} + x) {}  // a double is one, exactly
    [[gnu::always_inline]] Doubled(T h, T l) : high(h), low(l) {}
};

using DoubleDouble = Doubled<double>;

/// The sum exactly, of any two numbers.
template <class T>
[[gnu::always_inline]] inline Doubled<T> twoSum(T a, T b)
{
    const T sum = a + b;
    const T shown = sum - a;
    return {sum, (a - (sum - shown)) + (b - shown)};
}

/// The same where |a| >= |b|.
template <class T>
[[gnu::always_inline]] inline Doubled<T> quickTwoSum(T a, T b)
{
    const T sum = a + b;
    return {sum, b - (sum - a)};
}

template <class T>
[[gnu::always_inline]] inline Doubled<T> twoProduct(T a, T b)
{
    constexpr double kSplitter = 134217729.0;  // 2^27 + 1
    const T p = a * b;
    const T ca = kSplitter * a;
    const T cb = kSplitter * b;
    const T aHigh = ca - (ca - a);
    const T bHigh = cb - (cb - b);
    const T aLow = a - aHigh;
    const T bLow = b - bHigh;
    return {p, ((aHigh * bHigh - p) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

template <class T>
[[gnu::always_inline]] inline Doubled<T> operator-(const Doubled<T>& a)
{
    return {-a.high, -a.low};
}

template <class T>
[[gnu::always_inline]] inline Doubled<T> operator+(const Doubled<T>& a, const Doubled<T>& b)
{
    const Doubled<T> high = twoSum(a.high, b.high);
    const Doubled<T> low = twoSum(a.low, b.low);
    const Doubled<T> sum = quickTwoSum<T>(high.high, high.low + low.high);
    return quickTwoSum<T>(sum.high, sum.low + low.low);
}

template <class T>
[[gnu::always_inline]] inline Doubled<T> operator-(const Doubled<T>& a, const Doubled<T>& b)
{
    return a + -b;
}

template <class T>
[[gnu::always_inline]] inline Doubled<T> operator*(const Doubled<T>& a, const Doubled<T>& b)
{
    const Doubled<T> p = twoProduct(a.high, b.high);
    return quickTwoSum<T>(p.high, p.low + (a.high * b.low + a.low * b.high));
}

inline DoubleDouble operator/(const DoubleDouble& a, const DoubleDouble& b)
{
    const double first = a.high / b.high;
    const DoubleDouble rest = a - b * DoubleDouble(first);
    const double second = rest.high / b.high;
    const DoubleDouble last = rest - b * DoubleDouble(second);
    return quickTwoSum(first, second) + DoubleDouble(last.high / b.high);
}

template <class T>
[[gnu::always_inline]] inline Doubled<T>& operator+=(Doubled<T>& a, const Doubled<T>& b)
{
    return a = a + b;
}

}  // namespace knotwork
