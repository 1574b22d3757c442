// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/kernels/LaneKernels.h"

namespace knotwork {

/// Rows of a least-squares problem in which all rows of one span have the same `width` neighbouring
/// columns, those from the span's own number on: a small triangle a span, with its right-hand
/// sides, in place of however many rows it was made of, and the squares that the right-hand sides
/// have beyond it. Triangles of parts merge into that of the whole.
/// Method    Householder reflections of blocks of rows against the triangle.
/// Source    Lawson, Hanson: Solving Least Squares Problems (SIAM 1995), chapter 27.
class SpanTriangles {
  public:
    SpanTriangles(int spans, int width, int rhsWidth);

    int spans() const { return spans_; }
    int width() const { return width_; }
    int rhsWidth() const { return rhsWidth_; }
    int cols() const { return spans_ + width_ - 1; }

    /// Reduces `rows` rows against a span's triangle: width + rhsWidth columns of `leading` numbers
    /// each, a multiple of four, zeros beyond the rows. The columns are overwritten.
    void add(int span, int rows, std::ptrdiff_t leading, double* columns);
    void merge(const SpanTriangles& other);  ///< of the same shape

    /// Row i of a span's triangle: width - i entries from column span + i on, then the right-hand
    /// sides.
    const double* row(int span, int i) const
    {
        return numbers_.data() + size_ * span + starts_[static_cast<std::size_t>(i)];
    }
    const double* rhs(int span, int i) const { return row(span, i) + width_ - i; }
    bool empty(int span) const;  ///< whether nothing has been added to it but zeros
    double squares(int k) const { return squares_[static_cast<std::size_t>(k)]; }

    void scaleRows(double factor);        ///< all rows, right-hand sides too
    void scaleRhs(int k, double factor);  ///< one right-hand side

    std::vector<double>& numbers() { return numbers_; }  ///< span after span, row after row
    const std::vector<double>& numbers() const { return numbers_; }
    std::vector<double>& allSquares() { return squares_; }
    const std::vector<double>& allSquares() const { return squares_; }

  private:
    int spans_;
    int width_;
    int rhsWidth_;
    std::vector<std::ptrdiff_t> starts_;  // of a triangle's rows
    std::ptrdiff_t size_;                 // of a triangle
    std::vector<double> numbers_;
    std::vector<double> squares_;
    std::vector<double> scratch_;
};

}  // namespace knotwork
