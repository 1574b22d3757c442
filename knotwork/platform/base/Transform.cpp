// SPDX-License-Identifier: MIT
#include "knotwork/platform/base/T4dDblMatrix.h"
#include "knotwork/platform/base/T4dDblPoint.h"
#include "knotwork/platform/base/TxformMatrix.h"

T4dDblMatrix::T4dDblMatrix() : entries_{}
{
    for (int i = 0; i < 4; ++i) entries_[i][i] = 1.0;
}

T4dDblPoint& T4dDblPoint::postmultBy(const T4dDblMatrix& matrix)
{
    const auto column = [&](int j) {
        return x * matrix(0, j) + y * matrix(1, j) + z * matrix(2, j) + w * matrix(3, j);
    };
    return *this = T4dDblPoint(column(0), column(1), column(2), column(3));
}

TxformMatrix::~TxformMatrix() = default;

T4dDblMatrix TxformMatrix::matrix() const
{
    return matrix_;
}
