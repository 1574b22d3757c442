// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

#include "knotwork/factor/kernels/ColumnMajor.h"

namespace knotwork {

/// Columns that take rotations wait for one result after the other; this many side by side wait
/// together.
constexpr int kTogether = 4;

/// Calls take(Count, j, columns) for columns j .. j + Count - 1 until all of first .. last - 1 had
/// their turn, in order. Count is an integral constant: kTogether, and 1 for what remains.
template <class Take>
void inColumnPanels(const ColumnMajor<double>& a, int first, int last, Take take)
{
    double* columns[kTogether];
    int j = first;
    for (; j + kTogether <= last; j += kTogether) {
        for (int c = 0; c < kTogether; ++c) columns[c] = a.column(j + c);
        take(std::integral_constant<int, kTogether>(), j, columns);
    }
    for (; j < last; ++j) {
        columns[0] = a.column(j);
        take(std::integral_constant<int, 1>(), j, columns);
    }
}

}  // namespace knotwork
