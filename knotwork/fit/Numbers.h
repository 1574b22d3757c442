// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/geometry/TtupleVector.h"

namespace knotwork {

bool allFinite(const DoubleVec& v);

double largestMagnitude(const DoubleVec& v);  ///< 0 without numbers, NaN if one of them is

/// The numbers one behind the other: shared where they lie so, else a copy.
DoubleVec contiguous(const DoubleVec& v);

}  // namespace knotwork
