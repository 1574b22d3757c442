// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/Permutation.h"

#include <algorithm>

#include "knotwork/linalg/LXError.h"

namespace knotwork {

namespace {

/// Calls move(result, i, pivots(i)) for every entry that names an element.
template <class Move>
DoubleVec moved(const DoubleVec& x, const IntVec& pivots, Move move)
{
    if (x.length() != pivots.length()) lxRaise(0x5004, x.length(), pivots.length());
    DoubleVec result(x.length(), 0.0);
    const int length = static_cast<int>(result.length());  // 0 without memory
    const int count = std::min(length, static_cast<int>(pivots.length()));
    for (int i = 0; i < count; ++i)
        if (pivots(i) >= 0 && pivots(i) < length) move(result, i, pivots(i));
    return result;
}

}  // namespace

DoubleVec permuted(const DoubleVec& x, const IntVec& pivots)
{
    return moved(x, pivots, [&](DoubleVec& result, int i, int pivot) { result(i) = x(pivot); });
}

DoubleVec unpermuted(const DoubleVec& x, const IntVec& pivots)
{
    return moved(x, pivots, [&](DoubleVec& result, int i, int pivot) { result(pivot) = x(i); });
}

}  // namespace knotwork
