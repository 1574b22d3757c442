// SPDX-License-Identifier: MIT
#include "knotwork/linalg/IntGenMat.h"

#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/detail/GenMatCore-inl.h"
#include "knotwork/linalg/detail/GenMatPickCore-inl.h"

const char* const IntGenMat::className = "IntGenMat";

template class knotwork::MatCore<IntGenMat, IntVec>;
template class knotwork::GenMatCore<IntGenMat, IntVec, IntGenMatPick>;
template class knotwork::GenMatPickCore<IntGenMatPick, IntGenMat>;

IntGenMat::IntGenMat(const IntGenMatPick& p) : GenMatCore(p.rows(), p.cols())
{
    for (int j = 0, n = static_cast<int>(cols()); j < n; ++j)
        for (int i = 0, m = static_cast<int>(rows()); i < m; ++i) (*this)(i, j) = p(i, j);
}
