// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/linalg/detail/VecCore.h"

namespace knotwork {

/// The text behind DoubleGenMat and IntGenMat: rows x cols elements, column-major in one vector
/// with leading dimension rows.
/// Sharing   that of the vector: copies, rows, columns and diagonals are views; operator= copies
///           elements and faults on another shape; reference() re-points.
/// Products  operator* is element by element; product() is the matrix product. Each element of a
///           product is one sum in index order from 0.
/// Errors    all fatal, origin 0xF000: 0x4004 shapes, 0x4005 element, 0x4006 row, 0x4007 column,
///           0x4008 diagonal (its number negated in the message, which is intended), 0x400A points,
///           0x4014, 0x4015, 0x4016 products, 0x4017 read; 0x3008 for more elements than a vector
///           can hold. Only the bc... members check indices. Should a host's handler return,
///           results are cut to what both operands have.
template <class Derived, class VecT, class PickT>
class KNOTWORK_EXPORT GenMatCore {
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
    Derived copy() const;
    Derived deepCopy() const { return copy(); }
    void deepenShallowCopy() { vec_.deepenShallowCopy(); }
    VecT dataVec() const { return vec_; }  ///< shares
    void zero() { fill(Element{0}); }
    void resize(unsigned rows, unsigned cols);  ///< elements keep their (i, j); new ones are 0

    unsigned rows() const { return rows_; }
    unsigned cols() const { return cols_; }
    Element* data() { return vec_.data(); }
    const Element* data() const { return vec_.data(); }

    Element& operator()(int i, int j) { return vec_.data()[offset(i, j) * vec_.stride()]; }
    Element operator()(int i, int j) const { return vec_.data()[offset(i, j) * vec_.stride()]; }
    /// Raw access for code that already required stride 1: the stride is left out on purpose.
    Element& sub(int i, int j) { return vec_.data()[offset(i, j)]; }
    Element sub(int i, int j) const { return vec_.data()[offset(i, j)]; }
    Element& ref(int i, int j) { return (*this)(i, j); }
    Element val(int i, int j) const { return (*this)(i, j); }
    Element set(int i, int j, Element x) { return (*this)(i, j) = x; }
    Element& bcref(int i, int j);
    Element bcval(int i, int j) const;
    Element bcset(int i, int j, Element x) { return bcref(i, j) = x; }

    VecT col(int j) const;       ///< a view, not checked
    VecT row(int i) const;       ///< a view of stride rows, not checked
    VecT diagonal(int k) const;  ///< a view; k > 0 above, k < 0 below the main one, not checked
    VecT bccol(int j) const;
    VecT bcrow(int i) const;
    VecT bcdiagonal(int k) const;

    PickT operator()(const IntVec& rowIndex, const IntVec& colIndex) const;
    PickT matPick(const IntVec& rowIndex, const IntVec& colIndex) const;

    Derived& operator+=(const Derived& m);
    Derived& operator-=(const Derived& m);
    Derived& operator*=(const Derived& m);
    Derived& operator/=(const Derived& m);
    Derived& operator+=(Element x);
    Derived& operator-=(Element x);
    Derived& operator*=(Element x);
    Derived& operator/=(Element x);  ///< double: multiplies by 1.0 / x, as vectors do
    Derived& operator++();
    Derived& operator--();

    /// "2x3 [\n", a line a row, "]". The stream's width goes to every element; other formatting
    /// is the stream's own, so a text with all 17 digits takes its precision.
    void printOn(std::ostream& os) const;
    /// Reads what printOn writes. A stream that fails leaves the matrix as it was.
    void scanFrom(std::istream& is);

    friend Derived operator+(const Derived& a, const Derived& b) { return sumOf(a, b); }
    friend Derived operator-(const Derived& a, const Derived& b) { return differenceOf(a, b); }
    friend Derived operator*(const Derived& a, const Derived& b) { return productOf(a, b); }
    friend Derived operator/(const Derived& a, const Derived& b) { return quotientOf(a, b); }
    friend Derived operator+(const Derived& a, Element x) { return sumOf(a, x); }
    friend Derived operator+(Element x, const Derived& a) { return sumOf(a, x); }
    friend Derived operator-(const Derived& a, Element x) { return differenceOf(a, x); }
    friend Derived operator-(Element x, const Derived& a) { return differenceOf(x, a); }
    friend Derived operator*(const Derived& a, Element x) { return productOf(a, x); }
    friend Derived operator*(Element x, const Derived& a) { return productOf(a, x); }
    friend Derived operator/(const Derived& a, Element x) { return quotientOf(a, x); }
    friend Derived operator/(Element x, const Derived& a) { return quotientOf(x, a); }
    friend Derived operator-(const Derived& a) { return negativeOf(a); }
    friend Derived abs(const Derived& a) { return magnitudesOf(a); }
    friend bool operator==(const Derived& a, const Derived& b)
    {
        return a.sameShape(b) && a.vec_ == b.vec_;
    }
    friend bool operator!=(const Derived& a, const Derived& b) { return !(a == b); }

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

    friend std::ostream& operator<<(std::ostream& os, const Derived& m)
    {
        m.printOn(os);
        return os;
    }
    friend std::istream& operator>>(std::istream& is, Derived& m)
    {
        m.scanFrom(is);
        return is;
    }

  protected:
    void assign(const GenMatCore& m);
    void fill(Element x);
    bool sameShape(const GenMatCore& m) const { return rows_ == m.rows_ && cols_ == m.cols_; }
    bool checkShape(const GenMatCore& right) const;  // 0x4004, the right operand first
    Derived like(const VecT& data) const;  // this shape around other elements, which are shared

  private:
    std::ptrdiff_t offset(int i, int j) const { return std::ptrdiff_t{rows_} * j + i; }
    bool holds(int i, int j) const;
    VecT view(std::ptrdiff_t start, unsigned n, std::ptrdiff_t step) const;
    void emptyUnlessComplete();
    Derived& self() { return static_cast<Derived&>(*this); }

    static Derived sumOf(const Derived& a, const Derived& b);
    static Derived differenceOf(const Derived& a, const Derived& b);
    static Derived productOf(const Derived& a, const Derived& b);
    static Derived quotientOf(const Derived& a, const Derived& b);
    static Derived sumOf(const Derived& a, Element x);
    static Derived differenceOf(const Derived& a, Element x);
    static Derived differenceOf(Element x, const Derived& a);
    static Derived productOf(const Derived& a, Element x);
    static Derived quotientOf(const Derived& a, Element x);
    static Derived quotientOf(Element x, const Derived& a);
    static Derived negativeOf(const Derived& a);
    static Derived magnitudesOf(const Derived& a);
    static Derived matrixProduct(const Derived& a, const Derived& b);
    static Derived matrixTransProduct(const Derived& a, const Derived& b);
    static Derived matrixTransposeProduct(const Derived& a, const Derived& b);
    static VecT matrixProduct(const Derived& a, const VecT& x);
    static VecT matrixProduct(const VecT& x, const Derived& a);
    static Derived transposeOf(const Derived& a);
    static Derived kroneckerOf(const Derived& a, const Derived& b);

    VecT vec_;
    unsigned cols_;
    unsigned rows_;
};

}  // namespace knotwork
