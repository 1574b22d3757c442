// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleGenMat.h"

#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleLowerTriMat.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/detail/GenMatCore-inl.h"
#include "knotwork/linalg/detail/GenMatPickCore-inl.h"

const char* const DoubleGenMat::className = "DoubleGenMat";

template class knotwork::MatCore<DoubleGenMat, DoubleVec>;
template class knotwork::GenMatCore<DoubleGenMat, DoubleVec, DoubleGenMatPick>;
template class knotwork::GenMatPickCore<DoubleGenMatPick, DoubleGenMat>;

DoubleGenMat::DoubleGenMat(const IntGenMat& m)
    : GenMatCore(DoubleVec(m.dataVec()), m.rows(), m.cols())
{
}

DoubleGenMat::DoubleGenMat(const DoubleLowerTriMat& m) : DoubleGenMat(m.unpacked()) {}

DoubleGenMat::DoubleGenMat(const DoubleGenMatPick& p) : GenMatCore(p.rows(), p.cols())
{
    for (int j = 0, n = static_cast<int>(cols()); j < n; ++j)
        for (int i = 0, m = static_cast<int>(rows()); i < m; ++i) (*this)(i, j) = p(i, j);
}

DoubleGenMat DoubleGenMat::apply(double (*f)(double)) const
{
    return like(dataVec().apply(f));
}

DoubleGenMat DoubleGenMat::atan2Of(const DoubleGenMat& y, const DoubleGenMat& x)
{
    return y.checkShape(x) ? y.like(::atan2(y.dataVec(), x.dataVec())) : DoubleGenMat();
}
