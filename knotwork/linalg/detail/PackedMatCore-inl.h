// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <ostream>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/MatCore-inl.h"
#include "knotwork/linalg/detail/PackedMatCore.h"

namespace knotwork {

namespace detail {

inline std::uint64_t packedCount(unsigned n)
{
    return std::uint64_t{n} * (std::uint64_t{n} + 1) / 2;
}

/// Elements of a square matrix; 0 after an error, of its shape or of its size.
inline unsigned packedLength(unsigned rows, unsigned cols)
{
    if (rows != cols) {
        lxRaise(0x400D, static_cast<int>(rows), static_cast<int>(cols));
        return 0;
    }
    if (packedCount(rows) <= static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        return static_cast<unsigned>(packedCount(rows));
    LXBlock::raiseOutOfMemory();
    return 0;
}

}  // namespace detail

// --- construction, sharing, shape ---

template <class Derived>
PackedMatCore<Derived>::PackedMatCore(unsigned rows, unsigned cols)
    : Base(DoubleVec(detail::packedLength(rows, cols))), n_(rows)
{
    emptyUnlessComplete();
}

template <class Derived>
PackedMatCore<Derived>::PackedMatCore(const DoubleVec& v, unsigned rows, unsigned cols)
    : Base(v), n_(rows)
{
    if (rows != cols) {
        lxRaise(0x400D, static_cast<int>(rows), static_cast<int>(cols));
        n_ = std::numeric_limits<unsigned>::max();  // no vector has as many elements
    } else if (v.length() != detail::packedCount(rows)) {
        lxRaise(0x400A, v.length(), rows, rows, Derived::className);
    }
    emptyUnlessComplete();
}

/// After a handler returned from an error there are no elements.
template <class Derived>
void PackedMatCore<Derived>::emptyUnlessComplete()
{
    if (this->vec_.length() == detail::packedCount(n_)) return;
    this->vec_.forget();
    n_ = 0;
}

template <class Derived>
Derived& PackedMatCore<Derived>::reference(const Derived& m)
{
    this->vec_.reference(m.vec_);
    n_ = m.n_;
    return this->self();
}

template <class Derived>
void PackedMatCore<Derived>::resize(unsigned rows, unsigned cols)
{
    const unsigned length = detail::packedLength(rows, cols);
    if (length != detail::packedCount(rows) || rows != cols) return;  // a handler returned
    this->vec_.resize(length);
    n_ = rows;
    emptyUnlessComplete();
}

template <class Derived>
Derived PackedMatCore<Derived>::leadingPart(int k) const
{
    if (k >= 0 && static_cast<unsigned>(k) <= n_) {
        const auto order = static_cast<unsigned>(k);
        const auto length = static_cast<unsigned>(detail::packedCount(order));
        return Derived(this->view(0, length, 1), order, order);
    }
    lxRaise(0x4018, static_cast<unsigned>(k), n_);
    return Derived();
}

template <class Derived>
DoubleGenMat PackedMatCore<Derived>::unpacked() const
{
    DoubleGenMat result(n_, n_);
    const int n = static_cast<int>(result.rows());
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) result(i, j) = val(i, j);
    return result;
}

// --- elements ---

template <class Derived>
double PackedMatCore<Derived>::bcset(int i, int j, double x)
{
    if (!this->holds(i, j)) return this->elementOutside(i, j);
    if (!Derived::stores(i, j)) {
        lxRaise(0x4009, i, j, Derived::className);
        return 0.0;
    }
    return *place(i, j) = x;
}

template <class Derived>
RODoubleRef TriMatCore<Derived>::bcref(int i, int j)
{
    if (!this->holds(i, j)) {
        this->elementOutside(i, j);
        return RODoubleRef::sharedZero();
    }
    return Derived::stores(i, j) ? RODoubleRef(*this->place(i, j)) : RODoubleRef::sharedZero();
}

template <class Derived>
Derived PackedMatCore<Derived>::apply(double (*f)(double)) const
{
    return this->like(this->vec_.apply(f));
}

template <class Derived>
Derived PackedMatCore<Derived>::atan2Of(const Derived& y, const Derived& x)
{
    return y.checkShape(x) ? y.like(::atan2(y.vec_, x.vec_)) : Derived();
}

// --- products ---

template <class Derived>
DoubleVec PackedMatCore<Derived>::run(int k) const
{
    return this->view(inRun(k, 0), static_cast<unsigned>(k) + 1, 1);
}

template <class Derived>
bool PackedMatCore<Derived>::fitsRight(const DoubleVec& x) const
{
    if (x.length() == n_) return true;
    lxRaise(0x4014, Derived::className, n_, n_, x.length());
    return false;
}

template <class Derived>
bool PackedMatCore<Derived>::fitsLeft(const DoubleVec& x) const
{
    if (x.length() == n_) return true;
    lxRaise(0x4015, x.length(), Derived::className, n_, n_);
    return false;
}

/// y(k) = run k . the first k + 1 elements of x.
template <class Derived>
DoubleVec PackedMatCore<Derived>::runsDot(const DoubleVec& x) const
{
    DoubleVec y(n_);
    for (int k = 0, n = static_cast<int>(y.length()); k < n; ++k)
        y(k) = dot(run(k), x.slice(0, static_cast<unsigned>(k) + 1, 1));
    return y;
}

/// y = the sum of x(k) times run k, over k upwards.
template <class Derived>
DoubleVec PackedMatCore<Derived>::runsTimes(const DoubleVec& x) const
{
    DoubleVec y(n_, 0.0);
    for (int k = 0, n = static_cast<int>(y.length()); k < n; ++k) {
        const DoubleVec elements = run(k);
        for (int i = 0; i <= k; ++i) y(i) += elements(i) * x(k);
    }
    return y;
}

/// Both at once, each run standing for a row up to the diagonal and a column above it. Every y(k)
/// is one sum in index order.
template <class Derived>
DoubleVec PackedMatCore<Derived>::mirroredRunsTimes(const DoubleVec& x) const
{
    DoubleVec y(runsDot(x));
    for (int k = 1, n = static_cast<int>(y.length()); k < n; ++k) {
        const DoubleVec elements = run(k);
        for (int i = 0; i < k; ++i) y(i) += elements(i) * x(k);
    }
    return y;
}

// --- text ---

template <class Derived>
void PackedMatCore<Derived>::printOn(std::ostream& os) const
{
    const int width = static_cast<int>(os.width(0));
    os << Derived::className << ", ";
    this->printElements(os, width);
}

}  // namespace knotwork
