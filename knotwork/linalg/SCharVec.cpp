// SPDX-License-Identifier: MIT
#include "knotwork/linalg/SCharVec.h"

#include "knotwork/linalg/SCharVecPick.h"
#include "knotwork/linalg/detail/DoubleVecExtras.h"
#include "knotwork/linalg/detail/PickCore-inl.h"
#include "knotwork/linalg/detail/VecCore-inl.h"

template class knotwork::VecCore<SCharVec, signed char>;
template class knotwork::IntegerVecCore<SCharVec, signed char>;
template class knotwork::PickCore<SCharVecPick, SCharVec>;

SCharVec::SCharVec(const SCharVecPick& p) : IntegerVecCore(p.length())
{
    knotwork::gather(*this, p);
}

SCharVec& SCharVec::operator=(const SCharVecPick& p)
{
    return knotwork::gather(*this, p);
}

SCharVecPick SCharVec::vecPick(const IntVec& index) const
{
    return SCharVecPick(*this, index);
}

SCharVec::operator IntVec() const
{
    IntVec result(length());
    for (int i = 0, n = static_cast<int>(result.length()); i < n; ++i) result(i) = (*this)(i);
    return result;
}

SCharVec knotwork::lowBytes(const IntVec& v)
{
    SCharVec result(v.length());
    for (int i = 0, n = static_cast<int>(result.length()); i < n; ++i) result(i) = lowByte(v(i));
    return result;
}
