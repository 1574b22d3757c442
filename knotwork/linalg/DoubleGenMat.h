// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/GenMatCore.h"

class DoubleGenMatPick;
class DoubleLowerTriMat;
class IntGenMat;

/// Dense matrix of double, column-major; see knotwork::GenMatCore for sharing, products and errors.
class KNOTWORK_EXPORT DoubleGenMat
    : public knotwork::GenMatCore<DoubleGenMat, DoubleVec, DoubleGenMatPick> {
  public:
    static const char* const className;

    using GenMatCore::GenMatCore;
    DoubleGenMat() = default;
    DoubleGenMat(const DoubleGenMat&) = default;  ///< shares
    DoubleGenMat(const IntGenMat& m);             ///< exact
    DoubleGenMat(const DoubleLowerTriMat& m);     ///< zeros above the diagonal
    DoubleGenMat(const DoubleGenMatPick& p);      ///< gathers into new storage
    DoubleGenMat& operator=(const DoubleGenMat& m)
    {
        assign(m);
        return *this;
    }
    DoubleGenMat& operator=(double x)
    {
        fill(x);
        return *this;
    }
    DoubleGenMat apply(double (*f)(double)) const;
    friend DoubleGenMat atan2(const DoubleGenMat& y, const DoubleGenMat& x)
    {
        return atan2Of(y, x);
    }

  private:
    static DoubleGenMat atan2Of(const DoubleGenMat& y, const DoubleGenMat& x);
};

KNOTWORK_MATRIX_FUNCTIONS(DoubleGenMat, DoubleVec)
DoubleGenMat atan2(const DoubleGenMat& y, const DoubleGenMat& x);

extern template class knotwork::MatCore<DoubleGenMat, DoubleVec>;
extern template class knotwork::GenMatCore<DoubleGenMat, DoubleVec, DoubleGenMatPick>;
