// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/PanelKernels.h"
#include "knotwork/factor/detail/ColumnMajor.h"
#include "knotwork/factor/detail/PanelLoops.h"
#include "knotwork/factor/detail/Reflection.h"
#include "knotwork/factor/detail/ReflectionKernels.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;  // increment of every BLAS call: all vectors are columns

struct Factorisation {
    ColumnMajor<double> X;
    int n;
    int p;
    double* qraux;
    int* jpvt;

    Panel panelFrom(int row, int col) const
    {
        return {X.at(row, col), X.leading(), n - row, p - col};
    }
    void exchange(int j, int k) const
    {
        dswap_(&n, X.column(j), &kStep, X.column(k), &kStep);
        std::swap(jpvt[j], jpvt[k]);
    }
};

/// Turns column l, from the diagonal down, into the vector of its reflection and returns what the
/// diagonal becomes; 0.0 when there is no reflection, nor need for one: zeros, or the last row.
double makeDiagonal(const Factorisation& f, int l)
{
    return l == f.n - 1 ? 0.0 : makeReflection(f.n - l, f.X.at(l, l));
}

// --- specifiers ---

struct FreeColumns {
    int first;
    int end;
};

/// Initial columns to the front, in their order, final ones to the back; jpvt becomes the
/// permutation.
FreeColumns arrange(const Factorisation& f)
{
    FreeColumns range = {0, f.p};
    for (int j = 0; j < f.p; ++j) {
        const int specifier = f.jpvt[j];
        f.jpvt[j] = specifier < 0 ? -(j + 1) : j + 1;
        if (specifier <= 0) continue;
        if (j != range.first) f.exchange(j, range.first);
        ++range.first;
    }
    for (int j = f.p - 1; j >= 0; --j) {
        if (f.jpvt[j] >= 0) continue;
        f.jpvt[j] = -f.jpvt[j];
        --range.end;
        if (j != range.end) f.exchange(j, range.end);
    }
    return range;
}

// --- columns in the order they have ---

/// Reflects the columns of a block one after the other, each by those before it.
void reduceColumns(const Factorisation& f, int first, int count)
{
    for (int l = first; l < first + count; ++l) {
        f.qraux[l] = 0.0;
        double* v = f.X.at(l, l);
        const double diagonal = makeDiagonal(f, l);
        if (diagonal == 0.0) continue;
        const int behind = first + count - l - 1;
        if (behind > 0) reflectColumns(v, {f.X.at(l, l + 1), f.X.leading(), f.n - l, behind});
        f.qraux[l] = v[0];
        v[0] = diagonal;
    }
}

/// T(r, r) = 1 / v_r(r), above it -T (V^T v_r) / v_r(r): the next reflection multiplied in.
ReflectionBlock gather(const Factorisation& f, int first, int count)
{
    ReflectionBlock b;
    b.count = count;
    b.below = f.X.at(first, first) + count;
    b.leading = f.X.leading();
    b.rowsBelow = f.n - first - count;
    for (int r = 0; r < count; ++r) {
        const double head = f.qraux[first + r];
        for (int i = 0; i < count; ++i)
            b.top[r][i] = i > r && head != 0.0 ? f.X(first + i, first + r) : 0.0;
        b.top[r][r] = head;
        b.T[r][r] = head != 0.0 ? 1.0 / head : 0.0;
        double products[ReflectionBlock::kMost];
        for (int q = 0; q < r; ++q) {
            products[q] = ddot_(&b.rowsBelow, b.below + q * b.leading, &kStep,
                                b.below + r * b.leading, &kStep);
            for (int i = r; i < count; ++i) products[q] += b.top[q][i] * b.top[r][i];
        }
        for (int i = 0; i < r; ++i) {
            double sum = 0.0;
            for (int q = i; q < r; ++q) sum += b.T[q][i] * products[q];
            b.T[r][i] = -b.T[r][r] * sum;
        }
    }
    return b;
}

/// Columns first .. end - 1, a block at a time: all columns behind take the block in one pass.
void reduceInOrder(const Factorisation& f, int first, int end)
{
    for (int l = first; l < end; l += ReflectionBlock::kMost) {
        const int count = std::min(ReflectionBlock::kMost, end - l);
        reduceColumns(f, l, count);
        if (l + count < f.p) reflectByBlock(gather(f, l, count), f.panelFrom(l, l + count));
    }
}

// --- free columns, by largest remaining norm ---

/// The free columns of a factorisation. qraux holds the norms of what is left of them, work their
/// norms when these were last computed and not derived. A reflection is not applied at once: a step
/// needs but the products with it and the row that becomes R's, so the columns take it together
/// with the products of the next step, in one pass over the matrix in place of two.
class Pivoting {
  public:
    Pivoting(const Factorisation& f, double* work) : f_(f), work_(work), pending_(kNone) {}

