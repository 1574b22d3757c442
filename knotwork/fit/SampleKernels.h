// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// At most so many samples of one span are worked on together. They lie in columns, `stride`
/// numbers from one to the next; a column is worked on up to the next multiple of four.
constexpr int kRunRows = 128;

constexpr std::ptrdiff_t paddedRows(int count)
{
    return (std::ptrdiff_t{count} + 3) / 4 * 4;
}

/// The degree + 1 basis functions of span s at `count` parameters, a column each.
/// Bits      those of basisRow().
void basisColumns(const double* knots, int degree, int s, const double* t, int count,
                  double* columns, std::ptrdiff_t stride);

/// r := b - sum of x[k * step] column k, for `width` columns.
void runResiduals(int count, int width, const double* columns, std::ptrdiff_t stride,
                  const double* x, std::ptrdiff_t step, const double* b, double* r);

/// sums[k] = column k . v, for `width` columns; in eight lanes, added up pairwise.
void runProducts(int count, int width, const double* columns, std::ptrdiff_t stride,
                 const double* v, double* sums);

}  // namespace knotwork
