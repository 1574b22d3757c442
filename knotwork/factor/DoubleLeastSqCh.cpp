// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleLeastSqCh.h"

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

void DoubleLeastSqCh::factor(const DoubleGenMat& x)
{
    knotwork::completed(
        [&] {
            const DoubleGenMat normal(transposeProduct(x, x));
            data_.reference(x.copy());
            DoubleChDecomp::factor(normal);
        },
        [&] { forget(); });
}

double DoubleLeastSqCh::setTolerance(double t)
{
    const double before = tolerance_;
    tolerance_ = t;
    return before;
}

unsigned DoubleLeastSqCh::numFreeCols() const
{
    const int p = static_cast<int>(factor_.cols());
    int i = info_ - 1;
    if (i < 0) return static_cast<unsigned>(p - info_);
    while (i >= 0 && tolerance_ >= factor_(i, i)) --i;
    return static_cast<unsigned>(p - (i + 1));
}

bool DoubleLeastSqCh::accepts(const DoubleVec& y) const
{
    if (y.length() == data_.rows()) return true;
    lxRaise(0x5002, y.length(), data_.rows());
    return false;
}

DoubleVec DoubleLeastSqCh::solve(const DoubleVec& y) const
{
    const unsigned p = factor_.cols();
    if (p == 0 || !accepts(y)) return DoubleVec();
    return knotwork::orEmpty([&] {
        const DoubleVec z = product(y, data_);
        const unsigned determined = p - numFreeCols();
        if (determined == p) return DoubleChDecomp::solve(z);
        DoubleVec b =
            partialSolve(permute(z).slice(0, determined, 1), static_cast<int>(determined));
        b.resize(p);
        return unpermute(b);
    });
}

DoubleVec DoubleLeastSqCh::residual(const DoubleVec& y) const
{
    if (factor_.cols() > 0 && !accepts(y)) return DoubleVec();
    return knotwork::orEmpty([&] { return y - product(data_, solve(y)); });
}
