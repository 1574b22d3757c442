// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/detail/PickCore.h"

/// The elements of a DoubleVec that an IntVec names; made by DoubleVec::vecPick.
class KNOTWORK_EXPORT DoubleVecPick : public knotwork::PickCore<DoubleVecPick, DoubleVec> {
  public:
    DoubleVecPick(const DoubleVecPick&) = default;
    DoubleVecPick& operator=(const DoubleVec& v)
    {
        assign(v);
        return *this;
    }
    DoubleVecPick& operator=(const DoubleVecPick& p)
    {
        assign(p);
        return *this;
    }
    DoubleVecPick& operator=(double x)
    {
        fill(x);
        return *this;
    }

  private:
    friend class DoubleVec;
    DoubleVecPick(const DoubleVec& v, const IntVec& index) : PickCore(v, index) {}
};

extern template class knotwork::PickCore<DoubleVecPick, DoubleVec>;
