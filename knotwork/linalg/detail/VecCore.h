// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/linalg/LXBlock.h"

class IntVec;

namespace knotwork {

template <class Derived, class VecT>
class PickCore;
template <class Derived, class VecT>
class MatCore;
template <class Derived, class VecT, class PickT>
class GenMatCore;

/// The text behind DoubleVec, IntVec and SCharVec: a strided view on a shared block.
/// Sharing   copies, slices and returned vectors share the block; writing through one shows in all.
///           operator= copies elements into the storage that is there and faults on another length;
///           reference() re-points; copy(), deepenShallowCopy(), resize() and reshape() separate.
/// Order     every loop walks from element 0 upwards with one accumulator: same bits on every CPU.
/// Errors    0x3005 index, 0x3008 memory, 0x300C slice, 0x300D stride, 0x300F lengths (all fatal);
///           0x3011 empty (a warning). Only operator[] and the ...Check members look at indices:
///           operator(), sub() and slice() out of range are undefined. Should a host's handler
///           return from a fatal error, operator[] gives a spare element and loops run over the
///           shorter operand. A vector without memory has no elements, and then neither have its
///           slices; one that deepenShallowCopy() cannot separate goes on sharing.
/// Limits    2^31 - 1 elements, so that an int can name each: more are an error 0x3008.
template <class Derived, class T>
class KNOTWORK_EXPORT VecCore {
  public:
    using Element = T;

    VecCore();
    explicit VecCore(unsigned n);  ///< elements uninitialised
    VecCore(unsigned n, T value);
    VecCore(unsigned n, T start, T increment);  ///< by repeated addition, so rounding accumulates
    VecCore(const T* p, unsigned n);            ///< copies n elements
    VecCore(const VecCore& v)
        : block_(v.block_), data_(v.data_), length_(v.length_), stride_(v.stride_)
    {
        block_->share();
    }
    ~VecCore() { LXBlock::release(block_); }
    VecCore& operator=(const VecCore&) = delete;  // the named classes assign elements

    Derived& reference(const Derived& v);  ///< shares v's storage from now on
    Derived copy() const;                  ///< contiguous storage of its own
    Derived deepCopy() const { return copy(); }
    void deepenShallowCopy();  ///< private, contiguous, from the start of its block
    // Neither does anything where n is the length already: then the storage is the old one, shared
    // or strided as it was.
    void resize(unsigned n);   ///< new storage, common elements kept, added ones 0
    void reshape(unsigned n);  ///< new storage, elements uninitialised
    void forget();             ///< no elements from now on; needs no memory, sharers keep theirs

    T& operator[](int i) { return holds(i) ? (*this)(i) : outOfRange(i); }
    T operator[](int i) const { return holds(i) ? (*this)(i) : outOfRange(i); }
    T& operator()(int i) { return data_[std::ptrdiff_t{stride_} * i]; }
    T operator()(int i) const { return data_[std::ptrdiff_t{stride_} * i]; }
    /// Raw access for code that already required stride 1: the stride is left out on purpose.
    T& sub(int i) { return data_[i]; }
    T sub(int i) const { return data_[i]; }
    T* data() { return data_; }
    const T* data() const { return data_; }
    unsigned length() const { return length_; }
    int stride() const { return stride_; }
    Derived slice(int start, unsigned n, int stride) const;  ///< a view; not checked

    void boundsCheck(int i) const;
    void lengthCheck(unsigned n) const;
    void sliceCheck(int start, unsigned n, int stride) const;
    void strideCheck() const;
    void emptyErr(const char* operation) const;

    Derived& operator+=(const Derived& v);
    Derived& operator-=(const Derived& v);
    Derived& operator*=(const Derived& v);
    Derived& operator/=(const Derived& v);  ///< integers: truncates, zero divisors not checked
    Derived& operator+=(T x);
    Derived& operator-=(T x);  ///< adds -x
    Derived& operator*=(T x);
    /// double: multiplies by 1.0 / x, which rounds differently from dividing; intended.
    Derived& operator/=(T x);
    Derived& operator++();
    Derived& operator--();

    IntVec lessIndex(T v) const;  ///< ascending positions of the elements below v

    /// Reads "[ 1 2 3 ]" or bare numbers up to the first text that is none (the stream then
    /// fails); doubles may be inf or nan. Values overwrite the elements that are there, then the
    /// length follows the count. Without memory there are no elements.
    void scanFrom(std::istream& is);

    friend Derived operator+(const Derived& a, const Derived& b) { return sumOf(a, b); }
    friend Derived operator-(const Derived& a, const Derived& b) { return differenceOf(a, b); }
    friend Derived operator*(const Derived& a, const Derived& b) { return productOf(a, b); }
    friend Derived operator+(const Derived& a, T x) { return sumOf(a, x); }
    friend Derived operator*(const Derived& a, T x) { return productOf(a, x); }
    friend Derived operator-(const Derived& a) { return negativeOf(a); }
    friend bool operator==(const Derived& a, const Derived& b) { return equal(a, b); }
    friend bool operator!=(const Derived& a, const Derived& b) { return !equal(a, b); }
    friend std::istream& operator>>(std::istream& is, Derived& v)
    {
        v.scanFrom(is);
        return is;
    }

