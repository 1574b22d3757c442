// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/factor/kernels/Pack.h"
#include "knotwork/factor/kernels/Triangles.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/detail/MatrixProduct.h"
#include "knotwork/platform/blas.h"
#include "knotwork/platform/cpu.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;
constexpr int kBlock = 64;   // rows of R that the remaining rows of A take at once
constexpr int kTile = 64;    // columns of such a block that are laid out together
constexpr int kCorner = 16;  // rows and columns on the diagonal that are computed as a square

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
    double most = f.diagonal[k];
    for (int j = k + 1; j < free.end; ++j) {
        if (!(f.diagonal[j] > most)) continue;
        most = f.diagonal[j];
        largest = j;
    }
    if (largest == k) return;
    exchange(f, k, largest);
    std::swap(f.diagonal[k], f.diagonal[largest]);
    std::swap(jpvt[k], jpvt[largest]);
}

/// Row k of R, from the row of A less what rows [begin, k) of R contribute to it.
struct RowKernel {
    template <int Count>
    [[gnu::always_inline]] static inline void finish(const Cholesky& f, int begin, int k, int j)
    {
        double products[Count];
        dots<Count>(k - begin, f.A.at(begin, k), f.A.at(begin, j), f.leading, products);
        for (int c = 0; c < Count; ++c) {
            double& r = f.A(k, j + c);
            r = (r - products[c]) / f.A(k, k);
            f.diagonal[j + c] -= r * r;
        }
    }
    [[gnu::always_inline]] void operator()(const Cholesky& f, int begin, int k) const
    {
        f.A(k, k) = std::sqrt(f.diagonal[k]);
        int j = k + 1;
        for (; j + 4 <= f.p; j += 4) finish<4>(f, begin, k, j);
        for (; j < f.p; ++j) finish<1>(f, begin, k, j);
    }
};

/// Subtracts from what remains of A's rows and columns [first, end) what depth rows of R, from
/// `begin` on, contribute to them; tile has these columns of R, transposed and negated.
void updateCorner(const Cholesky& f, const double* tile, int begin, int depth, int first, int end)
{
    const int count = end - first;
    if (count > kCorner) {
        const int middle = first + (count + kCorner) / (2 * kCorner) * kCorner;
        const auto right = columnMajor(f.A.at(begin, middle), f.leading, depth, end - middle);
        updateCorner(f, tile, begin, depth, first, middle);
        addProduct(columnMajor(tile, kTile, middle - first, depth), right, f.A.at(first, middle),
                   f.leading);
        return updateCorner(f, tile + (middle - first), begin, depth, middle, end);
    }
    double square[kCorner * kCorner] = {};  // only its upper triangle counts
    for (int j = 1; j < count; ++j) std::copy_n(f.A.at(first, first + j), j, square + j * kCorner);
    addProduct(columnMajor(tile, kTile, count, depth),
               columnMajor(f.A.at(begin, first), f.leading, depth, count), square, kCorner);
    for (int j = 1; j < count; ++j) std::copy_n(square + j * kCorner, j, f.A.at(first, first + j));
}

/// Subtracts from the remaining rows [end, p) of A what rows [begin, end) of R contribute.
void updateRemainder(const Cholesky& f, int begin, int end)
{
    const int depth = end - begin;
    double tile[kBlock * kTile];
    for (int first = end; first < f.p; first += kTile) {
        const int behind = std::min(first + kTile, f.p);
        for (int j = first; j < behind; ++j)
            for (int k = begin; k < end; ++k) tile[(k - begin) * kTile + (j - first)] = -f.A(k, j);
        updateCorner(f, tile, begin, depth, first, behind);
        if (behind == f.p) break;
        addProduct(columnMajor(tile, kTile, behind - first, depth),
                   columnMajor(f.A.at(begin, behind), f.leading, depth, f.p - behind),
                   f.A.at(first, behind), f.leading);
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
            runKernel<CpuLevel::kVectors256>(RowKernel(), f, begin, k);
        }
        updateRemainder(f, begin, k);
    }
    *info = k;
    return 0;
}

int dposl(const double* a, const int* lda, const int* n, double* b)
{
    const ColumnMajor<const double> R(a, *lda);
    solveUpperTransposed(R, *n, b);
    solveUpper(R, *n, b);
    return 0;
}

}  // namespace knotwork::linpack
