// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "knotwork/geometry/TtupleVector.h"

namespace knotwork {

bool allFinite(const DoubleVec& v);
int firstNotFinite(const DoubleVec& v);  ///< its index, -1 where all are finite

/// As short as it can be read back from, the same in every locale.
std::string shortestText(double x);

double largestMagnitude(const DoubleVec& v);  ///< 0 without numbers, NaN if one of them is

/// The numbers one behind the other: shared where they lie so, else a copy.
DoubleVec contiguous(const DoubleVec& v);

}  // namespace knotwork
