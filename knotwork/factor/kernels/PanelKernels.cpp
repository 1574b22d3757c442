// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/PanelKernels.h"

#include "knotwork/factor/kernels/Pack.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

constexpr std::ptrdiff_t kLanes = 2 * kPack;

template <int Count>
struct Dot {
    [[gnu::always_inline]] void operator()(const RowRange* range, std::size_t ranges,
                                           const double* v, const double* const* columns,
                                           double* out) const
    {
        Pack even[Count] = {};
        Pack odd[Count] = {};
        double rest[Count] = {};
        for (const RowRange* last = range + ranges; range != last; ++range) {
            std::ptrdiff_t i = range->begin;
            for (; i + kLanes <= range->end; i += kLanes) {
                const Pack vEven = load(v + i);
                const Pack vOdd = load(v + i + kPack);
                for (int c = 0; c < Count; ++c) {
                    even[c] += vEven * load(columns[c] + i);
                    odd[c] += vOdd * load(columns[c] + i + kPack);
                }
            }
            for (; i < range->end; ++i)
                for (int c = 0; c < Count; ++c) rest[c] += v[i] * columns[c][i];
        }
        for (int c = 0; c < Count; ++c) {
            const Pack lanes = even[c] + odd[c];
            out[c] = (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]) + rest[c];
        }
    }
};

template <int Count>
struct Update {
    [[gnu::always_inline]] void operator()(const RowRange* range, std::size_t ranges,
                                           const double* v, double* const* columns,
                                           const double* factors) const
    {
        for (const RowRange* last = range + ranges; range != last; ++range) {
            std::ptrdiff_t i = range->begin;
            for (; i + kPack <= range->end; i += kPack) {
                const Pack pack = load(v + i);
                for (int c = 0; c < Count; ++c)
                    store(columns[c] + i, load(columns[c] + i) + factors[c] * pack);
            }
            for (; i < range->end; ++i)
                for (int c = 0; c < Count; ++c) columns[c][i] += factors[c] * v[i];
        }
    }
};

template <int Count>
struct Combine {
    [[gnu::always_inline]] void operator()(const RowRange* range, std::size_t ranges, double* v,
                                           const double* const* columns,
                                           const double* factors) const
    {
        for (const RowRange* last = range + ranges; range != last; ++range) {
            std::ptrdiff_t i = range->begin;
            for (; i + kPack <= range->end; i += kPack) {
                Pack pack = load(v + i);
                for (int c = 0; c < Count; ++c) pack += factors[c] * load(columns[c] + i);
                store(v + i, pack);
            }
            for (; i < range->end; ++i)
                for (int c = 0; c < Count; ++c) v[i] += factors[c] * columns[c][i];
        }
    }
};

struct DotAcross {
    [[gnu::always_inline]] void operator()(const RowRange* range, std::size_t ranges,
                                           const double* v, const double* w, double* out) const
    {
        constexpr int kPacks = kInterleaved / kPack;
        Pack even[kPacks] = {};
        Pack odd[kPacks] = {};
        for (const RowRange* last = range + ranges; range != last; ++range) {
            std::ptrdiff_t i = range->begin;
            for (; i + 2 <= range->end; i += 2)
                for (int p = 0; p < kPacks; ++p) {
                    even[p] += v[i] * load(w + i * kInterleaved + p * kPack);
                    odd[p] += v[i + 1] * load(w + (i + 1) * kInterleaved + p * kPack);
                }
            if (i < range->end)
                for (int p = 0; p < kPacks; ++p)
                    even[p] += v[i] * load(w + i * kInterleaved + p * kPack);
        }
        for (int p = 0; p < kPacks; ++p) store(out + p * kPack, even[p] + odd[p]);
    }
};

struct UpdateAcross {
    [[gnu::always_inline]] void operator()(const RowRange* range, std::size_t ranges,
                                           const double* v, double* w, const double* factors) const
    {
        constexpr int kPacks = kInterleaved / kPack;
        Pack factor[kPacks];
        for (int p = 0; p < kPacks; ++p) factor[p] = load(factors + p * kPack);
        for (const RowRange* last = range + ranges; range != last; ++range)
            for (std::ptrdiff_t i = range->begin; i < range->end; ++i)
                for (int p = 0; p < kPacks; ++p) {
                    double* at = w + i * kInterleaved + p * kPack;
                    store(at, load(at) + factor[p] * v[i]);
                }
    }
};

}  // namespace

void panelDot(RowRangeSpan ranges, const double* v, const double* const* columns, int count,
              double* out)
{
    if (count == kPanel)
        return runKernel(Dot<kPanel>(), ranges.first, ranges.count, v, columns, out);
    for (int c = 0; c < count; ++c)
        runKernel(Dot<1>(), ranges.first, ranges.count, v, columns + c, out + c);
}

void panelUpdate(RowRangeSpan ranges, const double* v, double* const* columns, int count,
                 const double* factors)
{
    if (count == kPanel)
        return runKernel(Update<kPanel>(), ranges.first, ranges.count, v, columns, factors);
    for (int c = 0; c < count; ++c)
        runKernel(Update<1>(), ranges.first, ranges.count, v, columns + c, factors + c);
}

void panelCombine(RowRangeSpan ranges, double* v, const double* const* columns, int count,
                  const double* factors)
{
    if (count == kPanel)
        return runKernel(Combine<kPanel>(), ranges.first, ranges.count, v, columns, factors);
    for (int c = 0; c < count; ++c)
        runKernel(Combine<1>(), ranges.first, ranges.count, v, columns + c, factors + c);
}

void interleavedDot(RowRangeSpan ranges, const double* v, const double* w, double* out)
{
    runKernel(DotAcross(), ranges.first, ranges.count, v, w, out);
}

void interleavedUpdate(RowRangeSpan ranges, const double* v, double* w, const double* factors)
{
    runKernel(UpdateAcross(), ranges.first, ranges.count, v, w, factors);
}

}  // namespace knotwork
