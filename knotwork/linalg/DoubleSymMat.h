// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/PackedMatCore.h"

/// Symmetric matrix of double: elements (i, j) and (j, i) are one cell, in run max(i, j) at
/// min(i, j); see knotwork::PackedMatCore. Writing one changes the other.
class KNOTWORK_EXPORT DoubleSymMat : public knotwork::PackedMatCore<DoubleSymMat> {
  public:
    static const char* const className;

    using PackedMatCore::PackedMatCore;
    DoubleSymMat() = default;
    DoubleSymMat(unsigned rows, unsigned cols, double value);
    DoubleSymMat(const DoubleSymMat&) = default;  ///< shares
    DoubleSymMat& operator=(const DoubleSymMat& m)
    {
        assign(m);
        return *this;
    }
    DoubleSymMat& operator=(double x)
    {
        fill(x);
        return *this;
    }
    operator DoubleGenMat() const { return unpacked(); }

    double& operator()(int i, int j) { return *place(i, j); }
    double operator()(int i, int j) const { return *place(i, j); }
    double& ref(int i, int j) { return *place(i, j); }
    double& bcref(int i, int j) { return holds(i, j) ? *place(i, j) : elementOutside(i, j); }
    double set(int i, int j, double x) { return bcset(i, j, x); }

    /// A view of the first k rows and columns; 0x4018 unless 0 <= k <= n.
    DoubleSymMat leadingSubmatrix(int k) const { return leadingPart(k); }

    /// S x and x S: every element is one sum in index order.
    friend DoubleVec product(const DoubleSymMat& s, const DoubleVec& x)
    {
        return s.fitsRight(x) ? s.mirroredRunsTimes(x) : DoubleVec();
    }
    friend DoubleVec product(const DoubleVec& x, const DoubleSymMat& s)
    {
        return s.fitsLeft(x) ? s.mirroredRunsTimes(x) : DoubleVec();
    }
    friend DoubleSymMat transpose(const DoubleSymMat& s) { return s; }  ///< shares

  private:
    friend class knotwork::PackedMatCore<DoubleSymMat>;
    static bool stores(int, int) { return true; }
    static std::ptrdiff_t packedIndex(int i, int j)
    {
        return inRun(std::max(i, j), std::min(i, j));
    }
};

KNOTWORK_PACKED_FUNCTIONS(DoubleSymMat, DoubleSymMat)

extern template class knotwork::MatCore<DoubleSymMat, DoubleVec>;
extern template class knotwork::PackedMatCore<DoubleSymMat>;
