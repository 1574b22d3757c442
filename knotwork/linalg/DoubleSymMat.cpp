// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleSymMat.h"

#include "knotwork/linalg/detail/PackedMatCore-inl.h"

const char* const DoubleSymMat::className = "DoubleSymMat";

template class knotwork::MatCore<DoubleSymMat, DoubleVec>;
template class knotwork::PackedMatCore<DoubleSymMat>;

DoubleSymMat::DoubleSymMat(unsigned rows, unsigned cols, double value) : PackedMatCore(rows, cols)
{
    fill(value);
}
