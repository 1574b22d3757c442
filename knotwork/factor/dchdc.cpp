// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/PanelKernels.h"
#include "knotwork/factor/detail/ColumnMajor.h"
#include "knotwork/factor/detail/RankUpdate.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;
constexpr int kBlock = kRankMost;  // rows of R that the remaining rows of A take at once
constexpr int kTile = 32;          // columns of such a block that are laid out together

/// The matrix on its way: rows of R above, below them what remains of A. All in the upper triangle.
struct Cholesky {
    ColumnMajor<double> A;
    int leading;
    int p;
    double* diagonal;  // of what remains, kept up to date after every row
};

/// Exchanges rows and columns a < b of the symmetric matrix whose upper triangle is A.
void exchange(const Cholesky& f, int a, int b)
{
    const ColumnMajor<double>& A = f.A;
    const int between = b - a - 1;
    const int behind = f.p - b - 1;
    dswap_(&a, A.column(a), &kStep, A.column(b), &kStep);
    std::swap(A(a, a), A(b, b));
    if (between > 0) dswap_(&between, A.at(a, a + 1), &f.leading, A.at(a + 1, b), &kStep);
    if (behind > 0) dswap_(&behind, A.at(a, b + 1), &f.leading, A.at(b, b + 1), &f.leading);
}

/// Columns free to be pivots: [begin, end).
struct Free {
    int begin;
    int end;
};

/// Moves initial columns to the front and final ones to the back; jpvt, which held the specifiers,
/// then holds the permutation.
Free arrange(const Cholesky& f, int* jpvt)
{
    Free free = {0, f.p};
    for (int k = 0; k < f.p; ++k) {
        const int specifier = jpvt[k];
        jpvt[k] = specifier < 0 ? -(k + 1) : k + 1;
        if (specifier <= 0) continue;
        if (k != free.begin) {
            exchange(f, free.begin, k);
            std::swap(jpvt[k], jpvt[free.begin]);
        }
        ++free.begin;
    }
    for (int k = f.p - 1; k >= free.begin; --k) {
        if (jpvt[k] > 0) continue;
        jpvt[k] = -jpvt[k];
        --free.end;
        if (k == free.end) continue;
        exchange(f, k, free.end);
        std::swap(jpvt[k], jpvt[free.end]);
    }
    return free;
}

/// Brings the largest remaining diagonal element of the free columns to k, if k is one of them.
void choosePivot(const Cholesky& f, Free free, int k, int* jpvt)
{
    if (k < free.begin || k >= free.end) return;
    int largest = k;
    for (int j = k + 1; j < free.end; ++j)
        if (f.diagonal[j] > f.diagonal[largest]) largest = j;
    if (largest == k) return;
    exchange(f, k, largest);
    std::swap(f.diagonal[k], f.diagonal[largest]);
    std::swap(jpvt[k], jpvt[largest]);
}

/// Row k of R, from the row of A less what rows [begin, k) of R contribute to it.
void finishRow(const Cholesky& f, int begin, int k)
{
    const double root = std::sqrt(f.diagonal[k]);
    f.A(k, k) = root;
    const RowRange above = {begin, k};
    for (int j = k + 1; j < f.p; j += kPanel) {
        const int count = std::min(kPanel, f.p - j);
        double* columns[kPanel] = {};
        double products[kPanel] = {};
        for (int c = 0; c < count; ++c) columns[c] = f.A.column(j + c);
        panelDot(above, f.A.column(k), columns, count, products);
        for (int c = 0; c < count; ++c) {
            double& r = columns[c][k];
            r = (r - products[c]) / root;
            f.diagonal[j + c] -= r * r;
        }
    }
}

/// Column j, from row `first` to the diagonal, less what the tile's rows of R contribute.
void updateToDiagonal(const Cholesky& f, const double* tile, int begin, int end, int first, int j)
{
    const double* columns[kPanel] = {};
    for (int k = begin; k < end; k += kPanel) {
        const int count = std::min(kPanel, end - k);
        for (int c = 0; c < count; ++c) columns[c] = tile + (k + c - begin) * kTile;
        panelCombine(RowRange{0, j - first}, f.A.at(first, j), columns, count, f.A.at(k, j));
    }
}

/// Subtracts from the remaining rows [end, p) of A what rows [begin, end) of R contribute.
void updateRemainder(const Cholesky& f, int begin, int end)
{
    double tile[kBlock * kTile];  // some columns of those rows, transposed and negated
    const std::ptrdiff_t leading = f.A.leading();
    for (int first = end; first < f.p; first += kTile) {
        const int behind = std::min(first + kTile, f.p);
        for (int j = first; j < behind; ++j)
            for (int k = begin; k < end; ++k) tile[(k - begin) * kTile + (j - first)] = -f.A(k, j);
        for (int j = first + 1; j < behind; ++j) updateToDiagonal(f, tile, begin, end, first, j);
        if (behind < f.p)
            rankUpdate({tile, kTile, f.A.at(begin, behind), leading, f.A.at(first, behind), leading,
                        behind - first, f.p - behind, end - begin});
    }
    for (int j = end; j < f.p; ++j) f.A(j, j) = f.diagonal[j];
}

}  // namespace

int dchdc(double* a, const int* lda, const int* p, double* work, int* jpvt, const int* job,
          int* info)
{
    const Cholesky f = {{a, *lda}, *lda, *p, work};
    const Free free = *job != 0 ? arrange(f, jpvt) : Free{0, 0};
    for (int j = 0; j < f.p; ++j) f.diagonal[j] = f.A(j, j);
    int k = 0;
    bool positive = true;
    while (k < f.p && positive) {
        const int begin = k;
        for (const int end = std::min(begin + kBlock, f.p); k < end; ++k) {
            choosePivot(f, free, k, jpvt);
            positive = f.diagonal[k] > 0.0;  // false for NaN
            if (!positive) break;
            finishRow(f, begin, k);
        }
        updateRemainder(f, begin, k);
    }
    *info = k;
    return 0;
}

int dposl(const double* a, const int* lda, const int* n, double* b)
{
    const ColumnMajor<const double> R(a, *lda);
    for (int k = 0; k < *n; ++k)
        b[k] = (b[k] - ddot_(&k, R.column(k), &kStep, b, &kStep)) / R(k, k);
    for (int k = *n - 1; k >= 0; --k) {
        b[k] /= R(k, k);
        const double factor = -b[k];
        daxpy_(&k, &factor, R.column(k), &kStep, b, &kStep);
    }
    return 0;
}

}  // namespace knotwork::linpack
