// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/DeBoor.h"

#include <algorithm>

namespace knotwork {

namespace {

constexpr std::size_t kKnotsOnStack = 24;
constexpr std::size_t kScratchOnStack = 768;
constexpr int kBlock = 8;  // numbers that are advanced together

struct Triangle {
    int degree;
    const double* alpha;
    const double* slope;
};

/// Runs the triangle on kLive neighbouring numbers of each point. Row m of the scratch holds the
/// m-th derivative's points; it comes up at level m from the row below and shrinks from then on.
template <int kLive>
[[gnu::always_inline]] inline void runBlock(const Triangle& triangle, int orders,
                                            const double* points, std::ptrdiff_t stride,
                                            double* out, std::ptrdiff_t outStride, double* scratch)
{
    constexpr int kWidth = kLive > 2 ? (kLive + 3) / 4 * 4 : 2;  // whole registers, padded
    const int p = triangle.degree;
    const std::ptrdiff_t row = std::ptrdiff_t{p + 1} * kWidth;
    for (int i = 0; i <= p; ++i)
        for (int l = 0; l < kWidth; ++l)
            scratch[i * kWidth + l] = l < kLive ? points[i * stride + l] : 0.0;

    const double* alpha = triangle.alpha;
    const double* slope = triangle.slope;
    for (int r = 1; r <= p; ++r) {
        const int windows = p - r + 1;
        for (int m = std::min(r - 1, orders); m >= 0; --m) {
            double* x = scratch + m * row;
            double* derivative = m == r - 1 && r <= orders ? x + row : nullptr;
            for (int i = 0; i < windows; ++i, x += kWidth)
                for (int l = 0; l < kWidth; ++l) {
                    const double difference = x[l + kWidth] - x[l];
                    if (derivative != nullptr) derivative[i * kWidth + l] = slope[i] * difference;
                    x[l] += alpha[i] * difference;
                }
        }
        alpha += windows;
        slope += windows;
    }
    for (int m = 0; m <= orders; ++m)
        for (int l = 0; l < kLive; ++l) out[m * outStride + l] = scratch[m * row + l];
}

}  // namespace

SpanEnd nearerEnd(const KnotTable& knots, int span, double t)
{
    if (knots.degree() < 1) return SpanEnd::kLeft;
    return knots(span + 1) - t >= t - knots(span) ? SpanEnd::kLeft : SpanEnd::kRight;
}

DeBoor::DeBoor(const KnotTable& knots, int span, double t, SpanEnd end, int orders)
    : degree_(knots.degree()),
      mirrored_(end == SpanEnd::kRight),
      alpha_(static_cast<std::size_t>(degree_ * (degree_ + 1) / 2)),
      slope_(static_cast<std::size_t>(degree_ * (degree_ + 1) / 2))
{
    const int p = degree_;
    if (p < 1) return;
    // The mirror image is the same text on negated knots in reverse order.
    LocalArray<kKnotsOnStack> local(static_cast<std::size_t>(2 * p));
    double* window = local.data();
    const double* around = knots.at(span + 1 - p);
    if (mirrored_)
        for (int j = 0; j < 2 * p; ++j) window[j] = -around[2 * p - 1 - j];
    else
        std::copy_n(around, 2 * p, window);
    const double x = mirrored_ ? -t : t;
    const double sign = mirrored_ ? -1.0 : 1.0;

    double* alpha = alpha_.data();
    double* slope = slope_.data();
    for (int r = 1; r <= p; ++r)
        for (int i = 0; i <= p - r; ++i) {
            const double left = window[r - 1 + i];
            const double width = window[p + i] - left;
            *alpha++ = (x - left) / width;
            if (r <= orders) *slope++ = sign * (p - r + 1) / width;
        }
}

void DeBoor::run(const double* points, std::ptrdiff_t stride, int length, int orders, double* out,
                 std::ptrdiff_t outStride) const
{
    const int p = degree_;
    const int rows = std::min(orders, p);
    const Triangle triangle = {p, alpha_.data(), slope_.data()};
    LocalArray<kScratchOnStack> local(static_cast<std::size_t>((rows + 1) * (p + 1) * kBlock));
    double* scratch = local.data();
    const double* from = mirrored_ ? points + p * stride : points;
    const std::ptrdiff_t step = mirrored_ ? -stride : stride;
    const auto block = [&](auto live, int at) {
        runBlock<live.value>(triangle, rows, from + at, step, out + at, outStride, scratch);
    };
    int at = 0;
    for (; at + 8 <= length; at += 8) block(std::integral_constant<int, 8>(), at);
    if (at + 4 <= length) block(std::integral_constant<int, 4>(), at), at += 4;
    switch (length - at) {
        case 3:
            block(std::integral_constant<int, 3>(), at);
            break;
        case 2:
            block(std::integral_constant<int, 2>(), at);
            break;
        case 1:
            block(std::integral_constant<int, 1>(), at);
            break;
        default:
            break;
    }
    for (int m = rows + 1; m <= orders; ++m) std::fill_n(out + m * outStride, length, 0.0);
}

}  // namespace knotwork
