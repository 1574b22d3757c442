// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/linalg/detail/MatCore.h"

namespace knotwork {

/// The text behind DoubleGenMat and IntGenMat: rows x cols elements, column-major in one vector
/// with leading dimension rows.
/// Sharing   as in MatCore; rows, columns and diagonals are views.
/// Products  operator* is element by element; product() is the matrix product. Each element of a
///           product is one sum in index order from 0.
/// Errors    all fatal, origin 0xF000: 0x4004 shapes, 0x4005 element, 0x4006 row, 0x4007 column,
///           0x4008 diagonal (its number negated in the message, which is intended), 0x400A points,
///           0x4014, 0x4015, 0x4016 products, 0x4017 read; 0x3008 for more elements than a vector
///           can hold. Only the bc... members check indices. Should a host's handler return,
///           results are cut to what both operands have.
template <class Derived, class VecT, class PickT>
class KNOTWORK_EXPORT GenMatCore : public MatCore<Derived, VecT> {
    using Base = MatCore<Derived, VecT>;

  public:
    using Element = typename VecT::Element;

    GenMatCore() : cols_(0), rows_(0) {}
    GenMatCore(unsigned rows, unsigned cols);  ///< elements uninitialised
    GenMatCore(unsigned rows, unsigned cols, Element value);
    GenMatCore(const Element* p, unsigned rows, unsigned cols);  ///< p is column-major
    GenMatCore(const VecT& v, unsigned rows, unsigned cols);     ///< a view of v
    GenMatCore(const GenMatCore&) = default;                     ///< shares
    GenMatCore& operator=(const GenMatCore&) = delete;  // the named classes assign elements

    Derived& reference(const Derived& m);
    void resize(unsigned rows, unsigned cols);  ///< elements keep their (i, j); new ones are 0
    void forget();  ///< 0 x 0 from now on; needs no memory, sharers keep what they have

    unsigned rows() const { return rows_; }
    unsigned cols() const { return cols_; }

    Element& operator()(int i, int j)
    {
        return this->vec_.data()[offset(i, j) * this->vec_.stride()];
    }
    Element operator()(int i, int j) const
    {
        return this->vec_.data()[offset(i, j) * this->vec_.stride()];
    }
    /// Raw access for code that already required stride 1: the stride is left out on purpose.
    Element& sub(int i, int j) { return this->vec_.data()[offset(i, j)]; }
    Element sub(int i, int j) const { return this->vec_.data()[offset(i, j)]; }
    Element& ref(int i, int j) { return (*this)(i, j); }
    Element val(int i, int j) const { return (*this)(i, j); }
    Element set(int i, int j, Element x) { return (*this)(i, j) = x; }
    Element& bcref(int i, int j);
    Element bcset(int i, int j, Element x) { return bcref(i, j) = x; }

    VecT col(int j) const;       ///< a view, not checked
    VecT row(int i) const;       ///< a view of stride rows, not checked
    VecT diagonal(int k) const;  ///< a view; k > 0 above, k < 0 below the main one, not checked
    VecT bccol(int j) const;
    VecT bcrow(int i) const;
    VecT bcdiagonal(int k) const;

    PickT operator()(const IntVec& rowIndex, const IntVec& colIndex) const;
    PickT matPick(const IntVec& rowIndex, const IntVec& colIndex) const;

    /// "2x3 [\n", a line a row, "]". The stream's width goes to every element; other formatting
    /// is the stream's own, so a text with all 17 digits takes its precision.
    void printOn(std::ostream& os) const;

    friend Derived product(const Derived& a, const Derived& b) { return matrixProduct(a, b); }
    /// A times the transpose of B.
    friend Derived transProduct(const Derived& a, const Derived& b)
    {
        return matrixTransProduct(a, b);
    }
    /// The transpose of A times B.
    friend Derived transposeProduct(const Derived& a, const Derived& b)
    {
        return matrixTransposeProduct(a, b);
    }
    friend VecT product(const Derived& a, const VecT& x) { return matrixProduct(a, x); }
    friend VecT product(const VecT& x, const Derived& a) { return matrixProduct(x, a); }
    friend Derived transpose(const Derived& a) { return transposeOf(a); }
    friend Derived kronecker(const Derived& a, const Derived& b) { return kroneckerOf(a, b); }

  private:
    std::ptrdiff_t offset(int i, int j) const { return std::ptrdiff_t{rows_} * j + i; }
    void emptyUnlessComplete();

    template <class Operand>
    static Derived productOfOperands(const Operand& a, const Operand& b);
    template <class Operand>
    static VecT productOfOperands(const Operand& a, const VecT& x);
    static Derived matrixProduct(const Derived& a, const Derived& b);
    static Derived matrixTransProduct(const Derived& a, const Derived& b);
    static Derived matrixTransposeProduct(const Derived& a, const Derived& b);
    static VecT matrixProduct(const Derived& a, const VecT& x);
    static VecT matrixProduct(const VecT& x, const Derived& a);
    static Derived transposeOf(const Derived& a);
    static Derived kroneckerOf(const Derived& a, const Derived& b);

    unsigned cols_;
    unsigned rows_;
};

}  // namespace knotwork
