// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// Where a span's triangle starts. The right-end scheme is the exact mirror image of the left-end
/// one, so that a clamped curve meets its last control point exactly, as it does its first.
enum class SpanEnd { kLeft, kRight };

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

/// What the ratios of a span's triangle are made of: the knots they start at and the reciprocals of
/// their widths. The mirror image takes negated knots in reverse order, and each level's
/// reciprocals in reverse order too.
struct SpanWindow {
    int degree;
    bool mirrored;
    const double* left;
    const double* reciprocals;
};

using DeBoorRunner = void (*)(const SpanWindow& window, double t, const DeBoorJob* jobs, int count);

/// The span that an evaluator along a line is in. It refers to the knot table and is to be entered
/// anew when knots were inserted.
struct LineSpan {
    /// Strictly inside: on its knots, or outside the range, the span is up to the search.
    bool holds(double t) const { return low < t && t < high; }
    SpanEnd nearerEnd(double t) const
    {
        return high - t >= t - low ? SpanEnd::kLeft : SpanEnd::kRight;
    }
    void run(SpanEnd end, double t, const DeBoorJob* jobs, int count) const
    {
        const int side = end == SpanEnd::kLeft ? 0 : 1;
        runners[side](windows[side], t, jobs, count);
    }

    double low = 0.0;
    double high = 0.0;
    SpanWindow windows[2] = {};
    DeBoorRunner runners[2] = {};
};

}  // namespace knotwork
