// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/PackedMatCore.h"

class DoubleLowerTriMat;

/// Upper triangular matrix of double, packed column by column: run j is column j down to the
/// diagonal; see knotwork::TriMatCore and knotwork::PackedMatCore.
class KNOTWORK_EXPORT DoubleUpperTriMat : public knotwork::TriMatCore<DoubleUpperTriMat> {
  public:
    static const char* const className;

    using TriMatCore::TriMatCore;
    DoubleUpperTriMat() = default;
    DoubleUpperTriMat(const DoubleUpperTriMat&) = default;  ///< shares
    DoubleUpperTriMat& operator=(const DoubleUpperTriMat& m)
    {
        assign(m);
        return *this;
    }
    DoubleUpperTriMat& operator=(double x)
    {
        fill(x);
        return *this;
    }
    operator DoubleGenMat() const { return unpacked(); }  ///< zeros below the diagonal

    friend DoubleVec product(const DoubleUpperTriMat& u, const DoubleVec& x)
    {
        return u.fitsRight(x) ? u.runsTimes(x) : DoubleVec();
    }
    friend DoubleVec product(const DoubleVec& x, const DoubleUpperTriMat& u)
    {
        return u.fitsLeft(x) ? u.runsDot(x) : DoubleVec();
    }
    /// Shares the storage: no element moves.
    friend KNOTWORK_EXPORT DoubleLowerTriMat transpose(const DoubleUpperTriMat& u);

  private:
    friend class knotwork::PackedMatCore<DoubleUpperTriMat>;
    friend class knotwork::TriMatCore<DoubleUpperTriMat>;
    static bool stores(int i, int j) { return i <= j; }
    static std::ptrdiff_t packedIndex(int i, int j) { return inRun(j, i); }
};

KNOTWORK_PACKED_FUNCTIONS(DoubleUpperTriMat, DoubleLowerTriMat)

extern template class knotwork::MatCore<DoubleUpperTriMat, DoubleVec>;
extern template class knotwork::PackedMatCore<DoubleUpperTriMat>;
extern template class knotwork::TriMatCore<DoubleUpperTriMat>;
