// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/SCharVec.h"
#include "knotwork/linalg/detail/PickCore.h"

/// The elements of an SCharVec that an IntVec names; made by SCharVec::vecPick.
class KNOTWORK_EXPORT SCharVecPick : public knotwork::PickCore<SCharVecPick, SCharVec> {
  public:
    SCharVecPick(const SCharVecPick&) = default;
    SCharVecPick& operator=(const SCharVec& v)
    {
        assign(v);
        return *this;
    }
    SCharVecPick& operator=(const SCharVecPick& p)
    {
        assign(p);
        return *this;
    }
    SCharVecPick& operator=(signed char x)
    {
        fill(x);
        return *this;
    }

  private:
    friend class SCharVec;
    SCharVecPick(const SCharVec& v, const IntVec& index) : PickCore(v, index) {}
};

extern template class knotwork::PickCore<SCharVecPick, SCharVec>;
