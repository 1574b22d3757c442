// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "knotwork/linalg/LXError.h"

namespace knotwork_fuzz {

/// Input bytes as small decisions; zeros once they are used up.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : next_(data), left_(size) {}

    bool done() const { return left_ == 0; }
    int byte()
    {
        if (left_ == 0) return 0;
        --left_;
        return *next_++;
    }
    int below(int n) { return byte() % n; }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool flag() { return (byte() & 1) != 0; }
    double number() { return (byte() - 128) / 8.0; }  ///< in [-16, 16), exact in a few bits

    /// Mostly a number; one in 32 is as bad as a double can be.
    double anyDouble()
    {
        constexpr double kBad[] = {std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -0.0,
                                   1e308,
                                   -1e308,
                                   4.9e-324,
                                   1e-160,
                                   1e160};
        const int b = byte();
        return b < 8 ? kBad[b] : (b - 128) / 8.0;
    }

  private:
    const std::uint8_t* next_;
    std::size_t left_;
};

/// Throws what nobody expects, so that the run ends as a finding, when what must hold does not.
inline void require(bool holds, const char* sentence)
{
    if (!holds) throw std::logic_error(sentence);
}

/// Thrown in place of ending the process for a catalogued error.
struct Raised {
    unsigned code;
};

inline void throwUnlessWarning(ErrorRecord* record, va_list)
{
    const ErrorEntry* entry = lxLookup(record->code);
    require(entry != nullptr, "every code raised is catalogued");
    if ((record->severity == 1 ? entry->severity : record->severity) != 0)
        throw Raised{record->code};
}

/// The code that f raises, 0 for none.
template <class F>
unsigned codeRaisedBy(F f)
{
    try {
        f();
    } catch (const Raised& raised) {
        return raised.code;
    }
    return 0;
}

/// Whether it fits; what does not raises the error, and nothing else does.
template <class F>
bool raisesUnless(bool fits, unsigned error, F f)
{
    require(codeRaisedBy(f) == (fits ? 0 : error),
            "what does not fit is an error, all else is none");
    return fits;
}

/// The same number: NaN counts as equal to itself, the signs of zeros count.
inline bool same(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

}  // namespace knotwork_fuzz
