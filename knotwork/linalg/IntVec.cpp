// SPDX-License-Identifier: MIT
#include "knotwork/linalg/IntVec.h"

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/detail/PickCore-inl.h"
#include "knotwork/linalg/detail/VecCore-inl.h"

template class knotwork::VecCore<IntVec, int>;
template class knotwork::IntegerVecCore<IntVec, int>;
template class knotwork::PickCore<IntVecPick, IntVec>;

IntVec::IntVec(const IntVecPick& p) : IntegerVecCore(p.length())
{
    knotwork::gather(*this, p);
}

IntVec& IntVec::operator=(const IntVecPick& p)
{
    return knotwork::gather(*this, p);
}

IntVecPick IntVec::vecPick(const IntVec& index) const
{
    return IntVecPick(*this, index);
}

IntVec::operator DoubleVec() const
{
    DoubleVec result(length());
    for (int i = 0, n = static_cast<int>(result.length()); i < n; ++i) result(i) = (*this)(i);
    return result;
}
