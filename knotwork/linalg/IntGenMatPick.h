// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/detail/GenMatPickCore.h"

/// The elements of an IntGenMat in given rows and columns; made by IntGenMat::matPick.
class KNOTWORK_EXPORT IntGenMatPick : public knotwork::GenMatPickCore<IntGenMatPick, IntGenMat> {
  public:
    IntGenMatPick(const IntGenMatPick&) = default;
    IntGenMatPick& operator=(const IntGenMat& m)
    {
        assign(m);
        return *this;
    }
    IntGenMatPick& operator=(const IntGenMatPick& p)
    {
        assign(p);
        return *this;
    }
    IntGenMatPick& operator=(int x)
    {
        fill(x);
        return *this;
    }

  private:
    template <class D, class V, class P>
    friend class knotwork::GenMatCore;
    IntGenMatPick(const IntGenMat& m, const IntVec& rowIndex, const IntVec& colIndex)
        : GenMatPickCore(m, rowIndex, colIndex)
    {
    }
};

extern template class knotwork::GenMatPickCore<IntGenMatPick, IntGenMat>;
