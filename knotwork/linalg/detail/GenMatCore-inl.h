// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iomanip>
#include <istream>
#include <limits>
#include <ostream>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/GenMatCore.h"
#include "knotwork/linalg/detail/GenMatProducts-inl.h"
#include "knotwork/linalg/detail/VecCore-inl.h"

namespace knotwork {

namespace detail {

const MatrixErrors matrixErrors;  // one for each unit that includes this

/// rows x cols, or 0 after the error when a vector cannot count that far.
inline unsigned elementCount(unsigned rows, unsigned cols)
{
    const std::uint64_t count = std::uint64_t{rows} * cols;
    if (count <= std::numeric_limits<unsigned>::max()) return static_cast<unsigned>(count);
    LXBlock::raiseOutOfMemory();
    return 0;
}

}  // namespace detail

// --- construction, sharing, shape ---

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(unsigned rows, unsigned cols)
    : vec_(detail::elementCount(rows, cols)), cols_(cols), rows_(rows)
{
    emptyUnlessComplete();
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(unsigned rows, unsigned cols, Element value)
    : GenMatCore(rows, cols)
{
    fill(value);
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(const Element* p, unsigned rows, unsigned cols)
    : vec_(p, detail::elementCount(rows, cols)), cols_(cols), rows_(rows)
{
    emptyUnlessComplete();
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(const VecT& v, unsigned rows, unsigned cols)
    : vec_(v), cols_(cols), rows_(rows)
{
    if (v.length() != std::uint64_t{rows} * cols)
        lxRaise(0x400A, v.length(), rows, cols, Derived::className);
    emptyUnlessComplete();
}

/// After a handler returned from a failed allocation or a wrong count, there are no elements.
template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::emptyUnlessComplete()
{
    if (vec_.length() == std::uint64_t{rows_} * cols_) return;
    vec_.reference(VecT());
    rows_ = 0;
    cols_ = 0;
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::reference(const Derived& m)
{
    vec_.reference(m.vec_);
    cols_ = m.cols_;
    rows_ = m.rows_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::copy() const
{
    return like(vec_.copy());
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::like(const VecT& data) const
{
    Derived result;
    result.vec_.reference(data);
    result.cols_ = cols_;
    result.rows_ = rows_;
    result.emptyUnlessComplete();
    return result;
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::assign(const GenMatCore& m)
{
    if (!sameShape(m))
        lxRaise(0x4004, static_cast<int>(m.rows_), static_cast<int>(m.cols_),
                static_cast<int>(rows_), static_cast<int>(cols_));
    if (sameShape(m)) vec_ = m.vec_;
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::fill(Element x)
{
    vec_ = x;
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::resize(unsigned rows, unsigned cols)
{
    if (rows == rows_) {  // whole columns stay where they are
        vec_.resize(detail::elementCount(rows, cols));
        cols_ = cols;
        emptyUnlessComplete();
        return;
    }
    Derived fresh(rows, cols, Element{0});
    const unsigned keptRows = std::min(rows_, fresh.rows_);
    const int keptCols = static_cast<int>(std::min(cols_, fresh.cols_));
    for (int j = 0; j < keptCols; ++j)
        fresh.col(j).slice(0, keptRows, 1) = col(j).slice(0, keptRows, 1);
    reference(fresh);
}

// --- access ---

template <class Derived, class VecT, class PickT>
bool GenMatCore<Derived, VecT, PickT>::holds(int i, int j) const
{
    return i >= 0 && static_cast<unsigned>(i) < rows_ && j >= 0 && static_cast<unsigned>(j) < cols_;
}

template <class Derived, class VecT, class PickT>
typename VecT::Element& GenMatCore<Derived, VecT, PickT>::bcref(int i, int j)
{
    if (holds(i, j)) return (*this)(i, j);
    static Element spare;  // handed out only when a handler returned from the fatal error
    lxRaise(0x4005, i, j, rows_, cols_);
    return spare = Element{0};
}

template <class Derived, class VecT, class PickT>
typename VecT::Element GenMatCore<Derived, VecT, PickT>::bcval(int i, int j) const
{
    if (holds(i, j)) return (*this)(i, j);
    lxRaise(0x4005, i, j, rows_, cols_);
    return Element{0};
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::view(std::ptrdiff_t start, unsigned n,
                                            std::ptrdiff_t step) const
{
    if (vec_.data_ == nullptr) return vec_.slice(0, 0, 1);
    return VecT(vec_.block_, vec_.data_ + start * vec_.stride_, n,
                static_cast<int>(step * vec_.stride_));
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::col(int j) const
{
    return view(offset(0, j), rows_, 1);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::row(int i) const
{
    return view(i, cols_, rows_);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::diagonal(int k) const
{
    const std::int64_t rows = rows_;
    const std::int64_t cols = cols_;
    const std::int64_t count = k > 0 ? std::min(rows, cols - k) : std::min(cols, rows + k);
    const std::ptrdiff_t start = k > 0 ? offset(0, k) : -std::ptrdiff_t{k};
    return view(start, static_cast<unsigned>(std::max<std::int64_t>(count, 0)),
                std::ptrdiff_t{rows_} + 1);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::bccol(int j) const
{
    if (j >= 0 && static_cast<unsigned>(j) < cols_) return col(j);
    lxRaise(0x4007, j, cols_);
    return VecT();
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::bcrow(int i) const
{
    if (i >= 0 && static_cast<unsigned>(i) < rows_) return row(i);
    lxRaise(0x4006, i, rows_);
    return VecT();
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::bcdiagonal(int k) const
{
    if (std::int64_t{k} < cols_ && -std::int64_t{k} < rows_) return diagonal(k);
    // The negated number is intended; INT_MIN stays itself.
    lxRaise(0x4008, ElementTraits<int>::negate(k), Derived::className, rows_, cols_);
    return VecT();
}

template <class Derived, class VecT, class PickT>
PickT GenMatCore<Derived, VecT, PickT>::operator()(const IntVec& rowIndex,
                                                   const IntVec& colIndex) const
{
    return matPick(rowIndex, colIndex);
}

template <class Derived, class VecT, class PickT>
PickT GenMatCore<Derived, VecT, PickT>::matPick(const IntVec& rowIndex,
                                                const IntVec& colIndex) const
{
    return PickT(static_cast<const Derived&>(*this), rowIndex, colIndex);
}

// --- element-wise arithmetic ---

template <class Derived, class VecT, class PickT>
bool GenMatCore<Derived, VecT, PickT>::checkShape(const GenMatCore& right) const
{
    if (sameShape(right)) return true;
    lxRaise(0x4004, static_cast<int>(right.rows_), static_cast<int>(right.cols_),
            static_cast<int>(rows_), static_cast<int>(cols_));
    return false;
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::sumOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::sumOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::differenceOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::differenceOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::productOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::productOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::quotientOf(const Derived& a, const Derived& b)
{
    return a.checkShape(b) ? a.like(VecT::quotientOf(a.vec_, b.vec_)) : Derived();
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::sumOf(const Derived& a, Element x)
{
    return a.like(VecT::sumOf(a.vec_, x));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::differenceOf(const Derived& a, Element x)
{
    return a.like(VecT::sumOf(a.vec_, ElementTraits<Element>::negate(x)));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::differenceOf(Element x, const Derived& a)
{
    return a.like(VecT::differenceOf(x, a.vec_));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::productOf(const Derived& a, Element x)
{
    return a.like(VecT::productOf(a.vec_, x));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::quotientOf(const Derived& a, Element x)
{
    return a.like(VecT::quotientOf(a.vec_, x));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::quotientOf(Element x, const Derived& a)
{
    return a.like(VecT::quotientOf(x, a.vec_));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::negativeOf(const Derived& a)
{
    return a.like(VecT::negativeOf(a.vec_));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::magnitudesOf(const Derived& a)
{
    return a.like(VecT::magnitudesOf(a.vec_));
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator+=(const Derived& m)
{
    if (checkShape(m)) vec_ += m.vec_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator-=(const Derived& m)
{
    if (checkShape(m)) vec_ -= m.vec_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator*=(const Derived& m)
{
    if (checkShape(m)) vec_ *= m.vec_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator/=(const Derived& m)
{
    if (checkShape(m)) vec_ /= m.vec_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator+=(Element x)
{
    vec_ += x;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator-=(Element x)
{
    vec_ -= x;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator*=(Element x)
{
    vec_ *= x;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator/=(Element x)
{
    vec_ /= x;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator++()
{
    ++vec_;
    return self();
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::operator--()
{
    --vec_;
    return self();
}

// --- text ---

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::printOn(std::ostream& os) const
{
    const int width = static_cast<int>(os.width(0));
    os << rows_ << 'x' << cols_ << " [\n";
    for (int i = 0, m = static_cast<int>(rows_); i < m; ++i) {
        for (int j = 0, n = static_cast<int>(cols_); j < n; ++j)
            os << std::setw(width) << (*this)(i, j) << ' ';
        os << '\n';
    }
    os << ']';
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::scanFrom(std::istream& is)
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
    resize(rows, cols);
    int k = 0;
    for (int i = 0, m = static_cast<int>(rows_); i < m; ++i)
        for (int j = 0, n = static_cast<int>(cols_); j < n; ++j, ++k)
            if (bcval(i, j) != values(k)) bcset(i, j, values(k));
}

}  // namespace knotwork
