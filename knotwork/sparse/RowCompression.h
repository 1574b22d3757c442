// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <vector>

#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// Orthogonal compression of sparse rows: Q^T E = [R; 0] with R an upper triangle that is hardly
/// wider than the rows were, so that |E x - b| and |R x - c| differ by a constant.
/// Method    rows in the order of their first columns, those with the same one as a block that
///           Householder reflections reduce to zero against the triangle, column by column. A
///           block's zeros left of its first column are never touched, so M rows of p + 1 entries
///           cost O(M p^2). Where a row of the triangle is still empty a row moves in as it is.
/// Rows      any order, length and number; empty ones are passed over. Columns that no row reaches
///           leave an empty row of R.
/// Range     all of it: numbers are scaled by a power of two where squares would leave the doubles.
/// Source    Lawson, Hanson: Solving Least Squares Problems (SIAM 1995), chapter 27, the sequential
///           accumulation of banded rows.
class RowCompression {
  public:
    RowCompression() = default;
    explicit RowCompression(const SpanRows& rows) : RowCompression(rows, rows.rows()) {}
    RowCompression(const SpanRows& rows, int count);  ///< of its first `count` rows

    const BandTriangle& triangle() const { return triangle_; }
    int cols() const { return triangle_.size(); }

    /// c := the first rows of Q^T b. fetch(i, lanes) writes what the right-hand sides have in row
    /// i; it is asked once for every row that has entries. c: cols() rows of lanes.
    template <int Lanes, class Fetch>
    void compress(Fetch fetch, double* c) const;

  private:
    struct Block {
        int column;    // the first one
        int width;     // columns
        int rows;      // that are reduced
        int moved;     // place in order_ of the row that became a row of the triangle, or -1
        int firstRow;  // place in order_ of the first reduced row
        std::ptrdiff_t numbers;
        std::ptrdiff_t taus;
    };

    void sortRows(const SpanRows& rows, int count);
    void plan(const SpanRows& rows);
    void gather(const SpanRows& rows, double factor);
    void reduce();
    static BlockShape shapeOf(const Block& block);

    std::vector<int> order_;  // rows with entries, by first column
    std::vector<Block> blocks_;
    std::vector<double> numbers_;  // of all blocks
    std::vector<double> taus_;
    int mostRows_ = 0;
    int mostColumns_ = 0;
    BandTriangle triangle_;
};

template <int Lanes, class Fetch>
void RowCompression::compress(Fetch fetch, double* c) const
{
    std::fill_n(c, std::ptrdiff_t{Lanes} * cols(), 0.0);
    std::vector<double> below(static_cast<std::size_t>(mostRows_) * Lanes);
    for (const Block& block : blocks_) {
        double* top = c + std::ptrdiff_t{Lanes} * block.column;
        if (block.moved >= 0) fetch(order_[static_cast<std::size_t>(block.moved)], top);
        if (block.rows == 0) continue;
        const int* rows = &order_[static_cast<std::size_t>(block.firstRow)];
        for (int i = 0; i < block.rows; ++i)
            fetch(rows[i], below.data() + std::ptrdiff_t{Lanes} * i);
        reflectLanes<Lanes>(shapeOf(block), numbers_.data() + block.numbers,
                            taus_.data() + block.taus, top, below.data());
    }
}

}  // namespace knotwork
