// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleLeastSqQR.h"

#include <algorithm>
#include <cmath>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

void DoubleLeastSqQR::factor(const DoubleGenMat& a)
{
    DoubleQRDecomp::factor(a);
    tolerance_ = 0.0;
}

double DoubleLeastSqQR::setTolerance(double t)
{
    const double before = tolerance_;
    tolerance_ = t;
    return before;
}

unsigned DoubleLeastSqQR::numFreeCols() const
{
    unsigned count = static_cast<unsigned>(std::max(0, cols() - rows()));
    for (int i = std::min(rows(), cols()) - 1; i >= 0; --i, ++count)
        if (!(tolerance_ >= std::fabs(diagonal(i)))) break;  // a NaN stops it too
    return count;
}

DoubleVec DoubleLeastSqQR::solve(const DoubleVec& y) const
{
    checkLength(y);
    if (cols() == 0) lxRaise(0x5011);
    if (numFreeCols() == 0) return DoubleQRDecomp::solve(y);
    return knotwork::orEmpty([&] {
        DoubleVec b(partialSolve(y, usedCols()));
        b.resize(static_cast<unsigned>(cols()));
        return unpermute(b);
    });
}

DoubleVec DoubleLeastSqQR::residual(const DoubleVec& y) const
{
    checkLength(y);
    if (rows() == 0) lxRaise(0x5011);
    return computeResidualVec(y, usedCols());
}

DoubleLeastSqQR& DoubleLeastSqQR::reference(const DoubleLeastSqQR& other)
{
    DoubleQRDecomp::reference(other);
    tolerance_ = other.tolerance_;
    return *this;
}
