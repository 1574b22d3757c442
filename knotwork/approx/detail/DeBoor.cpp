// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/DeBoor.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "knotwork/approx/detail/LocalArray.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

constexpr int kLanes = 4;                       // numbers of a point that are advanced together
constexpr std::size_t kRatiosOnStack = 2 * 78;  // these two are for degree 12 with all orders
constexpr std::size_t kScratchOnStack = 13 * 13 * kLanes;

// The numbers advanced together are one or two vectors, as the CPU has them; the bits are the same.
typedef double Pair __attribute__((vector_size(16)));
typedef double Quad __attribute__((vector_size(32)));
template <class Vector>
constexpr int kVectors = kLanes / static_cast<int>(sizeof(Vector) / sizeof(double));

constexpr int ratioCount(int degree)
{
    return KnotTable::triangleSize(degree);
}

SpanWindow windowOf(const KnotTable& knots, int span, SpanEnd end)
{
    const int p = knots.degree();
    const bool mirrored = end == SpanEnd::kRight;
    if (p < 1) return {p, mirrored, nullptr, nullptr};
    return {p, mirrored, knots.at(mirrored ? span + p : span + 1 - p), knots.reciprocals(span)};
}

/// All ratios of the triangle, level after level: alpha, and (p - r + 1) / (right - left) for the
/// levels at which derivatives come up. Which end is nearer to a random t is random, so that choice
/// is made without a branch.
[[gnu::always_inline]] inline void fillRatios(const SpanWindow& window, bool mirrored, double t,
                                              int p, int orders, double* alpha, double* slope)
{
    const std::ptrdiff_t step = mirrored ? -1 : 1;
    const double sign = mirrored ? -1.0 : 1.0;
    int level = 0;
#pragma GCC unroll 5
    for (int r = 1; r <= p; ++r) {
        const int windows = p - r + 1;
        const double* reciprocal = window.reciprocals + (mirrored ? level + windows - 1 : level);
        const double factor = sign * windows;
#pragma GCC unroll 5
        for (int i = 0; i < windows; ++i) {
            const double width = reciprocal[i * step];
            const double left = window.left[(r - 1 + i) * step];
            alpha[level + i] = sign * (t - left) * width;
            if (r <= orders) slope[level + i] = factor * width;
        }
        level += windows;
    }
}

[[gnu::always_inline]] inline void load(const double* from, int live, Pair* to)
{
    std::memcpy(to, from, (live < 2 ? 1 : 2) * sizeof(double));
    if (live < 2) to[0][1] = 0.0;
    if (live == kLanes)
        std::memcpy(to + 1, from + 2, sizeof(Pair));
    else
        to[1] = Pair{live > 2 ? from[2] : 0.0, 0.0};
}

[[gnu::always_inline]] inline void load(const double* from, int live, Quad* to)
{
    if (live == kLanes) {
        std::memcpy(to, from, sizeof(Quad));
        return;
    }
    Pair halves[2];
    load(from, live, halves);
    *to = __builtin_shufflevector(halves[0], halves[1], 0, 1, 2, 3);
}

[[gnu::always_inline]] inline void store(const Pair* from, int live, double* to)
{
    if (live == kLanes) {
        std::memcpy(to, from, kLanes * sizeof(double));
        return;
    }
    if (live < 2) {
        to[0] = from[0][0];
        return;
    }
    std::memcpy(to, from, sizeof(Pair));
    if (live > 2) to[2] = from[1][0];
}

[[gnu::always_inline]] inline void store(const Quad* from, int live, double* to)
{
    const Pair halves[2] = {__builtin_shufflevector(*from, *from, 0, 1),
                            __builtin_shufflevector(*from, *from, 2, 3)};
    store(halves, live, to);
}

