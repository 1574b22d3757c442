// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/fit/DoubleDouble.h"

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

/// What a solution leaves of the samples of a run, in doubled precision, basis functions included.
struct ExactRun {
    const double* knots;  ///< of the basis, from the span's own on
    int degree;
    int count;
    const double* t;
    int dimension;
    const double* points;   ///< a column a coordinate, kRunRows numbers from one to the next
    const double* weights;  ///< 0 up to the next multiple of four behind the samples
    const DoubleDouble* x;  ///< number j * dimension + k: coordinate k of function j's unknown
    double* left;           ///< residuals, as the points lie
    DoubleDouble* sums;     ///< as x: functions times weighted residuals are added
};
void sumExactRun(const ExactRun& run);

}  // namespace knotwork
