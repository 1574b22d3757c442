// SPDX-License-Identifier: MIT
#include "knotwork/factor/PanelKernels.h"

#include "knotwork/factor/detail/Pack.h"

namespace knotwork {

namespace {

constexpr std::ptrdiff_t kLanes = 2 * kPack;

template <int Count>
[[gnu::always_inline]] inline void dot(const RowRange* range, std::size_t ranges, const double* v,
                                       const double* const* columns, double* out)
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

template <int Count>
[[gnu::always_inline]] inline void update(const RowRange* range, std::size_t ranges,
                                          const double* v, double* const* columns,
                                          const double* factors)
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

template <int Count>
[[gnu::always_inline]] inline void combine(const RowRange* range, std::size_t ranges, double* v,
                                           const double* const* columns, const double* factors)
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

[[gnu::always_inline]] inline void dotAcross(const RowRange* range, std::size_t ranges,
                                             const double* v, const double* w, double* out)
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

[[gnu::always_inline]] inline void updateAcross(const RowRange* range, std::size_t ranges,
                                                const double* v, double* w, const double* factors)
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

/// The kernels compiled for one instruction set; the bodies are the same text, and so are the bits.
struct Kernels {
    void (*dot4)(const RowRange*, std::size_t, const double*, const double* const*, double*);
    void (*dot1)(const RowRange*, std::size_t, const double*, const double* const*, double*);
    void (*update4)(const RowRange*, std::size_t, const double*, double* const*, const double*);
    void (*update1)(const RowRange*, std::size_t, const double*, double* const*, const double*);
    void (*combine4)(const RowRange*, std::size_t, double*, const double* const*, const double*);
    void (*combine1)(const RowRange*, std::size_t, double*, const double* const*, const double*);
    void (*dotAcross)(const RowRange*, std::size_t, const double*, const double*, double*);
    void (*updateAcross)(const RowRange*, std::size_t, const double*, double*, const double*);
};

template <int Count>
void dotPlain(const RowRange* r, std::size_t n, const double* v, const double* const* c, double* d)
{
    dot<Count>(r, n, v, c, d);
}
template <int Count>
void updatePlain(const RowRange* r, std::size_t n, const double* v, double* const* c,
                 const double* t)
{
    update<Count>(r, n, v, c, t);
}
template <int Count>
void combinePlain(const RowRange* r, std::size_t n, double* v, const double* const* c,
                  const double* t)
{
    combine<Count>(r, n, v, c, t);
}

void dotAcrossPlain(const RowRange* r, std::size_t n, const double* v, const double* w, double* d)
{
    dotAcross(r, n, v, w, d);
}
void updateAcrossPlain(const RowRange* r, std::size_t n, const double* v, double* w,
                       const double* t)
{
    updateAcross(r, n, v, w, t);
}

#if defined(__x86_64__)
template <int Count>
[[gnu::target("avx2")]] void dotAvx2(const RowRange* r, std::size_t n, const double* v,
                                     const double* const* c, double* d)
{
    dot<Count>(r, n, v, c, d);
}
template <int Count>
[[gnu::target("avx2")]] void updateAvx2(const RowRange* r, std::size_t n, const double* v,
                                        double* const* c, const double* t)
{
    update<Count>(r, n, v, c, t);
}
template <int Count>
[[gnu::target("avx2")]] void combineAvx2(const RowRange* r, std::size_t n, double* v,
                                         const double* const* c, const double* t)
{
    combine<Count>(r, n, v, c, t);
}
[[gnu::target("avx2")]] void dotAcrossAvx2(const RowRange* r, std::size_t n, const double* v,
                                           const double* w, double* d)
{
    dotAcross(r, n, v, w, d);
}
[[gnu::target("avx2")]] void updateAcrossAvx2(const RowRange* r, std::size_t n, const double* v,
                                              double* w, const double* t)
{
    updateAcross(r, n, v, w, t);
}
#endif

Kernels choose()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2"))
        return {dotAvx2<4>,     dotAvx2<1>,     updateAvx2<4>, updateAvx2<1>,
                combineAvx2<4>, combineAvx2<1>, dotAcrossAvx2, updateAcrossAvx2};
#endif
    return {dotPlain<4>,     dotPlain<1>,     updatePlain<4>, updatePlain<1>,
            combinePlain<4>, combinePlain<1>, dotAcrossPlain, updateAcrossPlain};
}

const Kernels& kernels()
{
    static const Kernels chosen = choose();
    return chosen;
}

}  // namespace

void panelDot(RowRangeSpan ranges, const double* v, const double* const* columns, int count,
              double* out)
{
    const Kernels& k = kernels();
    if (count == kPanel) return k.dot4(ranges.first, ranges.count, v, columns, out);
    for (int c = 0; c < count; ++c) k.dot1(ranges.first, ranges.count, v, columns + c, out + c);
}

void panelUpdate(RowRangeSpan ranges, const double* v, double* const* columns, int count,
                 const double* factors)
{
    const Kernels& k = kernels();
    if (count == kPanel) return k.update4(ranges.first, ranges.count, v, columns, factors);
    for (int c = 0; c < count; ++c)
        k.update1(ranges.first, ranges.count, v, columns + c, factors + c);
}

void panelCombine(RowRangeSpan ranges, double* v, const double* const* columns, int count,
                  const double* factors)
{
    const Kernels& k = kernels();
    if (count == kPanel) return k.combine4(ranges.first, ranges.count, v, columns, factors);
    for (int c = 0; c < count; ++c)
        k.combine1(ranges.first, ranges.count, v, columns + c, factors + c);
}

void interleavedDot(RowRangeSpan ranges, const double* v, const double* w, double* out)
{
    kernels().dotAcross(ranges.first, ranges.count, v, w, out);
}

void interleavedUpdate(RowRangeSpan ranges, const double* v, double* w, const double* factors)
{
    kernels().updateAcross(ranges.first, ranges.count, v, w, factors);
}

}  // namespace knotwork
