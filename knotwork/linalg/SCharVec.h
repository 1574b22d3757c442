// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/VecCore.h"

class SCharVecPick;

/// Strided vector of signed char on shared storage; see knotwork::VecCore for sharing, order and
/// errors. Arithmetic wraps modulo 256; reading takes ints and keeps their low byte.
class KNOTWORK_EXPORT SCharVec : public knotwork::IntegerVecCore<SCharVec, signed char> {
  public:
    using IntegerVecCore::IntegerVecCore;
    SCharVec() = default;
    SCharVec(const SCharVec&) = default;  ///< shares
    SCharVec(const SCharVecPick& p);      ///< gathers into new storage
    SCharVec& operator=(const SCharVec& v)
    {
        assign(v);
        return *this;
    }
    SCharVec& operator=(const SCharVecPick& p);
    SCharVec& operator=(signed char x)
    {
        fill(x);
        return *this;
    }
    SCharVecPick vecPick(const IntVec& index) const;
    operator IntVec() const;  ///< sign-extending
};

KNOTWORK_VECTOR_FUNCTIONS(SCharVec, signed char)

extern template class knotwork::VecCore<SCharVec, signed char>;
extern template class knotwork::IntegerVecCore<SCharVec, signed char>;
