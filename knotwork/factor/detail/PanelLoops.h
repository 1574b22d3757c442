// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// `rows` x `cols` elements of a larger column-major array.
struct Panel {
    double* corner;
    std::ptrdiff_t leading;
    int rows;
    int cols;
};

/// The loops of a Householder factorisation that run over many columns. All walk down columns,
/// several at a time; a sum's order is in the source and does not depend on its column's place.

/// x_j -= ((v . x_j) / v(0)) v for every column: the reflection I - v v^T / v(0) from the left.
/// v has panel.rows elements, v(0) != 0, and lies outside the panel.
void reflectColumns(const double* v, const Panel& panel);

/// y = sum of v(j) x_j: the product of the panel with v, one accumulator per row.
void combineColumns(const Panel& panel, const double* v, double* y);

/// x_j -= (v(j) / pivot) y for every column. With y from combineColumns over a whole row range and
/// pivot = v(0) of that range, this is the reflection I - v v^T / v(0) from the right.
void subtractMultiples(const double* y, const double* v, double pivot, const Panel& panel);

}  // namespace knotwork
