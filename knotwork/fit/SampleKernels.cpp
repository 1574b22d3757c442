// SPDX-License-Identifier: MIT
#include "knotwork/fit/SampleKernels.h"

#include <vector>

#include "knotwork/factor/kernels/Pack.h"
#include "knotwork/fit/BasisRecurrence.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

/// P: the degree, or 0 for any, which is then handed over.
template <int P>
struct BasisKernel {
    [[gnu::always_inline]] void operator()(int degree, const double* knots, const double* t,
                                           std::ptrdiff_t n, double* columns,
                                           std::ptrdiff_t stride) const
    {
        constexpr int kMost = P > 0 ? P : kMostBasisDegree;
        const int p = P > 0 ? P : degree;
        const double first = 1.0 / (knots[1] - knots[0]);  // of degree 1, for all samples
        for (std::ptrdiff_t i = 0; i < n; i += kPack) {
            const Pack at = load(t + i);
            Pack row[kMost + 1];
            Pack lower[kMost + 1];
            row[0] = (knots[1] - at) * first;
            row[1] = (at - knots[0]) * first;
            for (int q = 2; q <= p; ++q) {
                for (int j = 0; j < q; ++j) lower[j] = row[j];
                for (int j = 0; j <= q; ++j) row[j] = Pack{};
                for (int j = 0; j < q; ++j) {
                    const double left = knots[1 - q + j];
                    const double right = knots[1 + j];
                    const Pack weight = lower[j] / (right - left);
                    row[j] += (right - at) * weight;
                    row[j + 1] += (at - left) * weight;
                }
            }
            for (int k = 0; k <= p; ++k) store(columns + k * stride + i, row[k]);
        }
    }
};

struct ResidualKernel {
    [[gnu::always_inline]] void operator()(std::ptrdiff_t n, int width, const double* columns,
                                           std::ptrdiff_t stride, const double* x,
                                           std::ptrdiff_t step, const double* b, double* r) const
    {
        for (std::ptrdiff_t i = 0; i < n; i += kPack) {
            Pack left = load(b + i);
            for (int k = 0; k < width; ++k) left -= x[step * k] * load(columns + k * stride + i);
            store(r + i, left);
        }
    }
};

struct ProductKernel {
    [[gnu::always_inline]] void operator()(std::ptrdiff_t n, int width, const double* columns,
                                           std::ptrdiff_t stride, const double* v,
                                           double* sums) const
    {
        for (int k = 0; k < width; ++k) {
            const double* column = columns + k * stride;
            Pack even = {};
            Pack odd = {};
            std::ptrdiff_t i = 0;
            for (; i + 2 * kPack <= n; i += 2 * kPack) {
                even += load(column + i) * load(v + i);
                odd += load(column + i + kPack) * load(v + i + kPack);
            }
            if (i < n) even += load(column + i) * load(v + i);
            even += odd;
            sums[k] = (even[0] + even[1]) + (even[2] + even[3]);
        }
    }
};

using DoubledPack = Doubled<Pack>;

/// reciprocals: of the differences of knots, in the order in which the recurrence needs them.
/// sums: packs, high and low halves in turn.
struct ExactKernel {
    [[gnu::always_inline]] void operator()(const ExactRun* run, const DoubleDouble* reciprocals,
                                           double* sums) const
    {
        const int p = run->degree;
        const int d = run->dimension;
        for (std::ptrdiff_t i = 0; i < paddedRows(run->count); i += kPack) {
            const DoubledPack at = {load(run->t + i), Pack{}};
            DoubledPack row[kMostBasisDegree + 1];
            DoubledPack lower[kMostBasisDegree + 1];
            row[0] = DoubledPack(1.0);
            const DoubleDouble* reciprocal = reciprocals;
            for (int q = 1; q <= p; ++q) {
                for (int j = 0; j < q; ++j) lower[j] = row[j];
                for (int j = 0; j <= q; ++j) row[j] = DoubledPack(0.0);
                for (int j = 0; j < q; ++j, ++reciprocal) {
                    const DoubledPack weight =
                        lower[j] * DoubledPack{Pack{} + reciprocal->high, Pack{} + reciprocal->low};
                    row[j] += (DoubledPack(run->knots[1 + j]) - at) * weight;
                    row[j + 1] += (at - DoubledPack(run->knots[1 - q + j])) * weight;
                }
            }
            const DoubledPack weights = {load(run->weights + i), Pack{}};
            for (int k = 0; k < d; ++k) {
                DoubledPack r = {load(run->points + std::ptrdiff_t{kRunRows} * k + i), Pack{}};
                for (int j = 0; j <= p; ++j) {
                    const DoubleDouble& x = run->x[j * d + k];
                    r += -(row[j] * DoubledPack{Pack{} + x.high, Pack{} + x.low});
                }
                store(run->left + std::ptrdiff_t{kRunRows} * k + i, r.high);
                const DoubledPack pull = r * weights;
                for (int j = 0; j <= p; ++j) {
                    double* sum = sums + 2 * kPack * (j * d + k);
                    const DoubledPack total =
                        DoubledPack{load(sum), load(sum + kPack)} + row[j] * pull;
                    store(sum, total.high);
                    store(sum + kPack, total.low);
                }
            }
        }
    }
};

}  // namespace

void sumExactRun(const ExactRun& run)
{
    const int numbers = (run.degree + 1) * run.dimension;
    std::vector<DoubleDouble> reciprocals;
    for (int q = 1; q <= run.degree; ++q)
        for (int j = 0; j < q; ++j)
            reciprocals.push_back(DoubleDouble(1.0) / (DoubleDouble(run.knots[1 + j]) -
                                                       DoubleDouble(run.knots[1 - q + j])));
    std::vector<double> sums(2 * kPack * static_cast<std::size_t>(numbers), 0.0);
    runKernel(ExactKernel(), &run, reciprocals.data(), sums.data());
    for (int n = 0; n < numbers; ++n)
        for (int lane = 0; lane < kPack; ++lane) {
            const double* sum = sums.data() + 2 * kPack * n + lane;
            run.sums[n] += DoubleDouble(sum[0], sum[kPack]);
        }
}

void basisColumns(const double* knots, int degree, int s, const double* t, int count,
                  double* columns, std::ptrdiff_t stride)
{
    const std::ptrdiff_t n = paddedRows(count);
    const auto run = [&](auto kernel) {
        runKernel(kernel, degree, knots + s, t, n, columns, stride);
    };
    switch (degree) {
        case 1:
            return run(BasisKernel<1>());
        case 2:
            return run(BasisKernel<2>());
        case 3:
            return run(BasisKernel<3>());
        case 4:
            return run(BasisKernel<4>());
        case 5:
            return run(BasisKernel<5>());
        case 6:
            return run(BasisKernel<6>());
        case 7:
            return run(BasisKernel<7>());
        default:
            return run(BasisKernel<0>());
    }
}

void runResiduals(int count, int width, const double* columns, std::ptrdiff_t stride,
                  const double* x, std::ptrdiff_t step, const double* b, double* r)
{
    runKernel(ResidualKernel(), paddedRows(count), width, columns, stride, x, step, b, r);
}

void runProducts(int count, int width, const double* columns, std::ptrdiff_t stride,
                 const double* v, double* sums)
{
    runKernel(ProductKernel(), paddedRows(count), width, columns, stride, v, sums);
}

}  // namespace knotwork
