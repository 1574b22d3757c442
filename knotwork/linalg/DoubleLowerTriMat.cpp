// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleLowerTriMat.h"

#include "knotwork/linalg/DoubleUpperTriMat.h"
#include "knotwork/linalg/detail/PackedMatCore-inl.h"

const char* const DoubleLowerTriMat::className = "DoubleLowerTriMat";

template class knotwork::MatCore<DoubleLowerTriMat, DoubleVec>;
template class knotwork::PackedMatCore<DoubleLowerTriMat>;
template class knotwork::TriMatCore<DoubleLowerTriMat>;

DoubleUpperTriMat transpose(const DoubleLowerTriMat& l)
{
    return DoubleUpperTriMat(l.vec_, l.rows(), l.rows());
}
