// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/GenMatCore.h"

class IntGenMatPick;

/// Dense matrix of int, column-major; see knotwork::GenMatCore for sharing, products and errors.
/// Arithmetic wraps; division truncates toward zero, zero divisors are not checked.
class KNOTWORK_EXPORT IntGenMat : public knotwork::GenMatCore<IntGenMat, IntVec, IntGenMatPick> {
  public:
    static const char* const className;

    using GenMatCore::GenMatCore;
    IntGenMat() = default;
    IntGenMat(const IntGenMat&) = default;  ///< shares
    IntGenMat(const IntGenMatPick& p);      ///< gathers into new storage
    IntGenMat& operator=(const IntGenMat& m)
    {
        assign(m);
        return *this;
    }
    IntGenMat& operator=(int x)
    {
        fill(x);
        return *this;
    }
};

KNOTWORK_MATRIX_FUNCTIONS(IntGenMat, IntVec)

extern template class knotwork::MatCore<IntGenMat, IntVec>;
extern template class knotwork::GenMatCore<IntGenMat, IntVec, IntGenMatPick>;
