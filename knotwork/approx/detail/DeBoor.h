// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/approx/detail/LocalArray.h"

namespace knotwork {

/// Where a span's triangle starts. The right-end scheme is the exact mirror image of the left-end
/// one, so that a clamped curve meets its last control point exactly, as it does its first.
enum class SpanEnd { kLeft, kRight };

/// The end nearer to t, the left one on a tie.
SpanEnd nearerEnd(const KnotTable& knots, int span, double t);

/// The de Boor triangle of one span for one parameter, ready to run on any number of points: level
/// r replaces neighbours P, Q by P + alpha (Q - P), with alpha = (t - left) / (right - left) over
/// the level's knots. Derivatives are triangles of the differenced points over the same levels.
/// Differences are taken first and combined then: the other way round divides rounding errors by
/// the width of the span, which may be far below that of its neighbours.
/// Storage   on the stack, up to degree 12.
/// Source    C. de Boor, A Practical Guide to Splines (Springer 1978), chapter X.
class DeBoor {
  public:
    DeBoor(const KnotTable& knots, int span, double t, SpanEnd end, int orders);

    /// Derivatives 0 ... orders (at most the number announced) of the points span ... span + p,
    /// `length` numbers each: row j goes to out + j outStride. Rows above the degree are zeros.
    void run(const double* points, std::ptrdiff_t stride, int length, int orders, double* out,
             std::ptrdiff_t outStride) const;

  private:
    static constexpr std::size_t kRatiosOnStack = 78;

    int degree_;
    bool mirrored_;
    LocalArray<kRatiosOnStack> alpha_;  // level after level, p - r + 1 numbers at level r
    LocalArray<kRatiosOnStack> slope_;  // (p - r + 1) / (right - left)
};

}  // namespace knotwork
