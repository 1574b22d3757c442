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

    double* at(int i, int j) const { return corner + (leading * j + i); }
    Panel part(int row, int col, int partRows, int partCols) const
    {
        return {at(row, col), leading, partRows, partCols};
    }
};

/// The loops of a Householder factorisation that run over many columns. All walk down columns,
/// several at a time; a sum's order is in the source and does not depend on its column's place.

/// x_j -= tau (w . x_j) w for every column. w has panel.rows elements and lies outside the panel.
void reflectColumns(const double* w, double tau, const Panel& panel);

/// out(j) = v . x_j for every column.
void dotColumns(const Panel& panel, const double* v, double* out);

/// y += sum of v(j) x_j: the product of the panel with v, one accumulator per row.
void addCombination(const Panel& panel, const double* v, double* y);

/// x_j -= tau v(j) y for every column. With y the combination by v this is the reflection
/// I - tau v v^T from the right.
void subtractMultiples(const double* y, const double* v, double tau, const Panel& panel);

}  // namespace knotwork
