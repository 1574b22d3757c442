// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/linalg/detail/VecCore.h"

namespace knotwork {

/// What general and packed matrices share: elements in one vector, arithmetic on those that are
/// stored, and the text format. The shape is the derived class's business.
/// Sharing   that of the vector: copies are views; operator= copies elements and faults on another
///           shape; reference() re-points.
/// Errors    all fatal, origin 0xF000: 0x4004 shapes, 0x4005 element, 0x4017 read.
template <class Derived, class VecT>
class KNOTWORK_EXPORT MatCore {
  public:
    using Element = typename VecT::Element;

    MatCore& operator=(const MatCore&) = delete;  // the named classes assign elements

    Derived copy() const { return like(vec_.copy()); }
    Derived deepCopy() const { return copy(); }
    void deepenShallowCopy() { vec_.deepenShallowCopy(); }
    VecT dataVec() const { return vec_; }  ///< shares
    void zero() { fill(Element{0}); }
    Element* data() { return vec_.data(); }
    const Element* data() const { return vec_.data(); }
    Element bcval(int i, int j) const;

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

    /// Reads what printOn writes. A stream that fails leaves the matrix as it was. Only elements
    /// that differ from what is stored are written.
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
    MatCore() = default;
    MatCore(const MatCore&) = default;
    explicit MatCore(const VecT& v) : vec_(v) {}

    void assign(const Derived& m);
    void fill(Element x) { vec_ = x; }
    bool holds(int i, int j) const;
    Element& elementOutside(int i, int j) const;  // 0x4005; a spare for a handler that returns
    bool sameShape(const Derived& m) const;
    bool checkShape(const Derived& right) const;  // 0x4004, the right operand first
    Derived like(const VecT& data) const;  // this shape around other elements, which are shared
    VecT view(std::ptrdiff_t start, unsigned n, std::ptrdiff_t step) const;
    void printElements(std::ostream& os, int width) const;
    Derived& self() { return static_cast<Derived&>(*this); }
    const Derived& self() const { return static_cast<const Derived&>(*this); }

    VecT vec_;

  private:
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
};

}  // namespace knotwork
