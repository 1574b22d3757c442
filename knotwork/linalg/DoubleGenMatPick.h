// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/detail/GenMatPickCore.h"

/// The elements of a DoubleGenMat in given rows and columns; made by DoubleGenMat::matPick.
class KNOTWORK_EXPORT DoubleGenMatPick
    : public knotwork::GenMatPickCore<DoubleGenMatPick, DoubleGenMat> {
  public:
    DoubleGenMatPick(const DoubleGenMatPick&) = default;
    DoubleGenMatPick& operator=(const DoubleGenMat& m)
    {
        assign(m);
        return *this;
    }
    DoubleGenMatPick& operator=(const DoubleGenMatPick& p)
    {
        assign(p);
        return *this;
    }
    DoubleGenMatPick& operator=(double x)
    {
        fill(x);
        return *this;
    }

  private:
    template <class D, class V, class P>
    friend class knotwork::GenMatCore;
    DoubleGenMatPick(const DoubleGenMat& m, const IntVec& rowIndex, const IntVec& colIndex)
        : GenMatPickCore(m, rowIndex, colIndex)
    {
    }
};

extern template class knotwork::GenMatPickCore<DoubleGenMatPick, DoubleGenMat>;
