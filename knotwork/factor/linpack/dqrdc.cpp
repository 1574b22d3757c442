// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/factor/kernels/PanelLoops.h"
#include "knotwork/factor/kernels/Reflection.h"
#include "knotwork/factor/kernels/ReflectionBlock.h"
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

/// A reflection I - tau w w^T is published as I - v v^T / tau: v = tau w, and tau in qraux.
void publish(const Factorisation& f, int first, int count)
{
    for (int l = first; l < first + count; ++l) {
        double* v = f.X.at(l, l);
        for (int i = 1; i < f.n - l; ++i) v[i] *= f.qraux[l];
    }
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

void reduceInOrder(const Factorisation& f, int first, int end)
{
    reduceInBlocks(f.panelFrom(first, first), end - first, f.qraux + first,
                   [&](int at, int count) { publish(f, first + at, count); });
}

// --- free columns, by largest remaining norm ---

/// The free columns of a factorisation. qraux holds the norms of what is left of them, work their
/// norms when these were last computed and not derived. Reflections are not applied at once: a step
/// needs but the products with its own and the row that becomes R's, so it reads the matrix and
/// leaves it, and the columns take several reflections w_k together, X += W F.
class Pivoting {
  public:
    Pivoting(const Factorisation& f, double* work)
        : f_(f), work_(work), most_(std::clamp(kRoom / f.p - 1, 0, kMostTogether))
    {
        if (std::int64_t{f.n} * f.p <= kSmall) most_ = 0;
    }

    void reduce(int first, int end)
    {
        const int last = std::min(end, std::min(f_.n, f_.p));
        freeEnd_ = end;
        first_ = first;
        for (int j = first; j < end; ++j) measure(j, first);
        for (int l = first; l < last; ++l) {
            bringLargestTo(l);
            step(l);
            if (anyLost_ || l + 1 == last || l + 1 - first_ >= most_) applyPending(l + 1);
        }
    }

  private:
    static constexpr int kMostTogether = 31;
    static constexpr int kSmall = 1 << 14;  // numbers that are as soon written as read
    static constexpr double kLost = -1.0;
    static constexpr int kRoom = 1 << 14;  // numbers of F; more columns wait for fewer reflections

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
        for (int k = 0; k < l - first_; ++k) std::swap(*F(k, l), *F(k, pivot));
    }

    void step(int l)
    {
        double* w = f_.X.at(l, l);
        for (int k = 0; k < l - first_; ++k) {
            const int count = f_.n - l;
            daxpy_(&count, F(k, l), f_.X.at(l, first_ + k), &kStep, w, &kStep);
        }
        const Reflection reflection =
            l == f_.n - 1 ? Reflection{w[0], 0.0, 0.0} : makeReflection(f_.n - l, w);
        f_.qraux[l] = reflection.tau;
        if (most_ > 0) {
            defer(l);
        } else {
            if (reflection.tau != 0.0)
                reflectColumns(w, reflection.tau,
                               {f_.X.at(l, l + 1), f_.X.leading(), f_.n - l, f_.p - l - 1});
            for (int j = l + 1; j < freeEnd_; ++j) downdate(j, f_.X(l, j));
        }
        w[0] = reflection.sigma;
    }

    /// Finds what reflection l adds to the columns behind it, and completes row l of R.
    void defer(int l)
    {
        const int pending = l - first_;
        const int behind = f_.p - l - 1;
        const double tau = f_.qraux[l];
        double* w = f_.X.at(l, l);
        double* added = F(pending, l + 1);
        double products[kMostTogether];
        dotColumns({f_.X.at(l, first_), f_.X.leading(), f_.n - l, pending}, w, products);
        dotColumns({f_.X.at(l, l + 1), f_.X.leading(), f_.n - l, behind}, w, added);
        addCombination({F(0, l + 1), f_.p, behind, pending}, products, added);
        for (int j = 0; j < behind; ++j)
            added[j] = tau != 0.0 ? -tau * added[j] : 0.0;  // no 0 times infinity

        double* row = F(most_, l + 1);
        double entries[kMostTogether];
        for (int k = 0; k < pending; ++k) entries[k] = f_.X(l, first_ + k);
        entries[pending] = 1.0;
        for (int j = 0; j < behind; ++j) row[j] = f_.X(l, l + 1 + j);
        addCombination({F(0, l + 1), f_.p, behind, pending + 1}, entries, row);
        for (int j = 0; j < behind; ++j) f_.X(l, l + 1 + j) = row[j];
        for (int j = l + 1; j < freeEnd_; ++j) downdate(j, row[j - l - 1]);
    }

    /// Columns take the pending reflections, from row and column `end` on.
    void applyPending(int end)
    {
        const Panel rest = f_.panelFrom(end, end);
        const auto rows = static_cast<unsigned>(rest.rows);
        const auto cols = static_cast<unsigned>(rest.cols);
        const auto count = static_cast<unsigned>(end - first_);
        if (most_ > 0)
            addProduct<double>({f_.X.at(end, first_), 1, f_.X.leading(), rows, count},
                               {F(0, end), f_.p, 1, count, cols}, rest.corner, rest.leading);
        publish(f_, first_, end - first_);
        first_ = end;
        for (int j = end; anyLost_ && j < freeEnd_; ++j)
            if (work_[j] == kLost) measure(j, end);
        anyLost_ = false;
    }

    /// Takes an entry of R out of a column's norm; one that has lost its digits is computed anew.
    void downdate(int j, double entry)
    {
        double& norm = f_.qraux[j];
        if (norm == 0.0) return;
        const double share = std::fabs(entry) / norm;
        const double left = std::max(0.0, 1.0 - share * share);
        const double sinceMeasured = norm / work_[j];
        if (1.0 + 0.05 * left * sinceMeasured * sinceMeasured != 1.0) {
            norm *= std::sqrt(left);
        } else {
            work_[j] = kLost;
            anyLost_ = true;
        }
    }

    /// A row for each pending reflection, and one more for scratch.
    double* F(int k, int j) { return factors_ + (std::ptrdiff_t{f_.p} * k + j); }

    const Factorisation& f_;
    double* work_;
    int most_;  // reflections that may wait; 0 where not even one finds room, or need not
    int freeEnd_ = 0;
    int first_ = 0;  // of those that wait
    bool anyLost_ = false;
    double factors_[kRoom];
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
