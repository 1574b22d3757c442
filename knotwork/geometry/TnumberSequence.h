// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/linalg/DoubleVec.h"

class IntVec;

/// A knot sequence: plain parameters in non-decreasing order. Equal neighbours are one breakpoint,
/// their number its multiplicity; both are found anew on every call.
/// Order     the constructor from a vector sorts, add() and remove() keep the order; the stepping
///           constructor, reference() and operator= trust what they are given.
/// Equality  exact everywhere but in extra(), whose bound is inclusive.
/// Sharing   copies are private; reference() and data() share. add() and remove() build new
///           storage, so a vector from an earlier data() keeps the old numbers. operator= copies
///           elements into the storage that is there and faults on another length, 0x300F.
/// Errors    0x300F; 0x3008 when memory runs out, the numbers then being the old ones.
class KNOTWORK_EXPORT TnumberSequence {
  public:
    TnumberSequence() = default;
    TnumberSequence(const TnumberSequence& other);  ///< a private copy
    TnumberSequence(const DoubleVec& v);            ///< a private copy, sorted
    /// n numbers from start on by repeated addition, so rounding accumulates; none for n < 0.
    TnumberSequence(double start, double step, int n);

    TnumberSequence& operator=(const TnumberSequence& other);
    TnumberSequence& reference(const TnumberSequence& other);
    void deepenShallowCopy() { numbers_.deepenShallowCopy(); }

    double operator()(int i) const { return numbers_(i); }  ///< not checked
    int length() const { return static_cast<int>(numbers_.length()); }
    DoubleVec data() const { return numbers_; }  ///< shares

    /// Merges v, which has to be in order already; among equals the present numbers come first.
    void add(const DoubleVec& v);
    void add(double x, int multiplicity);  ///< after all numbers <= x; nothing below 1
    bool remove(int i);                    ///< false for a bad index

    DoubleVec breakpoints() const;     ///< the distinct values, in order
    IntVec multiplicities() const;     ///< one for each breakpoint
    int whichBreakpoint(int i) const;  ///< that of knot i: -1 past the end, 0 for i < 0
    /// The index of the last number <= x: -1 below all of them, length() - 1 from the last one on.
    /// With `left`, the last non-empty interval that ends at or before that number, or 0. Intended:
    /// that step looks at the number, never at x again, as callers ask it for parameters on a knot.
    int findInterval(double x, bool left) const;

    /// The numbers of b without a partner in a: multiset difference b - a, matched one to one where
    /// |a - b| <= tol.
    static DoubleVec extra(const TnumberSequence& a, const TnumberSequence& b, double tol);

    static void sortDoubleVecInPlace(DoubleVec& v);  ///< ascending, stable; v may be a strided view
    static void sortIntVecInPlace(IntVec& v);        ///< likewise

  private:
    DoubleVec numbers_;
};
