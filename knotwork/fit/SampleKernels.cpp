// SPDX-License-Identifier: MIT
#include "knotwork/fit/SampleKernels.h"

#include <algorithm>

#include "knotwork/factor/detail/Pack.h"
#include "knotwork/fit/BasisRecurrence.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

template <int P>
struct BasisKernel {
    [[gnu::always_inline]] void operator()(const double* knots, const double* t, std::ptrdiff_t n,
                                           double* columns, std::ptrdiff_t stride) const
    {
        for (std::ptrdiff_t i = 0; i < n; i += kPack) {
            const Pack at = load(t + i);
            Pack row[P + 1] = {};
            Pack lower[P + 1];
            row[0] += 1.0;
            for (int q = 1; q <= P; ++q) {
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
            for (int k = 0; k <= P; ++k) store(columns + k * stride + i, row[k]);
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

}  // namespace

void basisColumns(const double* knots, int degree, int s, const double* t, int count,
                  double* columns, std::ptrdiff_t stride)
{
    const std::ptrdiff_t n = paddedRows(count);
    const auto run = [&](auto kernel) { runKernel(kernel, knots + s, t, n, columns, stride); };
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
            break;
    }
    double row[kMostBasisDegree + 1];
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        basisRow(knots, degree, s, t[i], 0, row);
        for (int k = 0; k <= degree; ++k) columns[k * stride + i] = row[k];
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
