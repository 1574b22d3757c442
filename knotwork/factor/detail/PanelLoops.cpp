// SPDX-License-Identifier: MIT
#include "knotwork/factor/detail/PanelLoops.h"

#include <cstring>

namespace knotwork {

namespace {

constexpr int kLanes = 8;     // of an inner product; fixed: one answer on every CPU
constexpr int kTogether = 4;  // columns that advance together

/// The loops written for vectors of `Bytes` bytes. Only the number of instructions differs with
/// the width: every sum is kLanes interleaved ones, every update one product and one difference.
template <int Bytes>
struct Loops {
    typedef double Vector __attribute__((vector_size(Bytes)));
    static constexpr int kWidth = Bytes / static_cast<int>(sizeof(double));
    static constexpr int kParts = kLanes / kWidth;

    // By reference: wide vectors as arguments or results would depend on the caller's target.
    [[gnu::always_inline]] static inline void load(Vector& v, const double* p)
    {
        std::memcpy(&v, p, Bytes);
    }
    [[gnu::always_inline]] static inline void store(double* p, const Vector& v)
    {
        std::memcpy(p, &v, Bytes);
    }

    /// dot[c] = v . x_c
    template <int Cols>
    [[gnu::always_inline]] static inline void dots(int n, const double* v, const double* x,
                                                   std::ptrdiff_t leading, double* dot)
    {
        Vector sums[Cols][kParts] = {};
        int i = 0;
        for (; i <= n - kLanes; i += kLanes)
#pragma GCC unroll 4
            for (int part = 0; part < kParts; ++part) {
                const int at = i + part * kWidth;
                Vector factor;
                load(factor, v + at);
#pragma GCC unroll 4
                for (int c = 0; c < Cols; ++c) {
                    Vector column;
                    load(column, x + c * leading + at);
                    sums[c][part] += factor * column;
                }
            }
        for (int c = 0; c < Cols; ++c) {
            double lane[kLanes];
            std::memcpy(lane, sums[c], sizeof lane);
            for (int k = i; k < n; ++k) lane[k - i] += v[k] * x[c * leading + k];
            for (int half = kLanes / 2; half > 0; half /= 2)
                for (int l = 0; l < half; ++l) lane[l] += lane[l + half];
            dot[c] = lane[0];
        }
    }

    /// x_c -= factor[c] v
    template <int Cols>
    [[gnu::always_inline]] static inline void subtract(int n, const double* v, const double* factor,
                                                       double* x, std::ptrdiff_t leading)
    {
        int i = 0;
        for (; i <= n - kWidth; i += kWidth) {
            Vector direction;
            load(direction, v + i);
#pragma GCC unroll 4
            for (int c = 0; c < Cols; ++c) {
                double* at = x + c * leading + i;
                Vector column;
                load(column, at);
                store(at, column - factor[c] * direction);
            }
        }
        for (; i < n; ++i)
            for (int c = 0; c < Cols; ++c) x[c * leading + i] -= factor[c] * v[i];
    }

    /// y += factor[0] x_0, then factor[1] x_1, ...
    template <int Cols>
    [[gnu::always_inline]] static inline void add(int n, const double* x, std::ptrdiff_t leading,
                                                  const double* factor, double* y)
    {
        int i = 0;
        for (; i <= n - kWidth; i += kWidth) {
            Vector sum;
            load(sum, y + i);
#pragma GCC unroll 4
            for (int c = 0; c < Cols; ++c) {
                Vector column;
                load(column, x + c * leading + i);
                sum += factor[c] * column;
            }
            store(y + i, sum);
        }
        for (; i < n; ++i)
            for (int c = 0; c < Cols; ++c) y[i] += factor[c] * x[c * leading + i];
    }

    template <int Cols>
    [[gnu::always_inline]] static inline void reflect(const double* v, double* x,
                                                      std::ptrdiff_t leading, int n)
    {
        double factor[Cols];
        dots<Cols>(n, v, x, leading, factor);
        for (double& f : factor) f /= v[0];
        subtract<Cols>(n, v, factor, x, leading);
    }

    [[gnu::always_inline]] static inline void reflectColumns(const double* v, const Panel& panel)
    {
        double* x = panel.corner;
        int j = 0;
        for (; j <= panel.cols - kTogether; j += kTogether, x += kTogether * panel.leading)
            reflect<kTogether>(v, x, panel.leading, panel.rows);
        for (; j < panel.cols; ++j, x += panel.leading) reflect<1>(v, x, panel.leading, panel.rows);
    }

    [[gnu::always_inline]] static inline void combineColumns(const Panel& panel, const double* v,
                                                             double* y)
    {
        for (int i = 0; i < panel.rows; ++i) y[i] = 0.0;
        const double* x = panel.corner;
        int j = 0;
        for (; j <= panel.cols - kTogether; j += kTogether, x += kTogether * panel.leading)
            add<kTogether>(panel.rows, x, panel.leading, v + j, y);
        for (; j < panel.cols; ++j, x += panel.leading)
            add<1>(panel.rows, x, panel.leading, v + j, y);
    }

    [[gnu::always_inline]] static inline void subtractMultiples(const double* y, const double* v,
                                                                double pivot, const Panel& panel)
    {
        double* x = panel.corner;
        int j = 0;
        double factor[kTogether];
        for (; j <= panel.cols - kTogether; j += kTogether, x += kTogether * panel.leading) {
            for (int c = 0; c < kTogether; ++c) factor[c] = v[j + c] / pivot;
            subtract<kTogether>(panel.rows, y, factor, x, panel.leading);
        }
        for (; j < panel.cols; ++j, x += panel.leading) {
            factor[0] = v[j] / pivot;
            subtract<1>(panel.rows, y, factor, x, panel.leading);
        }
    }
};

/// One version of the three loops, chosen once for the CPU at hand.
struct LoopSet {
    void (*reflectColumns)(const double*, const Panel&);
    void (*combineColumns)(const Panel&, const double*, double*);
    void (*subtractMultiples)(const double*, const double*, double, const Panel&);
};

void reflectPlain(const double* v, const Panel& panel)
{
    Loops<16>::reflectColumns(v, panel);
}
void combinePlain(const Panel& panel, const double* v, double* y)
{
    Loops<16>::combineColumns(panel, v, y);
}
void subtractPlain(const double* y, const double* v, double pivot, const Panel& panel)
{
    Loops<16>::subtractMultiples(y, v, pivot, panel);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void reflectAvx2(const double* v, const Panel& panel)
{
    Loops<32>::reflectColumns(v, panel);
}
[[gnu::target("avx2")]] void combineAvx2(const Panel& panel, const double* v, double* y)
{
    Loops<32>::combineColumns(panel, v, y);
}
[[gnu::target("avx2")]] void subtractAvx2(const double* y, const double* v, double pivot,
                                          const Panel& panel)
{
    Loops<32>::subtractMultiples(y, v, pivot, panel);
}
#endif

LoopSet chooseLoops()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return {reflectAvx2, combineAvx2, subtractAvx2};
#endif
    return {reflectPlain, combinePlain, subtractPlain};
}

const LoopSet& loops()
{
    static const LoopSet chosen = chooseLoops();
    return chosen;
}

}  // namespace

void reflectColumns(const double* v, const Panel& panel)
{
    loops().reflectColumns(v, panel);
}

void combineColumns(const Panel& panel, const double* v, double* y)
{
    loops().combineColumns(panel, v, y);
}

void subtractMultiples(const double* y, const double* v, double pivot, const Panel& panel)
{
    loops().subtractMultiples(y, v, pivot, panel);
}

}  // namespace knotwork
