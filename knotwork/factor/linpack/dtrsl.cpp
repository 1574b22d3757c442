// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/factor/kernels/Triangles.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;

using Triangle = ColumnMajor<const double>;

int firstZeroOnDiagonal(const Triangle& T, int n)
{
    for (int i = 0; i < n; ++i)
        if (T(i, i) == 0.0) return i + 1;
    return 0;
}

void solveLower(const Triangle& T, int n, double* b)
{
    for (int j = 0; j < n; ++j) {
        b[j] /= T(j, j);
        const double factor = -b[j];
        const int below = n - j - 1;
        daxpy_(&below, &factor, T.at(j, j) + 1, &kStep, b + j + 1, &kStep);
    }
}

void solveLowerTransposed(const Triangle& T, int n, double* b)
{
    for (int j = n - 1; j >= 0; --j) {
        const int below = n - j - 1;
        b[j] = (b[j] - ddot_(&below, T.at(j, j) + 1, &kStep, b + j + 1, &kStep)) / T(j, j);
    }
}

}  // namespace

int dtrsl(const double* t, const int* ldt, const int* n, double* b, const int* job, int* info)
{
    const Triangle T(t, *ldt);
    *info = firstZeroOnDiagonal(T, *n);
    if (*info != 0) return 0;
    const bool upper = *job % 10 != 0;
    const bool transposed = *job / 10 % 10 != 0;
    if (upper && transposed)
        solveUpperTransposed(T, *n, b);
    else if (upper)
        solveUpper(T, *n, b);
    else if (transposed)
        solveLowerTransposed(T, *n, b);
    else
        solveLower(T, *n, b);
    return 0;
}

}  // namespace knotwork::linpack
