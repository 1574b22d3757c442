// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/approx/detail/LineSpan.h"

namespace knotwork {

/// The end nearer to t, the left one on a tie.
inline SpanEnd nearerEnd(const KnotTable& knots, int span, double t)
{
    if (knots.degree() < 1) return SpanEnd::kLeft;
    return knots(span + 1) - t >= t - knots(span) ? SpanEnd::kLeft : SpanEnd::kRight;
}

/// Runs the de Boor triangle of one span and one parameter on `count` sets of points, the one with
/// the most orders first. Level r replaces neighbours P, Q by P + alpha (Q - P), with
/// alpha = (t - left) / (right - left) over the level's knots. Derivatives are the triangles of the
/// differenced points over the same levels. Points are differenced first and combined then: the
/// other way round divides rounding errors by the width of the span, which may be far below that of
/// its neighbours.
/// Storage   on the stack, for degrees up to 12.
/// Source    C. de Boor, A Practical Guide to Splines (Springer 1978), chapter X.
void runDeBoor(const KnotTable& knots, int span, double t, SpanEnd end, const DeBoorJob* jobs,
               int count);

inline void runDeBoor(const KnotTable& knots, int span, double t, SpanEnd end, const DeBoorJob& job)
{
    runDeBoor(knots, span, t, end, &job, 1);
}

/// Makes ready for a walk through the spans of a line, from one end or the other of each: jobs with
/// up to `orders` derivatives of points of `length` numbers. In no span yet.
LineSpan startLine(int degree, int orders, int length);

void enterSpan(LineSpan& line, const KnotTable& knots, int span);

}  // namespace knotwork
