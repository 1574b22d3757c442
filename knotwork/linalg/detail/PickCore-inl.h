// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/ElementTraits.h"
#include "knotwork/linalg/detail/PickCore.h"

namespace knotwork {

template <class Derived, class VecT>
void PickCore<Derived, VecT>::lengthCheck(unsigned n) const
{
    using Traits = ElementTraits<Element>;
    if (length() != n) raiseAs(0x300F, Traits::kPickOrigin, Traits::kPickName, length(), n);
}

template <class Derived, class VecT>
void PickCore<Derived, VecT>::assign(const VecT& v)
{
    lengthCheck(v.length());
    const int n = static_cast<int>(std::min(length(), v.length()));
    for (int k = 0; k < n; ++k) (*this)(k) = v(k);
}

template <class Derived, class VecT>
void PickCore<Derived, VecT>::assign(const PickCore& p)
{
    lengthCheck(p.length());
    const int n = static_cast<int>(std::min(length(), p.length()));
    for (int k = 0; k < n; ++k) (*this)(k) = p(k);
}

template <class Derived, class VecT>
void PickCore<Derived, VecT>::fill(Element x)
{
    for (int k = 0, n = static_cast<int>(length()); k < n; ++k) (*this)(k) = x;
}

template <class Derived, class VecT>
void PickCore<Derived, VecT>::assertElements() const
{
    using Traits = ElementTraits<Element>;
    for (int k = 0, n = static_cast<int>(length()); k < n; ++k) {
        const int i = index_(k);
        if (i < 0 || static_cast<unsigned>(i) >= vec_.length())
            raiseAs(0x3005, Traits::kPickOrigin, Traits::kPickName, i, vec_.length() - 1);
    }
}

/// What `v = pick` does: the pick's length check, then a gather.
template <class VecT, class PickT>
VecT& gather(VecT& v, const PickT& p)
{
    p.lengthCheck(v.length());
    const int n = static_cast<int>(std::min(v.length(), p.length()));
    for (int k = 0; k < n; ++k) v(k) = p(k);
    return v;
}

}  // namespace knotwork
