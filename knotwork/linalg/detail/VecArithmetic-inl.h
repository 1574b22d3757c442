// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/ElementLoops.h"
#include "knotwork/linalg/detail/ElementTraits.h"
#include "knotwork/linalg/detail/VecCore.h"

/// The arithmetic, reductions and searches of VecCore.
namespace knotwork {

// --- element-wise arithmetic ---

template <class Derived, class T>
template <class Operation>
Derived VecCore<Derived, T>::mapped(const Derived& a, Operation operation)
{
    Derived result(a.length_);
    detail::mapElements(result.data_, 1, a.data_, a.stride_, result.length_, operation);
    return result;
}

template <class Derived, class T>
template <class Operation>
Derived VecCore<Derived, T>::zipped(const Derived& a, const Derived& b, Operation operation)
{
    a.lengthCheck(b.length_);
    Derived result(std::min(a.length_, b.length_));
    detail::zipElements(result.data_, 1, a.data_, a.stride_, b.data_, b.stride_, result.length_,
                        operation);
    return result;
}

template <class Derived, class T>
template <class Operation>
Derived& VecCore<Derived, T>::update(Operation operation)
{
    detail::mapElements(data_, stride_, data_, stride_, length_, operation);
    return self();
}

template <class Derived, class T>
template <class Operation>
Derived& VecCore<Derived, T>::update(const Derived& v, Operation operation)
{
    lengthCheck(v.length_);
    detail::zipElements(data_, stride_, data_, stride_, v.data_, v.stride_,
                        std::min(length_, v.length_), operation);
    return self();
}

template <class Derived, class T>
Derived VecCore<Derived, T>::sumOf(const Derived& a, const Derived& b)
{
    return zipped(a, b, ElementTraits<T>::add);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::differenceOf(const Derived& a, const Derived& b)
{
    return zipped(a, b, ElementTraits<T>::subtract);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::productOf(const Derived& a, const Derived& b)
{
    return zipped(a, b, ElementTraits<T>::multiply);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::quotientOf(const Derived& a, const Derived& b)
{
    return zipped(a, b, ElementTraits<T>::divide);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::sumOf(const Derived& a, T x)
{
    return mapped(a, [x](T e) { return ElementTraits<T>::add(e, x); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::productOf(const Derived& a, T x)
{
    return mapped(a, [x](T e) { return ElementTraits<T>::multiply(e, x); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::quotientOf(const Derived& a, T x)
{
    if constexpr (std::is_floating_point_v<T>)
        return productOf(a, 1.0 / x);
    else
        return mapped(a, [x](T e) { return ElementTraits<T>::divide(e, x); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::differenceOf(T x, const Derived& a)
{
    return mapped(a, [x](T e) { return ElementTraits<T>::subtract(x, e); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::quotientOf(T x, const Derived& a)
{
    return mapped(a, [x](T e) { return ElementTraits<T>::divide(x, e); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::negativeOf(const Derived& a)
{
    return mapped(a, ElementTraits<T>::negate);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::magnitudesOf(const Derived& v)
{
    return mapped(v, ElementTraits<T>::magnitude);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator+=(const Derived& v)
{
    return update(v, ElementTraits<T>::add);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator-=(const Derived& v)
{
    return update(v, ElementTraits<T>::subtract);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator*=(const Derived& v)
{
    return update(v, ElementTraits<T>::multiply);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator/=(const Derived& v)
{
    return update(v, ElementTraits<T>::divide);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator+=(T x)
{
    return update([x](T e) { return ElementTraits<T>::add(e, x); });
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator-=(T x)
{
    return *this += ElementTraits<T>::negate(x);
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator*=(T x)
{
    return update([x](T e) { return ElementTraits<T>::multiply(e, x); });
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator/=(T x)
{
    if constexpr (std::is_floating_point_v<T>)
        return *this *= 1.0 / x;
    else
        return update([x](T e) { return ElementTraits<T>::divide(e, x); });
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator++()
{
    return *this += T{1};
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::operator--()
{
    return *this -= T{1};
}

template <class Derived, class T>
bool VecCore<Derived, T>::equal(const Derived& a, const Derived& b)
{
    if (a.length_ != b.length_) return false;
    const T* p = a.data_;
    const T* q = b.data_;
    for (unsigned i = 0; i < a.length_; ++i, p += a.stride_, q += b.stride_)
        if (!(*p == *q)) return false;
    return true;
}

// --- reductions and searches ---

template <class Derived, class T>
T VecCore<Derived, T>::totalOf(const Derived& v)
{
    return detail::foldElements(v.data_, v.stride_, v.length_, T{0}, ElementTraits<T>::add);
}

template <class Derived, class T>
T VecCore<Derived, T>::totalProductOf(const Derived& v)
{
    return detail::foldElements(v.data_, v.stride_, v.length_, T{1}, ElementTraits<T>::multiply);
}

template <class Derived, class T>
T VecCore<Derived, T>::dotOf(const Derived& a, const Derived& b)
{
    a.lengthCheck(b.length_);
    const unsigned n = std::min(a.length_, b.length_);
    const T* q = b.data_;
    const std::ptrdiff_t step = b.stride_;
    return detail::foldElements(a.data_, a.stride_, n, T{0}, [&q, step](T total, T x) {
        total = ElementTraits<T>::add(total, ElementTraits<T>::multiply(x, *q));
        q += step;
        return total;
    });
}

template <class Derived, class T>
template <class Better>
int VecCore<Derived, T>::extremeIndexOf(const Derived& v, const char* operation, Better better)
{
    if (v.length_ == 0) {
        v.emptyErr(operation);
        return -1;
    }
    int best = 0;
    for (int i = 1, n = static_cast<int>(v.length_); i < n; ++i)
        if (better(v(i), v(best))) best = i;
    return best;
}

template <class Derived, class T>
int VecCore<Derived, T>::maxIndexOf(const Derived& v)
{
    return extremeIndexOf(v, "maxIndex", [](T x, T best) { return x > best; });
}

template <class Derived, class T>
int VecCore<Derived, T>::minIndexOf(const Derived& v)
{
    return extremeIndexOf(v, "minIndex", [](T x, T best) { return x < best; });
}

template <class Derived, class T>
T VecCore<Derived, T>::valueAt(const Derived& v, int i)
{
    return i < 0 ? T{0} : v(i);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::runningSumOf(const Derived& v)
{
    T total = 0;
    return mapped(v, [&total](T x) { return total = ElementTraits<T>::add(total, x); });
}

template <class Derived, class T>
Derived VecCore<Derived, T>::stepsOf(const Derived& v)
{
    T previous = 0;
    return mapped(v, [&previous](T x) {
        const T step = ElementTraits<T>::subtract(x, previous);
        previous = x;
        return step;
    });
}

template <class Derived, class T>
template <class Predicate>
int VecCore<Derived, T>::countWhere(Predicate matches) const
{
    return detail::foldElements(data_, stride_, length_, 0,
                                [&](int count, T x) { return count + (matches(x) ? 1 : 0); });
}

template <class Derived, class T>
template <class Predicate>
IntVec VecCore<Derived, T>::indexWhere(Predicate matches) const
{
    IntVec found(length_);
    int* next = found.data();
    for (int i = 0, n = static_cast<int>(found.length()); i < n; ++i)
        if (matches((*this)(i))) *next++ = i;
    const std::ptrdiff_t count = next - found.data();
    return found.slice(0, static_cast<unsigned>(count), 1);
}

template <class Derived, class T>
IntVec VecCore<Derived, T>::lessIndex(T v) const
{
    return indexWhere([v](T x) { return x < v; });
}

template <class Derived, class T>
int IntegerVecCore<Derived, T>::countValue(T v) const
{
    return this->countWhere([v](T x) { return x == v; });
}

template <class Derived, class T>
int IntegerVecCore<Derived, T>::isEqual(T v) const
{
    return countValue(v) == static_cast<int>(this->length()) ? 1 : 0;
}

template <class Derived, class T>
IntVec IntegerVecCore<Derived, T>::valueIndex(T v) const
{
    return this->indexWhere([v](T x) { return x == v; });
}

template <class Derived, class T>
IntVec IntegerVecCore<Derived, T>::nonValueIndex(T v) const
{
    return this->indexWhere([v](T x) { return x != v; });
}

}  // namespace knotwork
