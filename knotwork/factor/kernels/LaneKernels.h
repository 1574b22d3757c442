// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// Right-hand sides on the short road lie row after row, kFewLanes or kManyLanes numbers each: the
/// work runs across them.
constexpr int kFewLanes = 4;
constexpr int kManyLanes = 16;

/// A block of rows that lies, or lay, below a triangle: `width` columns of `leading` numbers each,
/// a multiple of four of which the first `rows` are in use and the others zero. Of the columns the
/// first `pivots`, 0 for all, are reduced; the others, right-hand sides, keep what is left.
struct BlockShape {
    std::ptrdiff_t leading;
    int rows;
    int width;
    int pivots = 0;
};

/// Reduces a block to zero against a triangle, column by column. Row i of the triangle, from its
/// diagonal entry on, is triangle[starts[i]], ... The columns turn into the vectors of the
/// reflections I - tau w w^T, where w is 1 in the triangle's row and v in the block.
/// scratch: `width` numbers.
void reduceBlock(const BlockShape& shape, double* columns, double* taus, double* triangle,
                 const std::ptrdiff_t* starts, double* scratch);

/// The same reflections on right-hand sides: top has a row for each of the block's columns, below
/// one for each of its rows. Lanes: kFewLanes or kManyLanes.
template <int Lanes>
void reflectLanes(const BlockShape& shape, const double* columns, const double* taus, double* top,
                  double* below);

/// y -= sum of row[k] x_k over k < count, the rows x_k of lanes lying one after the other.
template <int Lanes>
void subtractLanes(const double* row, int count, const double* x, double* y);

template <>
void reflectLanes<kFewLanes>(const BlockShape& shape, const double* columns, const double* taus,
                             double* top, double* below);
template <>
void reflectLanes<kManyLanes>(const BlockShape& shape, const double* columns, const double* taus,
                              double* top, double* below);
template <>
void subtractLanes<kFewLanes>(const double* row, int count, const double* x, double* y);
template <>
void subtractLanes<kManyLanes>(const double* row, int count, const double* x, double* y);

}  // namespace knotwork
