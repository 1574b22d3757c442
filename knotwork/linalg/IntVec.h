// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/VecCore.h"

class DoubleVec;
class IntVecPick;

/// Strided vector of int on shared storage; see knotwork::VecCore for sharing, order and errors.
/// Arithmetic wraps (two's complement).
class KNOTWORK_EXPORT IntVec : public knotwork::IntegerVecCore<IntVec, int> {
  public:
    using IntegerVecCore::IntegerVecCore;
    IntVec() = default;
    IntVec(const IntVec&) = default;  ///< shares
    IntVec(const IntVecPick& p);      ///< gathers into new storage
    IntVec& operator=(const IntVec& v)
    {
        assign(v);
        return *this;
    }
    IntVec& operator=(const IntVecPick& p);
    IntVec& operator=(int x)
    {
        fill(x);
        return *this;
    }
    IntVecPick vecPick(const IntVec& index) const;
    operator DoubleVec() const;  ///< exact
};

KNOTWORK_VECTOR_FUNCTIONS(IntVec, int)

extern template class knotwork::VecCore<IntVec, int>;
extern template class knotwork::IntegerVecCore<IntVec, int>;
