// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/DeBoor.h"

#include <algorithm>
#include <cstring>

#include "knotwork/approx/detail/LocalArray.h"

namespace knotwork {

namespace {

constexpr int kLanes = 4;                       // numbers of a point that are advanced together
constexpr std::size_t kRatiosOnStack = 2 * 78;  // these two are for degree 12 with all orders
constexpr std::size_t kScratchOnStack = 13 * 13 * kLanes;

typedef double Pair __attribute__((vector_size(16)));
constexpr int kPairs = kLanes / 2;

constexpr int ratioCount(int degree)
{
    return degree * (degree + 1) / 2;
}

/// The 2p knots around a span. The mirror image is the same text on negated knots in reverse order;
/// which end is nearer to t is random, so the choice is made without a branch.
struct Window {
    const double* from;
    std::ptrdiff_t step;
    double sign;
    double x;
    double operator[](int j) const { return sign * from[j * step]; }
};

/// Numerators and denominators of all ratios of the triangle, level after level: alpha, and behind
/// all of them (p - r + 1) / (right - left) for the levels at which derivatives come up.
template <class Knots>
[[gnu::always_inline]] inline void fillRatios(const Knots& knots, const Window& window, int p,
                                              int orders, double* numerator, double* denominator)
{
    const int slopes = ratioCount(p);
    int level = 0;
#pragma GCC unroll 5
    for (int r = 1; r <= p; ++r) {
#pragma GCC unroll 5
        for (int i = 0; i <= p - r; ++i) {
            const double left = knots[r - 1 + i];
            const double width = knots[p + i] - left;
            numerator[level + i] = window.x - left;
            denominator[level + i] = width;
            if (r > orders) continue;
            numerator[slopes + level + i] = window.sign * (p - r + 1);
            denominator[slopes + level + i] = width;
        }
        level += p - r + 1;
    }
}

[[gnu::always_inline]] inline void load(const double* from, int live, Pair* to)
{
    if (live == kLanes) {
        std::memcpy(to, from, kLanes * sizeof(double));
        return;
    }
    to[0] = Pair{from[0], live > 1 ? from[1] : 0.0};
    to[1] = Pair{live > 2 ? from[2] : 0.0, 0.0};
}

[[gnu::always_inline]] inline void store(const Pair* from, int live, double* to)
{
    if (live == kLanes) {
        std::memcpy(to, from, kLanes * sizeof(double));
        return;
    }
    to[0] = from[0][0];
    if (live > 1) to[1] = from[0][1];
    if (live > 2) to[2] = from[1][0];
}

/// Runs the triangle on `live` neighbouring numbers of each point. Row m of the scratch holds the
/// m-th derivative's points; it comes up at level m from the row below and shrinks from then on.
[[gnu::always_inline]] inline void runBlock(int p, int orders, const double* alpha,
                                            const double* slope, const double* points,
                                            std::ptrdiff_t stride, int live, double* out,
                                            std::ptrdiff_t outStride, Pair* scratch)
{
    const int row = (p + 1) * kPairs;
#pragma GCC unroll 6
    for (int i = 0; i <= p; ++i) load(points + i * stride, live, scratch + i * kPairs);

    int level = 0;
#pragma GCC unroll 5
    for (int r = 1; r <= p; ++r) {
        const int windows = p - r + 1;
#pragma GCC unroll 3
        for (int m = r - 1 < orders ? r - 1 : orders; m >= 0; --m) {
            Pair* x = scratch + m * row;
            const bool differentiate = m == r - 1 && r <= orders;
#pragma GCC unroll 5
            for (int i = 0; i < windows; ++i)
#pragma GCC unroll 2
                for (int l = i * kPairs; l < (i + 1) * kPairs; ++l) {
                    const Pair difference = x[l + kPairs] - x[l];
                    if (differentiate) x[row + l] = slope[level + i] * difference;
                    x[l] += alpha[level + i] * difference;
                }
        }
        level += windows;
    }
#pragma GCC unroll 3
    for (int m = 0; m <= orders; ++m) store(scratch + m * row, live, out + m * outStride);
}

/// Cuts the points of a job into blocks.
template <class Run>
[[gnu::always_inline]] inline void forBlocks(const DeBoorJob& job, int p, bool mirrored, Run&& run)
{
    const std::ptrdiff_t step = mirrored ? -job.stride : job.stride;
    const double* points = mirrored ? job.points + p * job.stride : job.points;
    double* out = job.out;
    int left = job.length;
    for (; left >= kLanes; left -= kLanes, points += kLanes, out += kLanes)
        run(points, step, kLanes, out);
    if (left > 0) run(points, step, left, out);
}

/// The common degrees and orders, unrolled, in registers as far as they reach.
template <int kDegree, int kOrders>
void runFixed(const Window& window, const DeBoorJob* jobs, int count)
{
    constexpr int kAlphas = ratioCount(kDegree);
    constexpr int kRatios = kAlphas + kAlphas - ratioCount(kDegree - kOrders);
    constexpr int kEven = (kRatios + 1) / 2 * 2;
    double knots[2 * kDegree];
    double ratio[kEven];
    double width[kEven];
    ratio[kEven - 1] = width[kEven - 1] = 1.0;
#pragma GCC unroll 10
    for (int j = 0; j < 2 * kDegree; ++j) knots[j] = window[j];
    fillRatios(knots, window, kDegree, kOrders, ratio, width);
    // Divisions take most of the time and come two for the price of one.
#pragma GCC unroll 15
    for (int i = 0; i < kEven; i += 2) {
        const Pair quotients = Pair{ratio[i], ratio[i + 1]} / Pair{width[i], width[i + 1]};
        ratio[i] = quotients[0];
        ratio[i + 1] = quotients[1];
    }
    const double* alpha = ratio;
    const double* slope = ratio + kAlphas;
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job)
        forBlocks(*job, kDegree, window.step < 0,
                  [&](const double* points, std::ptrdiff_t stride, int live, double* out) {
                      Pair scratch[(kOrders + 1) * (kDegree + 1) * kPairs];
                      const auto runTo = [&](int orders) {
                          runBlock(kDegree, orders, alpha, slope, points, stride, live, out,
                                   job->outStride, scratch);
                      };
                      if (job->orders >= kOrders) return runTo(kOrders);
                      if constexpr (kOrders > 1)
                          if (job->orders == 1) return runTo(1);
                      runTo(0);
                  });
}

void runAny(int p, const Window& window, const DeBoorJob* jobs, int count)
{
    const int most = std::min(p, jobs[0].orders);
    const auto ratios = static_cast<std::size_t>(ratioCount(p));
    LocalArray<kRatiosOnStack> local(2 * ratios);
    LocalArray<kRatiosOnStack> widths(2 * ratios);
    double* alpha = local.data();
    double* slope = alpha + ratios;
    fillRatios(window, window, p, most, alpha, widths.data());
    const int announced = ratioCount(p) - ratioCount(p - most);
    for (int i = 0; i < ratioCount(p) + announced; ++i) alpha[i] /= widths.data()[i];
    LocalArray<kScratchOnStack> scratch(static_cast<std::size_t>((most + 1) * (p + 1) * kLanes));
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job)
        forBlocks(*job, p, window.step < 0,
                  [&](const double* points, std::ptrdiff_t stride, int live, double* out) {
                      runBlock(p, std::min(p, job->orders), alpha, slope, points, stride, live, out,
                               job->outStride, reinterpret_cast<Pair*>(scratch.data()));
                  });
}

