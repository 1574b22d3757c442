// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// Row compression of rows that come one at a time, with their right-hand sides, in any order and
/// any number: what is kept is the triangle, its right-hand sides and a few thousand rows that wait
/// to be compressed with it. A weighted row comes multiplied by the root of its weight.
class RowStream {
  public:
    RowStream(int cols, int rhsWidth);

    /// A row with entries in columns [first, first + count) and rhsWidth numbers on the right.
    void add(int first, const double* values, int count, const double* rhs);
    void finish();  ///< compresses what waits; more rows may follow

    /// R and c of the rows so far, as of the last finish().
    const BandTriangle& triangle() const { return triangle_; }
    const double* rhs(int j) const;
    long long rows() const { return rows_; }

  private:
    SpanRows waiting_;
    std::vector<double> waitingRhs_;
    BandTriangle triangle_;
    std::vector<double> rhs_;
    int rhsWidth_;
    int mostWaiting_;
    long long rows_ = 0;
};

}  // namespace knotwork
