// SPDX-License-Identifier: MIT
#pragma once

#include <cctype>
#include <cstdint>
#include <iomanip>
#include <istream>
#include <ostream>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/MatCore.h"
#include "knotwork/linalg/detail/SpareElement.h"
#include "knotwork/linalg/detail/VecCore-inl.h"

namespace knotwork {

namespace detail {

const MatrixErrors matrixErrors;  // one for each unit that includes this

}  // namespace detail

// --- shape and access ---

template <class Derived, class VecT>
bool MatCore<Derived, VecT>::sameShape(const Derived& m) const
{
    return self().rows() == m.rows() && self().cols() == m.cols();
}

template <class Derived, class VecT>
bool MatCore<Derived, VecT>::checkShape(const Derived& right) const
{
    if (sameShape(right)) return true;
    lxRaise(0x4004, static_cast<int>(right.rows()), static_cast<int>(right.cols()),
            static_cast<int>(self().rows()), static_cast<int>(self().cols()));
    return false;
}

template <class Derived, class VecT>
void MatCore<Derived, VecT>::assign(const Derived& m)
{
    if (checkShape(m)) vec_ = m.vec_;
}

/// After a handler returned from a failed allocation there are no elements, and then no shape.
template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::like(const VecT& data) const
{
    if (data.length() != vec_.length()) return Derived();
    Derived result(self());
    result.vec_.reference(data);
    return result;
}

template <class Derived, class VecT>
VecT MatCore<Derived, VecT>::view(std::ptrdiff_t start, unsigned n, std::ptrdiff_t step) const
{
    if (vec_.data_ == nullptr) return vec_.slice(0, 0, 1);
    return VecT(vec_.block_, vec_.data_ + start * vec_.stride_, n,
                static_cast<int>(step * vec_.stride_));
}

template <class Derived, class VecT>
bool MatCore<Derived, VecT>::holds(int i, int j) const
{
    return i >= 0 && static_cast<unsigned>(i) < self().rows() && j >= 0 &&
           static_cast<unsigned>(j) < self().cols();
}

template <class Derived, class VecT>
typename VecT::Element& MatCore<Derived, VecT>::elementOutside(int i, int j) const
{
    lxRaise(0x4005, i, j, self().rows(), self().cols());
    return spareElement<Element>();
}

template <class Derived, class VecT>
typename VecT::Element MatCore<Derived, VecT>::bcval(int i, int j) const
{
    return holds(i, j) ? self().val(i, j) : elementOutside(i, j);
}

// --- element-wise arithmetic ---

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::sumOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::sumOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::differenceOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::differenceOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::productOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::productOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::quotientOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::quotientOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::sumOf(const Derived& a, Element x)
{
    return a.like(VecT::sumOf(a.vec_, x));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::differenceOf(const Derived& a, Element x)
{
    return a.like(VecT::sumOf(a.vec_, ElementTraits<Element>::negate(x)));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::differenceOf(Element x, const Derived& a)
{
    return a.like(VecT::differenceOf(x, a.vec_));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::productOf(const Derived& a, Element x)
{
    return a.like(VecT::productOf(a.vec_, x));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::quotientOf(const Derived& a, Element x)
{
    return a.like(VecT::quotientOf(a.vec_, x));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::quotientOf(Element x, const Derived& a)
{
    return a.like(VecT::quotientOf(x, a.vec_));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::negativeOf(const Derived& a)
{
    return a.like(VecT::negativeOf(a.vec_));
}

template <class Derived, class VecT>
Derived MatCore<Derived, VecT>::magnitudesOf(const Derived& a)
{
    return a.like(VecT::magnitudesOf(a.vec_));
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator+=(const Derived& m)
{
    if (checkShape(m)) vec_ += m.vec_;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator-=(const Derived& m)
{
    if (checkShape(m)) vec_ -= m.vec_;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator*=(const Derived& m)
{
    if (checkShape(m)) vec_ *= m.vec_;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator/=(const Derived& m)
{
    if (checkShape(m)) vec_ /= m.vec_;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator+=(Element x)
{
    vec_ += x;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator-=(Element x)
{
    vec_ -= x;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator*=(Element x)
{
    vec_ *= x;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator/=(Element x)
{
    vec_ /= x;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator++()
{
    ++vec_;
    return self();
}

template <class Derived, class VecT>
Derived& MatCore<Derived, VecT>::operator--()
{
    --vec_;
    return self();
}

// --- text ---

template <class Derived, class VecT>
void MatCore<Derived, VecT>::printElements(std::ostream& os, int width) const
{
    os << self().rows() << 'x' << self().cols() << " [\n";
    for (int i = 0, m = static_cast<int>(self().rows()); i < m; ++i) {
        for (int j = 0, n = static_cast<int>(self().cols()); j < n; ++j)
            os << std::setw(width) << self().val(i, j) << ' ';
        os << '\n';
    }
    os << ']';
}

template <class Derived, class VecT>
void MatCore<Derived, VecT>::scanFrom(std::istream& is)
{
    unsigned rows = 0;
    unsigned cols = 0;
    int c = is.get();
    while (is.good() && !std::isdigit(c)) c = is.get();
    if (is.good()) is.putback(static_cast<char>(c));
    is >> rows;
    c = detail::nextNonBlank(is);
    if (is.good() && std::isdigit(c)) is.putback(static_cast<char>(c));
    is >> cols;
    VecT values;
    is >> values;
    if (!is.good()) return;
    if (values.length() != std::uint64_t{rows} * cols) {
        lxRaise(0x4017, values.length(), Derived::className, rows, cols);
        return;
    }
    self().resize(rows, cols);
    if (self().rows() != rows || self().cols() != cols) return;  // a handler returned
    int k = 0;
    for (int i = 0, m = static_cast<int>(rows); i < m; ++i)
        for (int j = 0, n = static_cast<int>(cols); j < n; ++j, ++k)
            if (bcval(i, j) != values(k)) self().bcset(i, j, values(k));
}

}  // namespace knotwork
