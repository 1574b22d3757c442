// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleChDecomp.h"

#include <algorithm>

#include "knotwork/factor/kernels/Permutation.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

unsigned lengthOf(const DoubleVec* v)
{
    return v != nullptr ? v->length() : 0;
}

bool isStrided(const DoubleVec* v)
{
    return v != nullptr && v->stride() != 1;
}

/// Whether Z, if there is one, has p rows.
bool fits(const DoubleGenMat* Z, unsigned p)
{
    if (Z == nullptr || Z->rows() == p) return true;
    lxRaise(0x5007, Z->rows(), p);
    return false;
}

/// Whether cosines and sines, where asked for, have the length that is needed.
bool fit(const DoubleVec* c, const DoubleVec* s, unsigned length)
{
    for (const DoubleVec* v : {c, s}) {
        if (v == nullptr || v->length() == length) continue;
        lxRaise(0x5008, v->length(), length);
        return false;
    }
    return true;
}

/// One column of y and of rho for every column of Z.
bool agree(unsigned columns, const DoubleVec* y, const DoubleVec* rho)
{
    // Both messages name rho's length: intended.
    for (const DoubleVec* v : {y, rho}) {
        if (lengthOf(v) == columns) continue;
        lxRaise(0x5009, lengthOf(rho), columns);
        return false;
    }
    return true;
}

/// Z as the kernels want it, without gaps: Z itself, or a copy that is written back at the end.
class Contiguous {
  public:
    explicit Contiguous(DoubleGenMat* Z)
        : target_(Z), copied_(Z != nullptr && Z->dataVec().stride() != 1)
    {
        if (Z != nullptr) columns_.reference(copied_ ? Z->copy() : *Z);
    }
    ~Contiguous()
    {
        if (copied_) *target_ = columns_;
    }
    Contiguous(const Contiguous&) = delete;
    Contiguous& operator=(const Contiguous&) = delete;

    double* data() { return columns_.data(); }
    int count() const { return static_cast<int>(columns_.cols()); }

  private:
    DoubleGenMat* target_;
    DoubleGenMat columns_;
    bool copied_;
};

}  // namespace

DoubleChDecomp::DoubleChDecomp() : info_(-1), pivoting_(1) {}

DoubleChDecomp::DoubleChDecomp(const DoubleGenMat& a) : DoubleChDecomp()
{
    factor(a);
}

// --- factorisation ---

void DoubleChDecomp::factor(const DoubleGenMat& a)
{
    if (knotwork::completed([&] { factor_.reference(a.copy()); }, [&] { forget(); })) dofactor();
}

void DoubleChDecomp::dofactor()
{
    const unsigned rows = factor_.rows();
    const unsigned p = order();
    if (rows < p) {
        forget();
        return lxRaise(0x5010, static_cast<int>(rows), static_cast<int>(p));
    }
    knotwork::completed([&] { runKernel(); }, [&] { forget(); });
}

void DoubleChDecomp::runKernel()
{
    const unsigned p = order();
    factor_.resize(p, p);
    factor_.deepenShallowCopy();
    if (pivoting_ != 0) pivots_.resize(p);
    pivots_.deepenShallowCopy();  // copies of this object keep their own
    DoubleVec work(p);

    const int order = static_cast<int>(p);
    const int job = pivoting_ != 0 ? 1 : 0;
    knotwork::linpack::dchdc(factor_.data(), &order, &order, work.data(), pivots_.data(), &job,
                             &info_);
    pivots_ -= 1;  // also those that an earlier, pivoted factorisation left: intended
}

/// What was set for pivoting goes too.
void DoubleChDecomp::forget()
{
    factor_.forget();
    pivots_.forget();
    info_ = kFailed;
}

int DoubleChDecomp::doPivoting(int on)
{
    const int before = pivoting_;
    pivoting_ = on;
    return before;
}

int DoubleChDecomp::setPivoting(int col, int specifier)
{
    if (specifier < FINAL || specifier > INITIAL) {
        lxRaise(0x5012, specifier);
        return 0;
    }
    if (col < 0) return 0;
    int before = 0;
    knotwork::completed(
        [&] {
            IntVec pivots(pivots_);
            if (pivots.length() <= static_cast<unsigned>(col))
                pivots.resize(static_cast<unsigned>(col) + 1);
            pivots.deepenShallowCopy();
            pivots_.reference(pivots);
            before = pivots_(col);
            pivots_(col) = specifier;
        },
        [] {});
    return before;
}

// --- what came out ---

int DoubleChDecomp::fail() const
{
    if (info_ == kFailed) return 1;
    const int p = static_cast<int>(order());
    for (int i = std::max(info_ - 1, 0); i < p; ++i)
        if (0.0 > factor_(i, i)) return 1;
    return 0;
}

double DoubleChDecomp::condition() const
{
    if (pivoting_ == 0) {
        lxRaise(0x5001);
        return -1.0;
    }
    const int last = static_cast<int>(order()) - 1;
    if (last < 0 || info_ != last) return 0.0;
    const double ratio = factor_(last, last) / factor_(0, 0);
    return ratio * ratio;
}

// --- solutions ---

