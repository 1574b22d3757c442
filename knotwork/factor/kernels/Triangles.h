// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/platform/blas.h"

namespace knotwork {

/// b := the solution x of T x = b, T upper triangular of order n with no zero on its diagonal.
inline void solveUpper(const ColumnMajor<const double>& T, int n, double* b)
{
    constexpr int kStep = 1;
    for (int j = n - 1; j >= 0; --j) {
        b[j] /= T(j, j);
        const double factor = -b[j];
        daxpy_(&j, &factor, T.column(j), &kStep, b, &kStep);
    }
}

/// Likewise T^T x = b.
inline void solveUpperTransposed(const ColumnMajor<const double>& T, int n, double* b)
{
    constexpr int kStep = 1;
    for (int j = 0; j < n; ++j) b[j] = (b[j] - ddot_(&j, T.column(j), &kStep, b, &kStep)) / T(j, j);
}

}  // namespace knotwork
