// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/LaneKernels.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/kernels/Pack.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

// Sums of squares in this range have lost no digits.
constexpr double kLeastSquare = 1e-280;
constexpr double kMostSquare = 1e280;

/// column c += factors[c] x.
template <int Count>
[[gnu::always_inline]] inline void updates(std::ptrdiff_t n, const double* x, const double* factors,
                                           double* columns, std::ptrdiff_t leading)
{
    for (std::ptrdiff_t i = 0; i < n; i += kPack) {
        const Pack pack = load(x + i);
        for (int c = 0; c < Count; ++c) {
            double* at = columns + c * leading + i;
            store(at, load(at) + factors[c] * pack);
        }
    }
}

[[gnu::always_inline]] inline void allDots(int count, std::ptrdiff_t n, const double* x,
                                           const double* columns, std::ptrdiff_t leading,
                                           double* out)
{
    int c = 0;
    for (; c + 4 <= count; c += 4) dots<4>(n, x, columns + c * leading, leading, out + c);
    if (count - c == 3) dots<3>(n, x, columns + c * leading, leading, out + c);
    if (count - c == 2) dots<2>(n, x, columns + c * leading, leading, out + c);
    if (count - c == 1) dots<1>(n, x, columns + c * leading, leading, out + c);
}

[[gnu::always_inline]] inline void allUpdates(int count, std::ptrdiff_t n, const double* x,
                                              const double* factors, double* columns,
                                              std::ptrdiff_t leading)
{
    int c = 0;
    for (; c + 4 <= count; c += 4) updates<4>(n, x, factors + c, columns + c * leading, leading);
    if (count - c == 3) updates<3>(n, x, factors + c, columns + c * leading, leading);
    if (count - c == 2) updates<2>(n, x, factors + c, columns + c * leading, leading);
    if (count - c == 1) updates<1>(n, x, factors + c, columns + c * leading, leading);
}

/// The reflection of a column whose squares leave the range of doubles: its numbers are divided by
/// the largest first. Turns x into v, returns tau and leaves the new diagonal entry in alpha.
[[gnu::noinline]] double reflectAwkward(std::ptrdiff_t n, double* x, double& alpha)
{
    double scale = std::fabs(alpha);
    for (std::ptrdiff_t i = 0; i < n; ++i) scale = std::max(scale, std::fabs(x[i]));
    double below = 0.0;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        x[i] = scale > 0.0 ? x[i] / scale : 0.0;
        below += x[i] * x[i];
    }
    if (below == 0.0) {  // nothing to remove, or nothing beside the diagonal entry
        std::fill_n(x, n, 0.0);
        return 0.0;
    }
    const double a = alpha / scale;
    const double norm = std::sqrt(a * a + below);
    const double sigma = a > 0.0 ? -norm : norm;
    for (std::ptrdiff_t i = 0; i < n; ++i) x[i] /= a - sigma;
    alpha = sigma * scale;
    return (sigma - a) / sigma;
}

[[gnu::always_inline]] inline void reduce(const BlockShape& block, double* columns, double* taus,
                                          double* triangle, const std::ptrdiff_t* starts,
                                          double* scratch)
{
    const std::ptrdiff_t n = block.leading;
    const int pivots = block.pivots > 0 ? block.pivots : block.width;
    for (int i = 0; i < pivots; ++i) {
        double* x = columns + i * n;
        double* row = triangle + starts[i];
        const int others = block.width - i - 1;
        double* products = scratch + 1;
        allDots(others + 1, n, x, x, n, scratch);  // with itself first
        const double squares = row[0] * row[0] + scratch[0];
        double inverse = 1.0;  // what turns x into v
        double tau;
        if (scratch[0] > kLeastSquare && squares < kMostSquare) {
            const double alpha = row[0];
            const double norm = std::sqrt(squares);
            const double sigma = alpha > 0.0 ? -norm : norm;  // opposite signs: no cancellation
            row[0] = sigma;
            inverse = 1.0 / (alpha - sigma);
            tau = (sigma - alpha) / sigma;
        } else {
            tau = reflectAwkward(n, x, row[0]);
            if (tau != 0.0) allDots(others, n, x, x + n, n, products);
        }
        taus[i] = tau;
        if (tau == 0.0) continue;
        for (int k = 0; k < others; ++k) {
            const double t = -tau * (row[k + 1] + inverse * products[k]);
            row[k + 1] += t;
            products[k] = t * inverse;
        }
        allUpdates(others, n, x, products, x + n, n);
        for (std::ptrdiff_t r = 0; r < n; r += kPack) store(x + r, load(x + r) * inverse);
    }
}

