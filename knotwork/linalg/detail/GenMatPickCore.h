// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork {

/// The text behind the matrix picks: the elements of a matrix in given rows and columns. Shares
/// the storage of the matrix and of both index vectors.
/// Errors    0x4001 when an index is out of range as the pick is made (rows, then columns, each
///           from its last index to its first); 0x4004 when an assigned source has another shape.
template <class Derived, class MatT>
class KNOTWORK_EXPORT GenMatPickCore {
  public:
    using Element = typename MatT::Element;

    GenMatPickCore(const GenMatPickCore&) = default;
    GenMatPickCore& operator=(const GenMatPickCore&) = delete;  // the named classes assign elements

    unsigned rows() const { return rowIndex_.length(); }
    unsigned cols() const { return colIndex_.length(); }
    Element& operator()(int k, int l) { return matrix_(rowIndex_(k), colIndex_(l)); }
    Element operator()(int k, int l) const { return matrix_(rowIndex_(k), colIndex_(l)); }
    void zero() { fill(Element{0}); }

    friend MatT operator+(const Derived& p, Element x) { return MatT(p) + x; }
    friend MatT operator+(Element x, const Derived& p) { return x + MatT(p); }
    friend MatT operator-(const Derived& p, Element x) { return MatT(p) - x; }
    friend MatT operator-(Element x, const Derived& p) { return x - MatT(p); }
    friend MatT operator*(const Derived& p, Element x) { return MatT(p) * x; }
    friend MatT operator*(Element x, const Derived& p) { return x * MatT(p); }
    friend MatT operator/(const Derived& p, Element x) { return MatT(p) / x; }
    friend MatT operator/(Element x, const Derived& p) { return x / MatT(p); }

  protected:
    GenMatPickCore(const MatT& matrix, const IntVec& rowIndex, const IntVec& colIndex);
    void assign(const MatT& source);
    void assign(const GenMatPickCore& source);
    void fill(Element x);

  private:
    template <class Source>
    void copyFrom(const Source& source);

    MatT matrix_;
    IntVec rowIndex_;
    IntVec colIndex_;
};

}  // namespace knotwork
