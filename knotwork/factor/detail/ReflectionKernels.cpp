// SPDX-License-Identifier: MIT
#include "knotwork/factor/detail/ReflectionKernels.h"

#include "knotwork/factor/PanelKernels.h"
#include "knotwork/factor/detail/Pack.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

constexpr int kGroup = 4;  // reflections that go through the registers together
constexpr int kPair = 2;   // columns likewise
constexpr int kMost = ReflectionBlock::kMost;

[[gnu::always_inline]] inline double total(const Pack& lanes)
{
    return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
}

/// out[c][r] = v_r . x_c, in four lanes; v_r is v + r leading, x_c likewise.
template <int Vs, int Xs>
[[gnu::always_inline]] inline void dots(int n, const double* v, std::ptrdiff_t vLeading,
                                        const double* x, std::ptrdiff_t xLeading,
                                        double (*out)[kMost])
{
    Pack sums[Xs][Vs] = {};
    std::ptrdiff_t i = 0;
    for (; i + kPack <= n; i += kPack) {
        Pack packs[Vs];
        for (int r = 0; r < Vs; ++r) packs[r] = load(v + r * vLeading + i);
        for (int c = 0; c < Xs; ++c) {
            const Pack pack = load(x + c * xLeading + i);
            for (int r = 0; r < Vs; ++r) sums[c][r] += packs[r] * pack;
        }
    }
    for (int c = 0; c < Xs; ++c)
        for (int r = 0; r < Vs; ++r) {
            double rest = 0.0;
            for (std::ptrdiff_t k = i; k < n; ++k)
                rest += v[r * vLeading + k] * x[c * xLeading + k];
            out[c][r] = total(sums[c][r]) + rest;
        }
}

/// x_c -= w[c][0] v_0, then w[c][1] v_1, and so on.
template <int Vs, int Xs>
[[gnu::always_inline]] inline void subtract(int n, const double* v, std::ptrdiff_t vLeading,
                                            const double (*w)[kMost], double* x,
                                            std::ptrdiff_t xLeading)
{
    std::ptrdiff_t i = 0;
    for (; i + kPack <= n; i += kPack) {
        Pack packs[Vs];
        for (int r = 0; r < Vs; ++r) packs[r] = load(v + r * vLeading + i);
        for (int c = 0; c < Xs; ++c) {
            Pack pack = load(x + c * xLeading + i);
            for (int r = 0; r < Vs; ++r) pack -= w[c][r] * packs[r];
            store(x + c * xLeading + i, pack);
        }
    }
    for (; i < n; ++i)
        for (int c = 0; c < Xs; ++c)
            for (int r = 0; r < Vs; ++r) x[c * xLeading + i] -= w[c][r] * v[r * vLeading + i];
}

/// w = T^T (V^T x), x -= V w, for Xs columns.
template <int Xs>
[[gnu::always_inline]] inline void reflectSome(const ReflectionBlock& b, double* x,
                                               std::ptrdiff_t leading)
{
    double products[Xs][kMost];
    double w[Xs][kMost];
    double* below = x + b.count;
    int r = 0;
    for (; r + kGroup <= b.count; r += kGroup) {
        double some[Xs][kMost];
        dots<kGroup, Xs>(b.rowsBelow, b.below + r * b.leading, b.leading, below, leading, some);
        for (int c = 0; c < Xs; ++c)
            for (int k = 0; k < kGroup; ++k) products[c][r + k] = some[c][k];
    }
    for (; r < b.count; ++r) {
        double one[Xs][kMost];
        dots<1, Xs>(b.rowsBelow, b.below + r * b.leading, b.leading, below, leading, one);
        for (int c = 0; c < Xs; ++c) products[c][r] = one[c][0];
    }
    for (int c = 0; c < Xs; ++c) {
        double* top = x + c * leading;
        for (r = 0; r < b.count; ++r)
            for (int i = r; i < b.count; ++i) products[c][r] += b.top[r][i] * top[i];
        for (r = 0; r < b.count; ++r) {
            w[c][r] = 0.0;
            for (int i = 0; i <= r; ++i) w[c][r] += b.T[r][i] * products[c][i];
        }
        for (r = 0; r < b.count; ++r)
            for (int i = r; i < b.count; ++i) top[i] -= w[c][r] * b.top[r][i];
    }
    for (r = 0; r + kGroup <= b.count; r += kGroup) {
        double some[Xs][kMost];
        for (int c = 0; c < Xs; ++c)
            for (int k = 0; k < kGroup; ++k) some[c][k] = w[c][r + k];
        subtract<kGroup, Xs>(b.rowsBelow, b.below + r * b.leading, b.leading, some, below, leading);
    }
    for (; r < b.count; ++r) {
        double one[Xs][kMost];
        for (int c = 0; c < Xs; ++c) one[c][0] = w[c][r];
        subtract<1, Xs>(b.rowsBelow, b.below + r * b.leading, b.leading, one, below, leading);
    }
}

[[gnu::always_inline]] inline void reflectAll(const ReflectionBlock& block, const Panel& panel)
{
    int j = 0;
    for (; j + kPair <= panel.cols; j += kPair)
        reflectSome<kPair>(block, panel.corner + j * panel.leading, panel.leading);
    if (j < panel.cols) reflectSome<1>(block, panel.corner + j * panel.leading, panel.leading);
}

template <int Count>
[[gnu::always_inline]] inline void updateThenDot(int n, const double* u, const double* factors,
                                                 const double* v, double* const* columns,
                                                 double* out)
{
    Pack sums[Count] = {};
    std::ptrdiff_t i = 0;
    for (; i + kPack <= n; i += kPack) {
        const Pack uPack = load(u + i);
        const Pack vPack = load(v + i);
        for (int c = 0; c < Count; ++c) {
            const Pack pack = load(columns[c] + i) + factors[c] * uPack;
            store(columns[c] + i, pack);
            sums[c] += vPack * pack;
        }
    }
    for (int c = 0; c < Count; ++c) {
        double rest = 0.0;
        for (std::ptrdiff_t k = i; k < n; ++k) {
            columns[c][k] += factors[c] * u[k];
            rest += v[k] * columns[c][k];
        }
        out[c] = total(sums[c]) + rest;
    }
}

[[gnu::always_inline]] inline void updateThenDotAny(int n, const double* u, const double* factors,
                                                    const double* v, double* const* columns,
                                                    int count, double* out)
{
    if (count == kPanel) return updateThenDot<kPanel>(n, u, factors, v, columns, out);
    for (int c = 0; c < count; ++c) updateThenDot<1>(n, u, factors + c, v, columns + c, out + c);
}

struct ReflectKernel {
    [[gnu::always_inline]] void operator()(const ReflectionBlock* block, const Panel& panel) const
    {
        reflectAll(*block, panel);
    }
};

struct UpdateAndDotKernel {
    [[gnu::always_inline]] void operator()(int n, const double* u, const double* factors,
                                           const double* v, double* const* columns, int count,
                                           double* out) const
    {
        updateThenDotAny(n, u, factors, v, columns, count, out);
    }
};

}  // namespace

void reflectByBlock(const ReflectionBlock& block, const Panel& panel)
{
    runKernel(ReflectKernel(), &block, panel);
}

void updateAndDot(int n, const double* u, const double* factors, const double* v,
                  double* const* columns, int count, double* out)
{
    runKernel(UpdateAndDotKernel(), n, u, factors, v, columns, count, out);
}

}  // namespace knotwork