template <int Lanes>
[[gnu::always_inline]] inline void reflect(const BlockShape& block, const double* columns,
                                           const double* taus, double* top, double* below)
{
    constexpr int kPacks = Lanes / kPack;
    for (int i = 0; i < block.width; ++i, top += Lanes) {
        const double tau = taus[i];
        if (tau == 0.0) continue;
        const double* v = columns + i * block.leading;
        Pack even[kPacks];
        Pack odd[kPacks] = {};
        for (int p = 0; p < kPacks; ++p) even[p] = load(top + p * kPack);
        int r = 0;
        for (; r + 2 <= block.rows; r += 2)
            for (int p = 0; p < kPacks; ++p) {
                even[p] += v[r] * load(below + r * Lanes + p * kPack);
                odd[p] += v[r + 1] * load(below + (r + 1) * Lanes + p * kPack);
            }
        if (r < block.rows)
            for (int p = 0; p < kPacks; ++p) even[p] += v[r] * load(below + r * Lanes + p * kPack);
        for (int p = 0; p < kPacks; ++p) {
            even[p] = -tau * (even[p] + odd[p]);
            store(top + p * kPack, load(top + p * kPack) + even[p]);
        }
        for (r = 0; r < block.rows; ++r)
            for (int p = 0; p < kPacks; ++p) {
                double* at = below + r * Lanes + p * kPack;
                store(at, load(at) + v[r] * even[p]);
            }
    }
}

template <int Lanes>
[[gnu::always_inline]] inline void subtract(const double* row, int count, const double* x,
                                            double* y)
{
    constexpr int kPacks = Lanes / kPack;
    Pack rest[kPacks];
    for (int p = 0; p < kPacks; ++p) rest[p] = load(y + p * kPack);
    // From the far end: the nearest unknown, which is known last, comes last.
    for (int k = count - 1; k >= 0; --k)
        for (int p = 0; p < kPacks; ++p) rest[p] -= row[k] * load(x + k * Lanes + p * kPack);
    for (int p = 0; p < kPacks; ++p) store(y + p * kPack, rest[p]);
}

struct ReduceKernel {
    [[gnu::always_inline]] void operator()(const BlockShape& shape, double* columns, double* taus,
                                           double* triangle, const std::ptrdiff_t* starts,
                                           double* scratch) const
    {
        reduce(shape, columns, taus, triangle, starts, scratch);
    }
};

template <int Lanes>
struct ReflectKernel {
    [[gnu::always_inline]] void operator()(const BlockShape& shape, const double* columns,
                                           const double* taus, double* top, double* below) const
    {
        reflect<Lanes>(shape, columns, taus, top, below);
    }
};

template <int Lanes>
struct SubtractKernel {
    [[gnu::always_inline]] void operator()(const double* row, int count, const double* x,
                                           double* y) const
    {
        subtract<Lanes>(row, count, x, y);
    }
};

}  // namespace

void reduceBlock(const BlockShape& shape, double* columns, double* taus, double* triangle,
                 const std::ptrdiff_t* starts, double* scratch)
{
    runKernel(ReduceKernel(), shape, columns, taus, triangle, starts, scratch);
}

template <>
void reflectLanes<kFewLanes>(const BlockShape& shape, const double* columns, const double* taus,
                             double* top, double* below)
{
    runKernel(ReflectKernel<kFewLanes>(), shape, columns, taus, top, below);
}
template <>
void reflectLanes<kManyLanes>(const BlockShape& shape, const double* columns, const double* taus,
                              double* top, double* below)
{
    runKernel(ReflectKernel<kManyLanes>(), shape, columns, taus, top, below);
}

template <>
void subtractLanes<kFewLanes>(const double* row, int count, const double* x, double* y)
{
    runKernel(SubtractKernel<kFewLanes>(), row, count, x, y);
}
template <>
void subtractLanes<kManyLanes>(const double* row, int count, const double* x, double* y)
{
    runKernel(SubtractKernel<kManyLanes>(), row, count, x, y);
}

}  // namespace knotwork
