// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork {

/// The text behind the vector picks: a view of the elements of a vector that an index vector
/// names. Shares the blocks of both, so later changes of the indices show.
/// Errors    0x300F when an assigned source has another length; indices are never checked.
template <class Derived, class VecT>
class KNOTWORK_EXPORT PickCore {
  public:
    using Element = typename VecT::Element;

    PickCore(const PickCore&) = default;
    PickCore& operator=(const PickCore&) = delete;  // the named classes assign elements

    unsigned length() const { return index_.length(); }
    Element& operator()(int k) { return vec_(index_(k)); }
    Element operator()(int k) const { return vec_(index_(k)); }
    void lengthCheck(unsigned n) const;

    friend VecT operator+(const Derived& p, Element x) { return VecT(p) + x; }
    friend VecT operator*(const Derived& p, Element x) { return VecT(p) * x; }

  protected:
    PickCore(const VecT& v, const IntVec& index) : vec_(v), index_(index) {}
    void assign(const VecT& v);      // in order of k: a repeated index keeps the last value
    void assign(const PickCore& p);  // likewise, with no temporary between
    void fill(Element x);
    void assertElements() const;  // 0x3005 for each index outside the vector

  private:
    VecT vec_;
    IntVec index_;
};

}  // namespace knotwork
