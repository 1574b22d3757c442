// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cctype>
#include <cstring>
#include <istream>
#include <type_traits>

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/ElementTraits.h"
#include "knotwork/linalg/detail/VecCore.h"

namespace knotwork {

namespace detail {

const CoreErrors coreErrors;  // one for each unit that includes this

// The element loops. Contiguous operands get a loop of their own, which the compiler vectorises;
// operands may overlap, and then the order of the elements is part of the result.

template <class T, class Operation>
void mapElements(T* out, std::ptrdiff_t outStride, const T* in, std::ptrdiff_t inStride,
                 std::size_t n, Operation operation)
{
    if (outStride == 1 && inStride == 1) {
        for (std::size_t i = 0; i < n; ++i) out[i] = operation(in[i]);
        return;
    }
    for (std::size_t i = 0; i < n; ++i, out += outStride, in += inStride) *out = operation(*in);
}

template <class T, class Operation>
void zipElements(T* out, std::ptrdiff_t outStride, const T* a, std::ptrdiff_t aStride, const T* b,
                 std::ptrdiff_t bStride, std::size_t n, Operation operation)
{
    if (outStride == 1 && aStride == 1 && bStride == 1) {
        for (std::size_t i = 0; i < n; ++i) out[i] = operation(a[i], b[i]);
        return;
    }
    for (std::size_t i = 0; i < n; ++i, out += outStride, a += aStride, b += bStride)
        *out = operation(*a, *b);
}

template <class T, class Accumulator, class Operation>
Accumulator foldElements(const T* p, std::ptrdiff_t stride, std::size_t n, Accumulator start,
                         Operation operation)
{
    for (std::size_t i = 0; i < n; ++i, p += stride) start = operation(start, *p);
    return start;
}

inline int nextNonBlank(std::istream& is)
{
    int c = is.get();
    while (is.good() && std::isspace(c)) c = is.get();
    return c;
}

}  // namespace detail

// --- construction and sharing ---

template <class Derived, class T>
VecCore<Derived, T>::VecCore()
    : block_(new LXBlock(0, sizeof(T))), data_(nullptr), length_(0), stride_(1)
{
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(unsigned n) : block_(nullptr), data_(nullptr), length_(0), stride_(1)
{
    adopt(new LXBlock(n, sizeof(T)), n);
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(unsigned n, T value) : VecCore(n)
{
    fill(value);
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(unsigned n, T start, T increment) : VecCore(n)
{
    for (unsigned i = 0; i < length_; ++i, start = ElementTraits<T>::add(start, increment))
        data_[i] = start;
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(const T* p, unsigned n) : VecCore(n)
{
    if (length_ > 0) std::memcpy(data_, p, length_ * sizeof(T));
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(LXBlock* block, T* data, unsigned n, int stride)
    : block_(block), data_(data), length_(n), stride_(stride)
{
    block_->share();
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(const VecCore& v, int start, unsigned n, int stride)
    : VecCore(v.block_, v.data_, n,
              static_cast<int>(static_cast<unsigned>(v.stride_) * static_cast<unsigned>(stride)))
{
    if (data_ != nullptr) data_ += std::ptrdiff_t{v.stride_} * start;
}

/// Points at a new block, whose only user this is; without storage the vector is empty.
template <class Derived, class T>
void VecCore<Derived, T>::adopt(LXBlock* block, unsigned n)
{
    if (block_ != nullptr) LXBlock::release(block_);
    block_ = block;
    data_ = static_cast<T*>(block->storage());
    length_ = data_ != nullptr ? n : 0;
    stride_ = 1;
}

template <class Derived, class T>
void VecCore<Derived, T>::copyTo(T* destination, unsigned n) const
{
    if (n == 0 || destination == nullptr) return;
    if (stride_ == 1)
        std::memcpy(destination, data_, n * sizeof(T));
    else
        detail::mapElements(destination, 1, data_, stride_, n, [](T x) { return x; });
}

template <class Derived, class T>
Derived& VecCore<Derived, T>::reference(const Derived& v)
{
    v.block_->share();  // first, so that referencing oneself keeps the block alive
    LXBlock::release(block_);
    block_ = v.block_;
    data_ = v.data_;
    length_ = v.length_;
    stride_ = v.stride_;
    return self();
}

template <class Derived, class T>
Derived VecCore<Derived, T>::copy() const
{
    Derived result(length_);
    copyTo(result.data_, result.length_);
    return result;
}

template <class Derived, class T>
void VecCore<Derived, T>::deepenShallowCopy()
{
    if (block_->users() < 2 && stride_ == 1 && data_ == block_->storage()) return;
    LXBlock* fresh = new LXBlock(length_, sizeof(T));
    copyTo(static_cast<T*>(fresh->storage()), length_);
    adopt(fresh, length_);
}

template <class Derived, class T>
void VecCore<Derived, T>::resize(unsigned n)
{
    if (n == length_) return;
    LXBlock* fresh = new LXBlock(n, sizeof(T));
    const unsigned kept = std::min(length_, n);
    copyTo(static_cast<T*>(fresh->storage()), kept);
    adopt(fresh, n);
    std::fill(data_ + std::min(kept, length_), data_ + length_, T{0});
}

template <class Derived, class T>
void VecCore<Derived, T>::reshape(unsigned n)
{
    if (n != length_) adopt(new LXBlock(n, sizeof(T)), n);
}

template <class Derived, class T>
Derived VecCore<Derived, T>::slice(int start, unsigned n, int stride) const
{
    return Derived(*this, start, n, stride);
}

template <class Derived, class T>
void VecCore<Derived, T>::assign(const VecCore& v)
{
    if (v.block_ == block_) {  // overlapping views copy correctly only through a temporary
        const Derived apart = v.copy();
        lengthCheck(v.length_);
        apart.VecCore::copyInto(*this);
        return;
    }
    lengthCheck(v.length_);
    v.copyInto(*this);
}

template <class Derived, class T>
void VecCore<Derived, T>::copyInto(VecCore& target) const
{
    const unsigned n = std::min(length_, target.length_);
    if (target.stride_ == 1)
        copyTo(target.data_, n);
    else
        detail::mapElements(target.data_, target.stride_, data_, stride_, n, [](T x) { return x; });
}

template <class Derived, class T>
void VecCore<Derived, T>::fill(T value)
{
    if (stride_ == 1) {
        std::fill_n(data_, length_, value);
        return;
    }
    T* p = data_;
    for (unsigned i = 0; i < length_; ++i, p += stride_) *p = value;
}

// --- checks ---

template <class Derived, class T>
T& VecCore<Derived, T>::outOfRange(int i) const
{
    static T spare;  // handed out only when a handler returned from the fatal error
    boundsCheck(i);
    spare = T{0};
    return spare;
}

template <class Derived, class T>
void VecCore<Derived, T>::boundsCheck(int i) const
{
    if (!holds(i))
        raiseAs(0x3005, ElementTraits<T>::kVecOrigin, ElementTraits<T>::kVecName, i, length_ - 1);
}

template <class Derived, class T>
void VecCore<Derived, T>::lengthCheck(unsigned n) const
{
    if (length_ != n)
        raiseAs(0x300F, ElementTraits<T>::kVecOrigin, ElementTraits<T>::kVecName, length_, n);
}

template <class Derived, class T>
void VecCore<Derived, T>::sliceCheck(int start, unsigned n, int stride) const
{
    if (n == 0) return;
    const std::int64_t last = start + (std::int64_t{n} - 1) * stride;
    if (start < 0 || std::int64_t{start} >= length_ || last < 0 || last >= length_)
        raiseAs(0x300C, ElementTraits<T>::kVecOrigin, ElementTraits<T>::kVecName, start, n, stride,
                length_);
}

template <class Derived, class T>
void VecCore<Derived, T>::strideCheck() const
{
    if (stride_ != 1) raiseAs(0x300D, ElementTraits<T>::kVecOrigin, ElementTraits<T>::kVecName);
}

template <class Derived, class T>
void VecCore<Derived, T>::emptyErr(const char* operation) const
{
    raiseAs(0x3011, ElementTraits<T>::kVecOrigin, ElementTraits<T>::kVecName, operation);
}

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

// --- reading ---

template <class Derived, class T>
void VecCore<Derived, T>::scanFrom(std::istream& is)
{
    constexpr unsigned kGrowth = 128;
    unsigned count = 0;
    const auto readOne = [&]() {
        typename ElementTraits<T>::Read value = 0;
        if (!(is >> value)) return false;  // a value that ends at the end of file still counts
        if (count == length_) resize(length_ + kGrowth);
        if (count < length_) (*this)(static_cast<int>(count++)) = fromRead(value);
        return true;
    };
    int c = detail::nextNonBlank(is);
    if (c == '[') {
        c = detail::nextNonBlank(is);
        while (is.good() && c != ']') {
            is.putback(static_cast<char>(c));
            readOne();
            c = detail::nextNonBlank(is);
        }
    } else if (is.good()) {
        is.putback(static_cast<char>(c));
        while (readOne()) {
        }
    }
    resize(count);
}

template <class Derived, class T>
template <class Read>
T VecCore<Derived, T>::fromRead(Read value)
{
    if constexpr (std::is_same_v<T, signed char>)
        return lowByte(value);
    else
        return value;
}

}  // namespace knotwork
