// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/PickCore.h"

/// The elements of an IntVec that an IntVec names; made by IntVec::vecPick.
class KNOTWORK_EXPORT IntVecPick : public knotwork::PickCore<IntVecPick, IntVec> {
  public:
    IntVecPick(const IntVecPick&) = default;
    IntVecPick& operator=(const IntVec& v)
    {
        assign(v);
        return *this;
    }
    IntVecPick& operator=(const IntVecPick& p)
    {
        assign(p);
        return *this;
    }
    IntVecPick& operator=(int x)
    {
        fill(x);
        return *this;
    }

  private:
    friend class IntVec;
    IntVecPick(const IntVec& v, const IntVec& index) : PickCore(v, index) {}
};

extern template class knotwork::PickCore<IntVecPick, IntVec>;