    void reduce(int first, int end)
    {
        const int last = std::min(end, std::min(f_.n, f_.p));
        freeEnd_ = end;
        for (int j = first; j < end; ++j) measure(j, first);
        for (int l = first; l < last; ++l) {
            bringLargestTo(l);
            step(l);
        }
        applyPending(last, f_.p, last);
    }

  private:
    static constexpr int kNone = -1;
    static constexpr int kMostDeferred = 4096;  // columns whose factors find room on the stack

    void measure(int j, int row)
    {
        const int count = f_.n - row;
        f_.qraux[j] = count > 0 ? dnrm2_(&count, f_.X.at(row, j), &kStep) : 0.0;
        work_[j] = f_.qraux[j];
    }

    void bringLargestTo(int l)
    {
        double largest = 0.0;
        int pivot = l;
        for (int j = l; j < freeEnd_; ++j) {
            if (!(f_.qraux[j] > largest)) continue;
            largest = f_.qraux[j];
            pivot = j;
        }
        if (pivot == l) return;
        f_.exchange(l, pivot);
        f_.qraux[pivot] = f_.qraux[l];
        work_[pivot] = work_[l];
        if (pending_ != kNone) std::swap(factors_[pivot], factors_[l]);
    }

    void step(int l)
    {
        applyPending(l, l + 1, l);
        f_.qraux[l] = 0.0;
        double* v = f_.X.at(l, l);
        const double diagonal = makeDiagonal(f_, l);
        if (diagonal == 0.0) {
            applyPending(l + 1, f_.p, l);
            pending_ = kNone;
            return;
        }
        for (int j = l + 1; j < f_.p; j += kPanel) reflect(l, j, std::min(kPanel, f_.p - j));
        pending_ = deferring() ? l : kNone;
        for (int j = l + 1; j < freeEnd_; ++j) downdate(l, j);
        f_.qraux[l] = v[0];
        v[0] = diagonal;
    }

    bool deferring() const { return f_.p <= kMostDeferred; }

    /// Finds what reflection l adds to columns j .. j + count - 1 and completes row l of R.
    void reflect(int l, int j, int count)
    {
        const double* v = f_.X.at(l, l);
        double* columns[kPanel] = {};
        for (int c = 0; c < count; ++c) columns[c] = f_.X.at(l, j + c);
        double factors[kPanel];
        if (pending_ != kNone)
            updateAndDot(f_.n - l, f_.X.at(l, pending_), factors_ + j, v, columns, count, factors);
        else
            panelDot(RowRange{0, f_.n - l}, v, columns, count, factors);
        for (int c = 0; c < count; ++c) {
            factors[c] = -factors[c] / v[0];
            columns[c][0] += factors[c] * v[0];
        }
        if (deferring())
            std::copy(factors, factors + count, factors_ + j);
        else
            panelUpdate(RowRange{1, f_.n - l}, v, columns, count, factors);
    }

    /// Columns first .. end - 1 take the pending reflection, from `row` on.
    void applyPending(int first, int end, int row)
    {
        if (pending_ == kNone) return;
        const int count = f_.n - row;
        for (int j = first; j < end; ++j)
            daxpy_(&count, &factors_[j], f_.X.at(row, pending_), &kStep, f_.X.at(row, j), &kStep);
    }

    /// Takes R(l, j) out of a column's norm; one that has lost its digits is computed anew.
    void downdate(int l, int j)
    {
        double& norm = f_.qraux[j];
        if (norm == 0.0) return;
        const double share = std::fabs(f_.X(l, j)) / norm;
        const double left = std::max(0.0, 1.0 - share * share);
        const double sinceMeasured = norm / work_[j];
        if (1.0 + 0.05 * left * sinceMeasured * sinceMeasured != 1.0) {
            norm *= std::sqrt(left);
            return;
        }
        applyPending(j, j + 1, l + 1);
        if (pending_ != kNone) factors_[j] = 0.0;
        measure(j, l + 1);
    }

    const Factorisation& f_;
    double* work_;
    int freeEnd_ = 0;
    int pending_;                    // column of a reflection that others have still to take
    double factors_[kMostDeferred];  // what of it, by column
};

}  // namespace

int dqrdc(double* x, const int* ldx, const int* n, const int* p, double* qraux, int* jpvt,
          double* work, const int* job)
{
    const Factorisation f = {{x, *ldx}, *n, *p, qraux, jpvt};
    const int steps = std::min(*n, *p);
    const FreeColumns byNorm = *job != 0 ? arrange(f) : FreeColumns{steps, steps};
    reduceInOrder(f, 0, std::min(byNorm.first, steps));
    if (byNorm.first < std::min(byNorm.end, steps))
        Pivoting(f, work).reduce(byNorm.first, byNorm.end);
    reduceInOrder(f, byNorm.end, steps);
    return 0;
}

}  // namespace knotwork::linpack
