// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork {

/// New vectors as long as x, by a permutation counted from 0. Entries that name no element are
/// skipped and leave 0.0. Other lengths than x's: 0x5004, and should a handler return, what both
/// have is moved.
DoubleVec permuted(const DoubleVec& x, const IntVec& pivots);    ///< result(i) = x(pivots(i))
DoubleVec unpermuted(const DoubleVec& x, const IntVec& pivots);  ///< result(pivots(i)) = x(i)

}  // namespace knotwork
