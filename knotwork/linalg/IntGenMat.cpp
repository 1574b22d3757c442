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
    matPick(IntVec(rows(), 0, 1), IntVec(cols(), 0, 1)) = p;
}
