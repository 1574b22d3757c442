// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <istream>
#include <limits>
#include <type_traits>

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/ElementLoops.h"
#include "knotwork/linalg/detail/ElementTraits.h"
#include "knotwork/linalg/detail/OutOfMemory.h"
#include "knotwork/linalg/detail/SpareElement.h"
#include "knotwork/linalg/detail/VecArithmetic-inl.h"
#include "knotwork/linalg/detail/VecCore.h"

namespace knotwork {

namespace detail {

const CoreErrors coreErrors;  // one for each unit that includes this

inline int nextNonBlank(std::istream& is)
{
    int c = is.get();
    while (is.good() && std::isspace(c)) c = is.get();
    return c;
}

inline void readNumber(std::istream& is, int& value)
{
    is >> value;
}

/// Streams write infinities and NaN as words and do not read them back: this does, with a sign.
inline void readNumber(std::istream& is, double& value)
{
    int c = nextNonBlank(is);
    const int sign = c == '-' || c == '+' ? c : 0;
    if (sign != 0 && std::isalpha(is.peek())) c = is.get();
    if (!is.good() || !std::isalpha(c)) {
        if (is.good()) is.putback(static_cast<char>(c));
        is >> value;
        return;
    }
    const bool infinite = std::tolower(c) == 'i';
    const char* word = infinite ? "inf" : "nan";
    for (const char* letter = word; *letter != '\0'; ++letter) {
        if (std::tolower(c) != *letter) {  // some other text, which begins here
            is.unget();
            is.setstate(std::ios::failbit);
            return;
        }
        if (letter[1] != '\0') c = is.get();
    }
    using Limits = std::numeric_limits<double>;
    value = std::copysign(infinite ? Limits::infinity() : Limits::quiet_NaN(),
                          sign == '-' ? -1.0 : 1.0);
}

}  // namespace detail

// --- construction and sharing ---

template <class Derived, class T>
VecCore<Derived, T>::VecCore() : block_(blockFor(0)), data_(nullptr), length_(0), stride_(1)
{
}

template <class Derived, class T>
VecCore<Derived, T>::VecCore(unsigned n) : block_(nullptr), data_(nullptr), length_(0), stride_(1)
{
    adopt(blockFor(n), n);
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
    if (data_ != nullptr)
        data_ += std::ptrdiff_t{v.stride_} * start;
    else
        length_ = 0;  // where there are no elements there are none in a part
}

/// A new block; one without storage, after the error, for more elements than there can be.
template <class Derived, class T>
LXBlock* VecCore<Derived, T>::blockFor(unsigned n)
{
    if (n <= static_cast<unsigned>(std::numeric_limits<int>::max()))
        return LXBlock::make(n, sizeof(T));
    LXBlock::raiseOutOfMemory();
    return LXBlock::make(0, sizeof(T));
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
    LXBlock* fresh = blockFor(length_);
    if (fresh->storage() == nullptr && length_ > 0) return LXBlock::release(fresh);
    copyTo(static_cast<T*>(fresh->storage()), length_);
    adopt(fresh, length_);
}

template <class Derived, class T>
void VecCore<Derived, T>::forget()
{
    block_->dropStorage();
    data_ = nullptr;
    length_ = 0;
    stride_ = 1;
}

template <class Derived, class T>
void VecCore<Derived, T>::resize(unsigned n)
{
    if (n == length_) return;
    LXBlock* fresh = blockFor(n);
    const unsigned kept = std::min(length_, n);
    copyTo(static_cast<T*>(fresh->storage()), kept);
    adopt(fresh, n);
    std::fill(data_ + std::min(kept, length_), data_ + length_, T{0});
}

template <class Derived, class T>
void VecCore<Derived, T>::reshape(unsigned n)
{
    if (n != length_) adopt(blockFor(n), n);
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
    boundsCheck(i);
    return spareElement<T>();
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

// --- reading ---

template <class Derived, class T>
void VecCore<Derived, T>::scanFrom(std::istream& is)
{
    completed([&] { scanElements(is); }, [&] { forget(); });
}

template <class Derived, class T>
void VecCore<Derived, T>::scanElements(std::istream& is)
{
    constexpr unsigned kGrowth = 128;
    unsigned count = 0;
    const auto readOne = [&]() {
        typename ElementTraits<T>::Read value = 0;
        detail::readNumber(is, value);
        if (!is) return false;  // a value that ends at the end of file still counts
        if (count == length_) resize(length_ + kGrowth);
        (*this)(static_cast<int>(count++)) = fromRead(value);
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
