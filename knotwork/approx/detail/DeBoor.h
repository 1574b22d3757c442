// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/detail/KnotTable.h"

namespace knotwork {

/// Where a span's triangle starts. The right-end scheme is the exact mirror image of the left-end
/// one, so that a clamped curve meets its last control point exactly, as it does its first.
enum class SpanEnd { kLeft, kRight };

/// The end nearer to t, the left one on a tie.
inline SpanEnd nearerEnd(const KnotTable& knots, int span, double t)
{
    if (knots.degree() < 1) return SpanEnd::kLeft;
    return knots(span + 1) - t >= t - knots(span) ? SpanEnd::kLeft : SpanEnd::kRight;
}

/// Points to run a triangle on: p + 1 of them, `length` numbers each, the one of index `span`
/// first. Derivative j, 0 ... orders, goes to out + j outStride; those above the degree are zeros.
struct DeBoorJob {
    const double* points;
    std::ptrdiff_t stride;
    int length;
    int orders;
    double* out;
    std::ptrdiff_t outStride;
};

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

}  // namespace knotwork
