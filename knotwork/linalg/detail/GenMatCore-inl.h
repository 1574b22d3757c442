// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/GenMatCore.h"
#include "knotwork/linalg/detail/GenMatProducts-inl.h"
#include "knotwork/linalg/detail/MatCore-inl.h"

namespace knotwork {

namespace detail {

/// Whether an int can name every row, column and element.
inline bool countable(unsigned rows, unsigned cols)
{
    constexpr unsigned kMost = std::numeric_limits<int>::max();
    return rows <= kMost && cols <= kMost && std::uint64_t{rows} * cols <= kMost;
}

/// rows x cols, or 0 after the error for a shape that no matrix can have.
inline unsigned elementCount(unsigned rows, unsigned cols)
{
    if (countable(rows, cols)) return rows * cols;
    LXBlock::raiseOutOfMemory();
    return 0;
}

}  // namespace detail

// --- construction, sharing, shape ---

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(unsigned rows, unsigned cols)
    : Base(VecT(detail::elementCount(rows, cols))), cols_(cols), rows_(rows)
{
    emptyUnlessComplete();
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(unsigned rows, unsigned cols, Element value)
    : GenMatCore(rows, cols)
{
    this->fill(value);
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(const Element* p, unsigned rows, unsigned cols)
    : Base(VecT(p, detail::elementCount(rows, cols))), cols_(cols), rows_(rows)
{
    emptyUnlessComplete();
}

template <class Derived, class VecT, class PickT>
GenMatCore<Derived, VecT, PickT>::GenMatCore(const VecT& v, unsigned rows, unsigned cols)
    : Base(v), cols_(cols), rows_(rows)
{
    if (v.length() != std::uint64_t{rows} * cols)
        lxRaise(0x400A, v.length(), rows, cols, Derived::className);
    else
        detail::elementCount(rows, cols);
    emptyUnlessComplete();
}

/// After a handler returned from a failed allocation or a wrong count, there are no elements.
template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::emptyUnlessComplete()
{
    if (!detail::countable(rows_, cols_) || this->vec_.length() != rows_ * cols_) forget();
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::forget()
{
    this->vec_.forget();
    rows_ = 0;
    cols_ = 0;
}

template <class Derived, class VecT, class PickT>
Derived& GenMatCore<Derived, VecT, PickT>::reference(const Derived& m)
{
    this->vec_.reference(m.vec_);
    cols_ = m.cols_;
    rows_ = m.rows_;
    return this->self();
}

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::resize(unsigned rows, unsigned cols)
{
    if (!detail::countable(rows, cols)) return LXBlock::raiseOutOfMemory();
    if (rows == rows_) {  // whole columns stay where they are
        this->vec_.resize(rows * cols);
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
typename VecT::Element& GenMatCore<Derived, VecT, PickT>::bcref(int i, int j)
{
    return this->holds(i, j) ? (*this)(i, j) : this->elementOutside(i, j);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::col(int j) const
{
    return this->view(offset(0, j), rows_, 1);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::row(int i) const
{
    return this->view(i, cols_, rows_);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::diagonal(int k) const
{
    const std::int64_t rows = rows_;
    const std::int64_t cols = cols_;
    const std::int64_t count = k > 0 ? std::min(rows, cols - k) : std::min(cols, rows + k);
    const std::ptrdiff_t start = k > 0 ? offset(0, k) : -std::ptrdiff_t{k};
    return this->view(start, static_cast<unsigned>(std::max<std::int64_t>(count, 0)),
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

// --- text ---

template <class Derived, class VecT, class PickT>
void GenMatCore<Derived, VecT, PickT>::printOn(std::ostream& os) const
{
    this->printElements(os, static_cast<int>(os.width(0)));
}

}  // namespace knotwork