using Runner = void (*)(const Window& window, const DeBoorJob* jobs, int count);

constexpr int kMostDegree = 5;
constexpr int kMostOrders = 2;

/// The unrolled texts by degree and most orders, neither of them above the degree.
constexpr Runner kRunners[kMostDegree + 1][kMostOrders + 1] = {
    {},
    {runFixed<1, 0>, runFixed<1, 1>, runFixed<1, 1>},
    {runFixed<2, 0>, runFixed<2, 1>, runFixed<2, 2>},
    {runFixed<3, 0>, runFixed<3, 1>, runFixed<3, 2>},
    {runFixed<4, 0>, runFixed<4, 1>, runFixed<4, 2>},
    {runFixed<5, 0>, runFixed<5, 1>, runFixed<5, 2>},
};

/// The derivatives above the degree.
void clearRows(int p, const DeBoorJob* jobs, int count)
{
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job)
        for (int m = p + 1; m <= job->orders; ++m)
            std::fill_n(job->out + m * job->outStride, job->length, 0.0);
}

}  // namespace

void runDeBoor(const KnotTable& knots, int span, double t, SpanEnd end, const DeBoorJob* jobs,
               int count)
{
    const int p = knots.degree();
    const int orders = jobs[0].orders;
    if (orders > p) clearRows(p, jobs, count);
    const bool mirrored = end == SpanEnd::kRight;
    const double sign = mirrored ? -1.0 : 1.0;
    const Window window = {p < 1 ? nullptr : knots.at(mirrored ? span + p : span + 1 - p),
                           mirrored ? -1 : 1, sign, sign * t};
    if (p >= 1 && p <= kMostDegree && (orders <= kMostOrders || p <= kMostOrders))
        kRunners[p][std::min(orders, kMostOrders)](window, jobs, count);
    else
        runAny(p, window, jobs, count);
}

}  // namespace knotwork
