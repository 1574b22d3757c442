// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <initializer_list>
#include <vector>

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/LXError.h"

namespace support {

inline DoubleVec doubles(std::initializer_list<double> values)
{
    return DoubleVec(values.begin(), static_cast<unsigned>(values.size()));
}

inline IntVec ints(std::initializer_list<int> values)
{
    return IntVec(values.begin(), static_cast<unsigned>(values.size()));
}

/// The elements, for matchers and messages.
template <class Vec>
std::vector<typename Vec::Element> list(const Vec& v)
{
    std::vector<typename Vec::Element> result;
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) result.push_back(v(i));
    return result;
}

/// The codes raised while f runs under a handler that returns even from fatal errors, so that what
/// follows an error runs too.
template <class F>
std::vector<unsigned> codesRaisedBy(F f)
{
    static std::vector<unsigned> codes;
    codes.clear();
    const LXErrHandler previous =
        setLXErrHandler([](ErrorRecord* record, va_list) { codes.push_back(record->code); });
    f();
    setLXErrHandler(previous);
    return codes;
}

}  // namespace support
