// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <initializer_list>

#include "knotwork/linalg/DoubleVec.h"

class TxformMatrix;

namespace knotwork {

/// The product of the extents' absolute values, or 0 after error 0x3008 when no vector can count
/// that far.
unsigned numberCount(std::initializer_list<int> extents);

/// |n|, of which the largest int is the most that can be said.
int extentOf(int n);

/// DoubleVec::slice for starts that an int cannot name.
DoubleVec viewOf(const DoubleVec& numbers, std::ptrdiff_t start, unsigned n, int step);

/// Transforms one point of at least three coordinates; `point` is a view.
void transformPoint(DoubleVec point, TxformMatrix& xf);

}  // namespace knotwork
