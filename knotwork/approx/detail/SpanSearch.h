// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/detail/KnotTable.h"

namespace knotwork {

/// The span of t by bisection over knots 0 ... n: an interior knot belongs to the span on its
/// right, parameters outside the range to the first or last span.
inline int bisectSpan(const KnotTable& knots, double t)
{
    const double* stored = knots.at(knots.first());
    const std::ptrdiff_t shift = -std::ptrdiff_t{knots.first()};
    std::ptrdiff_t low = 0;
    std::ptrdiff_t high = knots.spans();
    while (low + 1 < high) {
        const std::ptrdiff_t middle = (low + high) / 2;
        const bool right = t >= stored[middle + shift];
        low = right ? middle : low;  // both are conditional moves: which way it goes is random
        high = right ? high : middle;
    }
    return static_cast<int>(low);
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
    return occupiedSpan(knots, bisectSpan(knots, t));
}

/// The same for callers that walk along a line: the span they found last is tried first.
inline int findSpan(const KnotTable& knots, double t, int lastSpan)
{
    if (knots.degree() > 0 && t >= knots(lastSpan) && t < knots(lastSpan + 1)) return lastSpan;
    return findSpan(knots, t);
}

/// The span of t seen from one side when t is (exactly) a knot: side 1 the left, side 2 the right;
/// any other value leaves it to the bisection. As that goes right already, side 2 has no effect on
/// ordered knots; intended.
inline int findSpanOnSide(const KnotTable& knots, double t, int side, int lastSpan)
{
    if (knots.degree() > 0 && t > knots(lastSpan) && t < knots(lastSpan + 1)) return lastSpan;
    int s = bisectSpan(knots, t);
    if (side == 1)
        while (s > 0 && t == knots(s)) --s;
    else if (side == 2)
        while (s + 1 < knots.spans() && t == knots(s + 1)) ++s;
    return occupiedSpan(knots, s);
}

}  // namespace knotwork
