// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/detail/PanelLoops.h"

namespace knotwork {

/// Reflections of one column block multiplied together: I - V T V^T, T upper triangular, of order
/// `count`. V's columns lie side by side; its first `count` rows, zero above the diagonal, are kept
/// apart in `top`, so that the rows of a matrix which holds both V and R need not be disturbed.
struct ReflectionBlock {
    static constexpr int kMost = 8;

    int count;
    const double* below;       // V(count, 0)
    std::ptrdiff_t leading;    // from one column of V to the next
    int rowsBelow;             // rows of V beyond the first `count`
    double top[kMost][kMost];  // top[r][i] = V(i, r)
    double T[kMost][kMost];    // T[r][i] = T(i, r)
};

/// panel = (I - V T^T V^T) panel: the block's first reflection goes first. The panel's rows are
/// V's.
void reflectByBlock(const ReflectionBlock& block, const Panel& panel);

/// For up to kPanel columns, each in one pass: columns[c][i] += factors[c] u[i], and then
/// out[c] = sum of v[i] columns[c][i], for i from 0 to n - 1.
void updateAndDot(int n, const double* u, const double* factors, const double* v,
                  double* const* columns, int count, double* out);

}  // namespace knotwork
