// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleQRDecomp.h"

#include <algorithm>

#include "knotwork/factor/kernels/Permutation.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr int kQy = 10000;
constexpr int kQty = 1000;
constexpr int kSolution = 100;
constexpr int kResidual = 10;
constexpr int kFitted = 1;

/// n contiguous elements; the caller's own where they are that already.
DoubleVec compact(const DoubleVec& y, unsigned n)
{
    if (y.length() == n && y.stride() == 1) return y;
    DoubleVec copied(y.copy());
    copied.resize(n);
    return copied;
}

}  // namespace

DoubleQRDecomp::DoubleQRDecomp() : pivoting_(1) {}

DoubleQRDecomp::DoubleQRDecomp(const DoubleGenMat& a) : DoubleQRDecomp()
{
    factor(a);
}

void DoubleQRDecomp::factor(const DoubleGenMat& a)
{
    if (knotwork::completed([&] { factored_.reference(a.copy()); }, [&] { forget(); })) dofactor();
}

void DoubleQRDecomp::dofactor()
{
    knotwork::completed(
        [&] {
            if (pivoting_ != 0) pivots_.resize(factored_.cols());
            qraux_.resize(factored_.cols());
            makeResultsPrivate();
            DoubleVec work(factored_.cols());
            const int n = rows();
            const int p = cols();
            const int job = pivoting_ != 0 ? 1 : 0;
            knotwork::linpack::dqrdc(factored_.data(), &n, &n, &p, qraux_.data(), pivots_.data(),
                                     work.data(), &job);
            pivots_ -= 1;  // without pivoting too, which is intended
        },
        [&] { forget(); });
}

/// Separates what the kernel is about to write from all who share it.
void DoubleQRDecomp::makeResultsPrivate()
{
    factored_.deepenShallowCopy();
    pivots_.deepenShallowCopy();
    qraux_.deepenShallowCopy();
}

/// Of a 0 x 0 matrix from now on, for which no memory is needed.
void DoubleQRDecomp::forget()
{
    factored_.forget();
    pivots_.forget();
    qraux_.forget();
}

int DoubleQRDecomp::doPivoting(int on)
{
    const int before = pivoting_;
    pivoting_ = on;
    return before;
}

int DoubleQRDecomp::rank() const
{
    const int size = std::min(rows(), cols());
    int zeros = 0;
    for (int i = 0; i < size; ++i)
        if (diagonal(i) == 0.0) ++zeros;
    return size - zeros;
}

int DoubleQRDecomp::isSingular() const
{
    const int r = rank();
    return r != rows() && r != cols() ? 1 : 0;
}

void DoubleQRDecomp::checkLength(const DoubleVec& y) const
{
    if (y.length() != factored_.rows()) lxRaise(0x5002, y.length(), factored_.rows());
}

int DoubleQRDecomp::validCount(int k) const
{
    const int most = std::min(rows(), cols());
    return k < 0 || k > most ? most : k;
}

/// One output of dqrsl with n elements; Q^T y, which others are made from, shares its storage.
DoubleVec DoubleQRDecomp::transformed(const DoubleVec& y, int k, int job) const
{
    checkLength(y);
    return knotwork::orEmpty([&] {
        const int n = rows();
        const int count = validCount(k);
        const DoubleVec right(compact(y, factored_.rows()));
        DoubleVec result(factored_.rows());
        double* out = result.data();
        int info = 0;
        knotwork::linpack::dqrsl(factored_.data(), &n, &n, &count, qraux_.data(), right.data(), out,
                                 out, nullptr, out, out, &job, &info);
        return result;
    });
}

DoubleVec DoubleQRDecomp::computeQy(const DoubleVec& y, int k) const
{
    return transformed(y, k, kQy);
}

DoubleVec DoubleQRDecomp::computeQTy(const DoubleVec& y, int k) const
{
    return transformed(y, k, kQty);
}

DoubleVec DoubleQRDecomp::computeResidualVec(const DoubleVec& y, int k) const
{
    return transformed(y, k, kResidual);
}

DoubleVec DoubleQRDecomp::computeXb(const DoubleVec& y, int k) const
{
    return transformed(y, k, kFitted);
}

DoubleVec DoubleQRDecomp::partialSolve(const DoubleVec& y, int k) const
{
    checkLength(y);
    int info = 0;
    DoubleVec solution = knotwork::orEmpty([&] {
        const int n = rows();
        const int count = validCount(k);
        const DoubleVec right(compact(y, factored_.rows()));
        DoubleVec b(static_cast<unsigned>(count), 0.0);
        DoubleVec qty(factored_.rows());
        knotwork::linpack::dqrsl(factored_.data(), &n, &n, &count, qraux_.data(), right.data(),
                                 nullptr, qty.data(), b.data(), nullptr, nullptr, &kSolution,
                                 &info);
        return b;
    });
    if (info != 0) lxRaise(0x5011);
    return solution;
}

DoubleVec DoubleQRDecomp::solve(const DoubleVec& y) const
{
    return knotwork::orEmpty([&] {
        DoubleVec b(partialSolve(y, std::min(rows(), cols())));
        b.resize(factored_.cols());
        return unpermute(b);
    });
}

DoubleVec DoubleQRDecomp::permute(const DoubleVec& x) const
{
    return pivoting_ != 0 ? knotwork::permuted(x, pivots_) : x;
}

DoubleVec DoubleQRDecomp::unpermute(const DoubleVec& x) const
{
    return pivoting_ != 0 ? knotwork::unpermuted(x, pivots_) : x;
}

void DoubleQRDecomp::reference(const DoubleQRDecomp& other)
{
    factored_.reference(other.factored_);
    pivots_.reference(other.pivots_);
    pivoting_ = other.pivoting_;
    qraux_.reference(other.qraux_);
}

void DoubleQRDecomp::deepenShallowCopy()
{
    factored_.deepenShallowCopy();
    pivots_.deepenShallowCopy();
    qraux_.deepenShallowCopy();
}
