// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

constexpr int kRankMost = 32;  // columns of a in one update

/// c += a b on parts of larger column-major arrays: c is rows x cols, a has `depth` columns, at
/// most kRankMost of them, and b that many rows. Each element adds its products one by one in the
/// order of a's columns, each rounded first: the bits of that many column updates in a row. Nothing
/// is allocated; a is laid out anew on the stack, some rows at a time.
struct RankUpdate {
    const double* a;
    std::ptrdiff_t aLeading;
    const double* b;
    std::ptrdiff_t bLeading;
    double* c;
    std::ptrdiff_t cLeading;
    int rows;
    int cols;
    int depth;
};
void rankUpdate(const RankUpdate& u);

}  // namespace knotwork