DoubleVec DoubleChDecomp::partialSolve(const DoubleVec& z, int k) const
{
    DoubleVec x = z.copy();
    if (z.length() != static_cast<unsigned>(k)) {
        lxRaise(0x5002, z.length(), static_cast<unsigned>(k));
        return x;
    }
    if (info_ < k) {
        lxRaise(0x5011);
        return x;
    }
    if (x.length() != z.length()) return x;  // a handler returned: no memory
    const int leading = static_cast<int>(factor_.rows());
    knotwork::linpack::dposl(factor_.data(), &leading, &k, x.data());
    return x;
}

DoubleVec DoubleChDecomp::solve(const DoubleVec& z) const
{
    return knotwork::orEmpty(
        [&] { return unpermute(partialSolve(permute(z), static_cast<int>(order()))); });
}

DoubleVec DoubleChDecomp::permute(const DoubleVec& x) const
{
    return pivoting_ != 0 ? knotwork::permuted(x, pivots_) : x;
}

DoubleVec DoubleChDecomp::unpermute(const DoubleVec& x) const
{
    return pivoting_ != 0 ? knotwork::unpermuted(x, pivots_) : x;
}

// --- rows that come and go, columns that change places ---

/// What the kernels of update and downdate take, checked and made contiguous.
struct DoubleChDecomp::RowChange {
    RowChange(unsigned order, const DoubleVec& x, DoubleGenMat* Z, DoubleVec* c, DoubleVec* s)
        : p(static_cast<int>(order)),
          columns(Z),
          nz(columns.count()),
          scratch(3 * order),
          row(scratch.data()),
          cosines(c != nullptr ? c->data() : row + order),
          sines(s != nullptr ? s->data() : row + 2 * std::size_t{order})
    {
        for (int i = 0; i < p; ++i) row[i] = static_cast<unsigned>(i) < x.length() ? x(i) : 0.0;
    }

    static bool accepts(unsigned order, const DoubleGenMat* Z, const DoubleVec* y,
                        const DoubleVec* rho, const DoubleVec* c, const DoubleVec* s)
    {
        if (!fits(Z, order) || !fit(c, s, order)) return false;
        if (isStrided(y) || isStrided(rho) || isStrided(c) || isStrided(s)) {
            lxRaise(0x500C);
            return false;
        }
        return agree(Z != nullptr ? Z->cols() : 0, y, rho);
    }

    int p;
    Contiguous columns;
    int nz;
    DoubleVec scratch;
    double* row;
    double* cosines;
    double* sines;
};

void DoubleChDecomp::update(const DoubleVec& x, DoubleGenMat* Z, const DoubleVec* y, DoubleVec* rho,
                            DoubleVec* c, DoubleVec* s)
{
    if (!RowChange::accepts(order(), Z, y, rho, c, s)) return;
    const auto run = [&] {
        RowChange change(order(), x, Z, c, s);
        knotwork::linpack::dchud(
            factor_.data(), &change.p, &change.p, change.row, change.columns.data(), &change.p,
            &change.nz, y != nullptr ? y->data() : nullptr, rho != nullptr ? rho->data() : nullptr,
            change.cosines, change.sines);
    };
    knotwork::completed(run, [] {});
}

int DoubleChDecomp::downdate(const DoubleVec& x, DoubleGenMat* Z, const DoubleVec* y,
                             DoubleVec* rho, DoubleVec* c, DoubleVec* s)
{
    if (!RowChange::accepts(order(), Z, y, rho, c, s)) return -1;
    int info = -1;
    const auto run = [&] {
        RowChange change(order(), x, Z, c, s);
        knotwork::linpack::dchdd(
            factor_.data(), &change.p, &change.p, change.row, change.columns.data(), &change.p,
            &change.nz, y != nullptr ? y->data() : nullptr, rho != nullptr ? rho->data() : nullptr,
            change.cosines, change.sines, &info);
    };
    knotwork::completed(run, [] {});
    return info;
}

void DoubleChDecomp::shift(int first, int last, int direction, DoubleGenMat* Z, DoubleVec* c,
                           DoubleVec* s)
{
    const int p = static_cast<int>(order());
    if (direction != 0 && direction != 1) return lxRaise(0x5005);
    // The kernel counts columns from 1, so that there is none with number 0.
    if (!(0 < first && first < last && last < p)) return lxRaise(0x5006, first, last);
    const auto rotations = static_cast<unsigned>(last - first);
    if (!fits(Z, order()) || !fit(c, s, rotations)) return;

    const auto run = [&] {
        // The sines' array is scratch for more than the sines, so that the caller's would not do.
        DoubleVec scratch(2 * order());
        double* cosines = scratch.data();
        double* sines = cosines + p;
        Contiguous columns(Z);
        const int nz = columns.count();
        const int job = direction == 1 ? 1 : 2;
        knotwork::linpack::dchex(factor_.data(), &p, &p, &first, &last, columns.data(), &p, &nz,
                                 cosines, sines, &job);
        for (int i = 0; i < last - first; ++i) {
            if (c != nullptr) (*c)(i) = cosines[i];
            if (s != nullptr) (*s)(i) = sines[i];
        }
    };
    knotwork::completed(run, [] {});
}