/// Runs the triangle on `live` neighbouring numbers of each point. Row m of the scratch holds the
/// m-th derivative's points; it comes up at level m from the row below and shrinks from then on.
template <class Vector>
[[gnu::always_inline]] inline void runBlock(int p, int orders, const double* alpha,
                                            const double* slope, const double* points,
                                            std::ptrdiff_t stride, int live, double* out,
                                            std::ptrdiff_t outStride, Vector* scratch)
{
    constexpr int kPoint = kVectors<Vector>;
    const int row = (p + 1) * kPoint;
#pragma GCC unroll 6
    for (int i = 0; i <= p; ++i) load(points + i * stride, live, scratch + i * kPoint);

    int level = 0;
#pragma GCC unroll 5
    for (int r = 1; r <= p; ++r) {
        const int windows = p - r + 1;
#pragma GCC unroll 3
        for (int m = r - 1 < orders ? r - 1 : orders; m >= 0; --m) {
            Vector* x = scratch + m * row;
            const bool differentiate = m == r - 1 && r <= orders;
#pragma GCC unroll 5
            for (int i = 0; i < windows; ++i)
#pragma GCC unroll 2
                for (int l = i * kPoint; l < (i + 1) * kPoint; ++l) {
                    const Vector difference = x[l + kPoint] - x[l];
                    if (differentiate) x[row + l] = slope[level + i] * difference;
                    x[l] += alpha[level + i] * difference;
                }
        }
        level += windows;
    }
#pragma GCC unroll 3
    for (int m = 0; m <= orders; ++m) store(scratch + m * row, live, out + m * outStride);
}

/// Runs one job, cut into blocks; none is needed for a known length below kLanes.
template <class Vector>
[[gnu::always_inline]] inline void runJob(const DeBoorJob& job, int p, int orders, bool mirrored,
                                          int knownLength, const double* alpha, const double* slope,
                                          Vector* scratch)
{
    const std::ptrdiff_t step = mirrored ? -job.stride : job.stride;
    const double* points = mirrored ? job.points + p * job.stride : job.points;
    double* out = job.out;
    if (knownLength > 0)
        return runBlock(p, orders, alpha, slope, points, step, knownLength, out, job.outStride,
                        scratch);
    int left = job.length;
    for (; left >= kLanes; left -= kLanes, points += kLanes, out += kLanes)
        runBlock(p, orders, alpha, slope, points, step, kLanes, out, job.outStride, scratch);
    if (left > 0)
        runBlock(p, orders, alpha, slope, points, step, left, out, job.outStride, scratch);
}

enum class Ends { kLeft, kRight, kEither };

/// The common degrees and orders, unrolled, in registers as far as they reach. Length 0: any.
template <class Vector, int kDegree, int kOrders, int kLength, Ends kEnds>
[[gnu::always_inline]] inline void runUnrolled(const SpanWindow& window, double t,
                                               const DeBoorJob* jobs, int count)
{
    const bool mirrored = kEnds == Ends::kEither ? window.mirrored : kEnds == Ends::kRight;
    double alpha[ratioCount(kDegree)];
    double slope[ratioCount(kDegree)];
    fillRatios(window, mirrored, t, kDegree, kOrders, alpha, slope);
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job) {
        Vector scratch[(kOrders + 1) * (kDegree + 1) * kVectors<Vector>];
        if (job->orders >= kOrders)
            runJob(*job, kDegree, kOrders, mirrored, kLength, alpha, slope, scratch);
        else if (kOrders > 1 && job->orders == 1)
            runJob(*job, kDegree, std::min(1, kOrders), mirrored, kLength, alpha, slope, scratch);
        else
            runJob(*job, kDegree, 0, mirrored, kLength, alpha, slope, scratch);
    }
}

template <int kDegree, int kOrders, int kLength, Ends kEnds>
struct Unrolled {
    template <CpuLevel kLevel>
    [[gnu::always_inline]] void operator()(AtLevel<kLevel>, const SpanWindow* window, double t,
                                           const DeBoorJob* jobs, int count) const
    {
        using Vector = std::conditional_t<kLevel == CpuLevel::kPlain, Pair, Quad>;
        runUnrolled<Vector, kDegree, kOrders, kLength, kEnds>(*window, t, jobs, count);
    }
    static void run(const SpanWindow& window, double t, const DeBoorJob* jobs, int count)
    {
        runKernel<CpuLevel::kVectors256>(Unrolled(), &window, t, jobs, count);
    }
};

