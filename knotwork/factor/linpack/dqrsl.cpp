// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;  // increment of every BLAS call: all vectors are columns

/// The first `count` reflections of a factorisation; those beyond the first n - 1 are none.
struct Reflections {
    ColumnMajor<const double> X;
    const double* qraux;
    int n;
    int count;
};

/// y = H(j) y; the first element of v stands in qraux, where the matrix has R's diagonal.
void reflect(const Reflections& H, int j, double* y)
{
    const double head = H.qraux[j];
    if (head == 0.0) return;
    const int below = H.n - j - 1;
    const double* v = H.X.at(j, j) + 1;
    const double dot = head * y[j] + ddot_(&below, v, &kStep, y + j + 1, &kStep);
    const double factor = -dot / head;
    y[j] += factor * head;
    daxpy_(&below, &factor, v, &kStep, y + j + 1, &kStep);
}

void multiplyByQ(const Reflections& H, double* y)
{
    for (int j = H.count - 1; j >= 0; --j) reflect(H, j, y);
}

void multiplyByQTransposed(const Reflections& H, double* y)
{
    for (int j = 0; j < H.count; ++j) reflect(H, j, y);
}

/// Results share arrays.
void copy(int n, const double* from, double* to)
{
    if (n > 0 && from != to) std::memmove(to, from, sizeof(double) * static_cast<std::size_t>(n));
}

/// R_k b = b; the 1-based index of a zero on the diagonal, where it stops, or 0.
int solveTriangle(const ColumnMajor<const double>& R, int k, double* b)
{
    for (int j = k - 1; j >= 0; --j) {
        if (R(j, j) == 0.0) return j + 1;
        b[j] /= R(j, j);
        const double factor = -b[j];
        daxpy_(&j, &factor, R.column(j), &kStep, b, &kStep);
    }
    return 0;
}

}  // namespace

int dqrsl(const double* x, const int* ldx, const int* n, const int* k, const double* qraux,
          const double* y, double* qy, double* qty, double* b, double* rsd, double* xb,
          const int* job, int* info)
{
    *info = 0;
    if (*n < 1) return 0;
    const bool wantsQy = *job / 10000 != 0;
    const bool wantsQty = *job % 10000 != 0;
    const bool wantsSolution = *job / 100 % 10 != 0;
    const bool wantsResidual = *job / 10 % 10 != 0;
    const bool wantsFitted = *job % 10 != 0;
    const Reflections H = {{x, *ldx}, qraux, *n, std::min(*k, *n - 1)};

    if (wantsQy) copy(*n, y, qy);
    if (wantsQty) copy(*n, y, qty);
    if (wantsQy) multiplyByQ(H, qy);
    if (wantsQty) multiplyByQTransposed(H, qty);

    if (wantsSolution) copy(*k, qty, b);
    if (wantsFitted) copy(*k, qty, xb);
    if (wantsResidual) copy(*n - *k, qty + *k, rsd + *k);
    if (wantsFitted) std::fill(xb + *k, xb + *n, 0.0);
    if (wantsResidual) std::fill(rsd, rsd + *k, 0.0);
    if (wantsSolution) *info = solveTriangle(H.X, *k, b);
    if (wantsResidual) multiplyByQ(H, rsd);
    if (wantsFitted) multiplyByQ(H, xb);
    return 0;
}

}  // namespace knotwork::linpack
