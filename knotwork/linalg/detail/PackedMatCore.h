// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/RODoubleRef.h"
#include "knotwork/linalg/detail/MatCore.h"

namespace knotwork {

/// The text behind DoubleSymMat, DoubleLowerTriMat and DoubleUpperTriMat: n x n, one triangle kept
/// in a vector of n (n + 1) / 2 elements, run after run; run k has k + 1 elements and starts at
/// k (k + 1) / 2. A leading part of the matrix is a leading part of the vector.
/// Elements  arithmetic, abs, apply and atan2 work on those that are stored, and on no others.
/// Sharing   as in MatCore.
/// Errors    all fatal, origin 0xF000: those of MatCore; 0x400A points, 0x400D not square (in text
///           too), 0x4014, 0x4015 products; 0x3008 for more elements than a vector can hold. Only
///           what says so checks indices. Should a host's handler return, nothing is written.
template <class Derived>
class KNOTWORK_EXPORT PackedMatCore : public MatCore<Derived, DoubleVec> {
    using Base = MatCore<Derived, DoubleVec>;

  public:
    PackedMatCore() : n_(0) {}
    PackedMatCore(unsigned rows, unsigned cols);                      ///< elements uninitialised
    PackedMatCore(const DoubleVec& v, unsigned rows, unsigned cols);  ///< a view of the packed v
    PackedMatCore(const PackedMatCore&) = default;                    ///< shares
    PackedMatCore& operator=(const PackedMatCore&) = delete;  // the named classes assign elements

    Derived& reference(const Derived& m);
    void resize(unsigned rows, unsigned cols);  ///< elements keep their (i, j); new ones are 0

    unsigned rows() const { return n_; }
    unsigned cols() const { return n_; }
    /// Not checked; 0.0 outside the stored triangle.
    double val(int i, int j) const { return Derived::stores(i, j) ? *place(i, j) : 0.0; }
    /// Checked; 0x4009 outside the stored triangle.
    double bcset(int i, int j, double x);

    Derived apply(double (*f)(double)) const;
    friend Derived atan2(const Derived& y, const Derived& x) { return atan2Of(y, x); }

    /// As general matrices do, with the class name and ", " before; zeros outside the triangle.
    /// What is not stored must be zero when read; of two mirrored elements the lower one counts.
    void printOn(std::ostream& os) const;

  protected:
    static std::ptrdiff_t inRun(int run, int at)
    {
        const std::ptrdiff_t k = run;
        return k * (k + 1) / 2 + at;
    }
    double* place(int i, int j) const
    {
        return const_cast<double*>(this->vec_.data()) +
               Derived::packedIndex(i, j) * this->vec_.stride();
    }
    DoubleVec run(int k) const;  // a view
    bool fitsRight(const DoubleVec& x) const;
    bool fitsLeft(const DoubleVec& x) const;
    DoubleVec runsDot(const DoubleVec& x) const;
    DoubleVec runsTimes(const DoubleVec& x) const;
    DoubleVec mirroredRunsTimes(const DoubleVec& x) const;
    Derived leadingPart(int k) const;
    DoubleGenMat unpacked() const;

  private:
    static Derived atan2Of(const Derived& y, const Derived& x);
    void emptyUnlessComplete();

    unsigned n_;
};

/// What the two triangular matrices have besides. Unlike all other accessors that are not called
/// bc..., those of elements to be written check the range.
template <class Derived>
class KNOTWORK_EXPORT TriMatCore : public PackedMatCore<Derived> {
  public:
    using PackedMatCore<Derived>::PackedMatCore;
    TriMatCore() = default;
    TriMatCore(const TriMatCore&) = default;
    TriMatCore& operator=(const TriMatCore&) = delete;

    RODoubleRef operator()(int i, int j) { return bcref(i, j); }
    double operator()(int i, int j) const { return this->val(i, j); }
    RODoubleRef ref(int i, int j) { return bcref(i, j); }
    /// Checked; the shared read-only zero outside the stored triangle.
    RODoubleRef bcref(int i, int j);
    /// Stores where the packing puts (i, j) without any check, which is intended: outside the
    /// triangle that is some other element.
    double set(int i, int j, double x) { return *this->place(i, j) = x; }
};

}  // namespace knotwork