void runAny(const SpanWindow& window, double t, const DeBoorJob* jobs, int count)
{
    const int p = window.degree;
    const int most = std::min(p, jobs[0].orders);
    const auto ratios = static_cast<std::size_t>(ratioCount(p));
    LocalArray<kRatiosOnStack> local(2 * ratios);
    double* alpha = local.data();
    double* slope = alpha + ratios;
    fillRatios(window, window.mirrored, t, p, most, alpha, slope);
    LocalArray<kScratchOnStack> scratch(static_cast<std::size_t>((most + 1) * (p + 1) * kLanes));
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job)
        runJob(*job, p, std::min(p, job->orders), window.mirrored, 0, alpha, slope,
               reinterpret_cast<Pair*>(scratch.data()));
}

constexpr int kMostDegree = 5;
constexpr int kMostOrders = 2;
constexpr int kSpace = 3;  // the length with texts of its own

/// The unrolled texts by degree and most orders, neither of them above the degree.
template <int kLength, Ends kEnds>
constexpr DeBoorRunner kRunners[kMostDegree + 1][kMostOrders + 1] = {
    {},
    {Unrolled<1, 0, kLength, kEnds>::run, Unrolled<1, 1, kLength, kEnds>::run,
     Unrolled<1, 1, kLength, kEnds>::run},
    {Unrolled<2, 0, kLength, kEnds>::run, Unrolled<2, 1, kLength, kEnds>::run,
     Unrolled<2, 2, kLength, kEnds>::run},
    {Unrolled<3, 0, kLength, kEnds>::run, Unrolled<3, 1, kLength, kEnds>::run,
     Unrolled<3, 2, kLength, kEnds>::run},
    {Unrolled<4, 0, kLength, kEnds>::run, Unrolled<4, 1, kLength, kEnds>::run,
     Unrolled<4, 2, kLength, kEnds>::run},
    {Unrolled<5, 0, kLength, kEnds>::run, Unrolled<5, 1, kLength, kEnds>::run,
     Unrolled<5, 2, kLength, kEnds>::run},
};

/// The derivatives above the degree.
void clearRows(int p, const DeBoorJob* jobs, int count)
{
    for (const DeBoorJob* job = jobs; job != jobs + count; ++job)
        for (int m = p + 1; m <= job->orders; ++m)
            std::fill_n(job->out + m * job->outStride, job->length, 0.0);
}

template <Ends kEnds>
DeBoorRunner runnerFor(int p, int orders, int length)
{
    if (p < 1 || p > kMostDegree || (orders > kMostOrders && p > kMostOrders)) return runAny;
    const int known = std::min(orders, kMostOrders);
    return length == kSpace ? kRunners<kSpace, kEnds>[p][known] : kRunners<0, kEnds>[p][known];
}

void runWithZeros(const SpanWindow& window, double t, const DeBoorJob* jobs, int count)
{
    clearRows(window.degree, jobs, count);
    runnerFor<Ends::kEither>(window.degree, jobs[0].orders, jobs[0].length)(window, t, jobs, count);
}

}  // namespace

void runDeBoor(const KnotTable& knots, int span, double t, SpanEnd end, const DeBoorJob* jobs,
               int count)
{
    const int p = knots.degree();
    const int orders = jobs[0].orders;
    const SpanWindow window = windowOf(knots, span, end);
    if (orders > p) return runWithZeros(window, t, jobs, count);
    runnerFor<Ends::kEither>(p, orders, jobs[0].length)(window, t, jobs, count);
}

LineSpan startLine(int degree, int orders, int length)
{
    LineSpan line;
    const bool zeros = orders > degree;
    line.runners[0] = zeros ? runWithZeros : runnerFor<Ends::kLeft>(degree, orders, length);
    line.runners[1] = zeros ? runWithZeros : runnerFor<Ends::kRight>(degree, orders, length);
    return line;
}

void enterSpan(LineSpan& line, const KnotTable& knots, int span)
{
    if (knots.degree() > 0) {
        line.low = knots(span);
        line.high = knots(span + 1);
    }
    line.windows[0] = windowOf(knots, span, SpanEnd::kLeft);
    line.windows[1] = windowOf(knots, span, SpanEnd::kRight);
}

}  // namespace knotwork