    friend T sum(const Derived& v) { return totalOf(v); }
    friend T prod(const Derived& v) { return totalProductOf(v); }
    friend T dot(const Derived& a, const Derived& b) { return dotOf(a, b); }
    friend int maxIndex(const Derived& v) { return maxIndexOf(v); }            ///< -1 when empty
    friend int minIndex(const Derived& v) { return minIndexOf(v); }            ///< -1 when empty
    friend T maxValue(const Derived& v) { return valueAt(v, maxIndexOf(v)); }  ///< 0 when empty
    friend T minValue(const Derived& v) { return valueAt(v, minIndexOf(v)); }  ///< 0 when empty
    friend Derived abs(const Derived& v) { return magnitudesOf(v); }
    friend Derived cumsum(const Derived& v) { return runningSumOf(v); }
    friend Derived delta(const Derived& v) { return stepsOf(v); }  ///< element 0 is v(0)
    friend Derived reverse(const Derived& v)  ///< a writable view, last element first
    {
        return v.slice(static_cast<int>(v.length_ - 1), v.length_, -1);
    }

  protected:
    void assign(const VecCore& v);
    void fill(T value);
    template <class Predicate>
    int countWhere(Predicate matches) const;
    template <class Predicate>
    IntVec indexWhere(Predicate matches) const;

    // The matrix classes are built on these; not all of them are operators of the vectors.
    static Derived sumOf(const Derived& a, const Derived& b);
    static Derived differenceOf(const Derived& a, const Derived& b);
    static Derived productOf(const Derived& a, const Derived& b);
    static Derived quotientOf(const Derived& a, const Derived& b);
    static Derived sumOf(const Derived& a, T x);
    static Derived productOf(const Derived& a, T x);
    static Derived quotientOf(const Derived& a, T x);  // double: times the reciprocal
    static Derived differenceOf(T x, const Derived& a);
    static Derived quotientOf(T x, const Derived& a);
    static Derived negativeOf(const Derived& a);
    static Derived magnitudesOf(const Derived& v);
    static bool equal(const Derived& a, const Derived& b);
    static T dotOf(const Derived& a, const Derived& b);

  private:
    template <class D, class V>
    friend class PickCore;
    template <class D, class V>
    friend class MatCore;
    template <class D, class V, class P>
    friend class GenMatCore;

    VecCore(LXBlock* block, T* data, unsigned n, int stride);
    VecCore(const VecCore& v, int start, unsigned n, int stride);

    bool holds(int i) const { return i >= 0 && static_cast<unsigned>(i) < length_; }
    T& outOfRange(int i) const;
    void adopt(LXBlock* block, unsigned n);
    static LXBlock* blockFor(unsigned n);
    void copyTo(T* destination, unsigned n) const;
    void copyInto(VecCore& target) const;
    void scanElements(std::istream& is);
    template <class Read>
    static T fromRead(Read value);
    template <class Operation>
    static Derived mapped(const Derived& a, Operation operation);
    template <class Operation>
    static Derived zipped(const Derived& a, const Derived& b, Operation operation);
    template <class Operation>
    Derived& update(Operation operation);
    template <class Operation>
    Derived& update(const Derived& v, Operation operation);
    Derived& self() { return static_cast<Derived&>(*this); }

    static T totalOf(const Derived& v);
    static T totalProductOf(const Derived& v);
    static int maxIndexOf(const Derived& v);
    static int minIndexOf(const Derived& v);
    template <class Better>
    static int extremeIndexOf(const Derived& v, const char* operation, Better better);
    static T valueAt(const Derived& v, int i);
    static Derived runningSumOf(const Derived& v);
    static Derived stepsOf(const Derived& v);

    LXBlock* block_;  // never null
    T* data_;         // element 0, not necessarily the start of the block
    unsigned length_;
    int stride_;  // in elements; negative after reverse()
};

/// What IntVec and SCharVec have beyond VecCore: comparisons without a tolerance.
template <class Derived, class T>
class KNOTWORK_EXPORT IntegerVecCore : public VecCore<Derived, T> {
  public:
    using VecCore<Derived, T>::VecCore;
    IntegerVecCore() = default;
    IntegerVecCore(const IntegerVecCore&) = default;
    IntegerVecCore& operator=(const IntegerVecCore&) = delete;

    int countValue(T v) const;
    int isEqual(T v) const;  ///< 1 when every element equals v, so for an empty vector too
    IntVec valueIndex(T v) const;
    IntVec nonValueIndex(T v) const;
};

}  // namespace knotwork
