// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleUpperTriMat.h"

#include "knotwork/linalg/DoubleLowerTriMat.h"
#include "knotwork/linalg/detail/PackedMatCore-inl.h"

const char* const DoubleUpperTriMat::className = "DoubleUpperTriMat";

template class knotwork::MatCore<DoubleUpperTriMat, DoubleVec>;
template class knotwork::PackedMatCore<DoubleUpperTriMat>;
template class knotwork::TriMatCore<DoubleUpperTriMat>;

DoubleLowerTriMat transpose(const DoubleUpperTriMat& u)
{
    return DoubleLowerTriMat(u.vec_, u.rows(), u.rows());
}
