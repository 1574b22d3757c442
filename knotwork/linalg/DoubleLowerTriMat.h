// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/PackedMatCore.h"

class DoubleUpperTriMat;

/// Lower triangular matrix of double, packed row by row: run i is row i up to the diagonal; see
/// knotwork::TriMatCore and knotwork::PackedMatCore.
class KNOTWORK_EXPORT DoubleLowerTriMat : public knotwork::TriMatCore<DoubleLowerTriMat> {
  public:
    static const char* const className;

    using TriMatCore::TriMatCore;
    DoubleLowerTriMat() = default;
    DoubleLowerTriMat(const DoubleLowerTriMat&) = default;  ///< shares
    DoubleLowerTriMat& operator=(const DoubleLowerTriMat& m)
    {
        assign(m);
        return *this;
    }
    DoubleLowerTriMat& operator=(double x)
    {
        fill(x);
        return *this;
    }

    /// A view of the first k rows and columns; 0x4018 unless 0 <= k <= n.
    DoubleLowerTriMat leadingSubmatrix(int k) const { return leadingPart(k); }

    friend DoubleVec product(const DoubleLowerTriMat& l, const DoubleVec& x)
    {
        return l.fitsRight(x) ? l.runsDot(x) : DoubleVec();
    }
    friend DoubleVec product(const DoubleVec& x, const DoubleLowerTriMat& l)
    {
        return l.fitsLeft(x) ? l.runsTimes(x) : DoubleVec();
    }
    /// Shares the storage: no element moves.
    friend KNOTWORK_EXPORT DoubleUpperTriMat transpose(const DoubleLowerTriMat& l);

  private:
    friend class knotwork::PackedMatCore<DoubleLowerTriMat>;
    friend class knotwork::TriMatCore<DoubleLowerTriMat>;
    friend DoubleGenMat::DoubleGenMat(const DoubleLowerTriMat&);
    static bool stores(int i, int j) { return i >= j; }
    static std::ptrdiff_t packedIndex(int i, int j) { return inRun(i, j); }
};

KNOTWORK_PACKED_FUNCTIONS(DoubleLowerTriMat, DoubleUpperTriMat)

extern template class knotwork::MatCore<DoubleLowerTriMat, DoubleVec>;
extern template class knotwork::PackedMatCore<DoubleLowerTriMat>;
extern template class knotwork::TriMatCore<DoubleLowerTriMat>;
