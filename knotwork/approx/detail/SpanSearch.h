// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/detail/KnotTable.h"

namespace knotwork {

/// The span of t among knots 0 ... n: an interior knot belongs to the span on its right, parameters
/// outside the range to the first or last span. On ordered knots this is what bisection finds, but
/// a chain of halvings waits for one knot after the other; here three quarters are tried at a time,
/// and the last few knots all at once, without a branch on the outcome.
inline int searchSpan(const KnotTable& knots, double t)
{
    constexpr std::ptrdiff_t kFew = 16;
    std::ptrdiff_t length = knots.spans();
    if (length < 2) return 0;
    const double* low = knots.at(1);  // spans are counted from here on
    while (length > kFew) {
        const std::ptrdiff_t quarter = length / 4;
        const double* probe = low + (quarter - 1);
        low += quarter * ((t >= probe[0]) + (t >= probe[quarter]) + (t >= probe[2 * quarter]));
        length -= 3 * quarter;
    }
    std::ptrdiff_t passed = 0;
    for (std::ptrdiff_t i = 0; i + 1 < length; ++i) passed += t >= low[i];
    return static_cast<int>(low - knots.at(1) + passed);
}

inline bool isEmptySpan(const KnotTable& knots, int span)
{
    return knots(span) == knots(span + 1);
}

/// A span that has a width: the first such one from `span` to the left, else to the right. Empty
/// ones are found at the ends of the range only, where knots were inserted at knot 0 or n.
inline int occupiedSpan(const KnotTable& knots, int span)
{
    if (knots.degree() < 1 || !isEmptySpan(knots, span)) return span;
    int s = span;
    while (s > 0 && isEmptySpan(knots, s)) --s;
    while (s + 1 < knots.spans() && isEmptySpan(knots, s)) ++s;
    return s;
}

inline int findSpan(const KnotTable& knots, double t)
{
    return occupiedSpan(knots, searchSpan(knots, t));
}

/// The same for callers that walk along a line: the span they found last and the one behind it are
/// tried first.
inline int findSpan(const KnotTable& knots, double t, int lastSpan)
{
    if (knots.degree() > 0 && t >= knots(lastSpan)) {
        if (t < knots(lastSpan + 1)) return lastSpan;
        if (lastSpan + 2 <= knots.spans() && t < knots(lastSpan + 2)) return lastSpan + 1;
    }
    return findSpan(knots, t);
}

/// The span of t seen from one side when t is (exactly) a knot: side 1 the left, side 2 the right;
/// any other value leaves it to the search. As that goes right already, side 2 has no effect on
/// ordered knots; intended.
inline int findSpanOnSide(const KnotTable& knots, double t, int side, int lastSpan)
{
    int s = findSpan(knots, t, lastSpan);
    if (side == 1)
        while (s > 0 && t == knots(s)) --s;
    else if (side == 2)
        while (s + 1 < knots.spans() && t == knots(s + 1)) ++s;
    return occupiedSpan(knots, s);
}

}  // namespace knotwork
