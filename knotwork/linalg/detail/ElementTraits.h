// SPDX-License-Identifier: MIT
#pragma once

#include <climits>
#include <cmath>
#include <cstdint>

#include "knotwork/linalg/LXError.h"

namespace knotwork {

/// What the vector and pick templates need to know of an element type: names and origin tags for
/// messages, the type it is read as, and arithmetic that is defined for every operand.
template <class T>
struct ElementTraits;

template <>
struct ElementTraits<double> {
    static constexpr const char* kVecName = "DoubleVec";
    static constexpr std::uint16_t kVecOrigin = 0x900E;
    static constexpr const char* kPickName = "DoubleVecPick";
    static constexpr std::uint16_t kPickOrigin = 0x900D;
    using Read = double;

    // Function objects, not functions: each element loop is compiled, and vectorised, for its own.
    static constexpr auto add = [](double a, double b) { return a + b; };
    static constexpr auto subtract = [](double a, double b) { return a - b; };
    static constexpr auto multiply = [](double a, double b) { return a * b; };
    static constexpr auto divide = [](double a, double b) { return a / b; };
    // Flips the sign bit; 0 - a does not.
    static constexpr auto negate = [](double a) { return -a; };
    static constexpr auto magnitude = [](double a) { return std::fabs(a); };
};

/// Wraps by computing in the unsigned type; the way back is modular on every supported compiler.
template <class T, class Unsigned>
struct WrappingArithmetic {
    static constexpr T wrapped(Unsigned bits) { return static_cast<T>(bits); }

    static constexpr auto add = [](T a, T b) {
        return wrapped(static_cast<Unsigned>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b)));
    };
    static constexpr auto subtract = [](T a, T b) {
        return wrapped(static_cast<Unsigned>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b)));
    };
    static constexpr auto multiply = [](T a, T b) {
        return wrapped(static_cast<Unsigned>(static_cast<Unsigned>(a) * static_cast<Unsigned>(b)));
    };
    static constexpr auto negate = [](T a) {
        return wrapped(static_cast<Unsigned>(0u - static_cast<Unsigned>(a)));
    };
    static constexpr auto divide = [](T a, T b) {
        return b == -1 ? negate(a) : static_cast<T>(a / b);  // the smallest number over -1 wraps
    };
    static constexpr auto magnitude = [](T a) { return a < 0 ? negate(a) : a; };
};

template <>
struct ElementTraits<int> : WrappingArithmetic<int, unsigned> {
    static constexpr const char* kVecName = "IntVec";
    static constexpr std::uint16_t kVecOrigin = 0x9018;
    static constexpr const char* kPickName = "IntVecPick";
    static constexpr std::uint16_t kPickOrigin = 0x9017;
    using Read = int;
};

template <>
struct ElementTraits<signed char> : WrappingArithmetic<signed char, unsigned char> {
    static constexpr const char* kVecName = "SCharVec";
    static constexpr std::uint16_t kVecOrigin = 0x9024;
    static constexpr const char* kPickName = "SCharVecPick";
    static constexpr std::uint16_t kPickOrigin = 0x9023;
    using Read = int;
};

/// Toward zero; out of range or NaN becomes INT_MIN.
inline int truncatedToInt(double x)
{
    return x > -2147483649.0 && x < 2147483648.0 ? static_cast<int>(x) : INT_MIN;
}

inline signed char lowByte(int x)
{
    return static_cast<signed char>(static_cast<unsigned char>(x));
}

template <class... Arguments>
void raiseAs(std::uint16_t code, std::uint16_t origin, Arguments... arguments)
{
    ErrorRecord record = {code, 1, origin};
    lxRaiseRecord(&record, arguments...);
}

}  // namespace knotwork
