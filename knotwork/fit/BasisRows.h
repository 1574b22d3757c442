// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/linalg/DoubleGenMat.h"

namespace knotwork {

/// The rows of a B-spline system without their zeros: degree + 1 entries each, from a first column.
class BasisRows {
  public:
    explicit BasisRows(const BsplineBasis& basis) : basis_(basis) {}

    void reserve(std::size_t rows);
    void append(double t, int derivative);
    /// Multiplies the entries of the last row.
    void scaleLast(double factor);
    double lastLength() const;

    int count() const { return static_cast<int>(firstColumn_.size()); }
    int width() const { return basis_.degree() + 1; }
    int firstColumn(int row) const { return firstColumn_[static_cast<std::size_t>(row)]; }
    const double* entries(int row) const
    {
        return &entries_[static_cast<std::size_t>(row) * static_cast<std::size_t>(width())];
    }
    /// The row times one coordinate of the unknowns, which lie `step` apart; accumulated in
    /// extended precision, for residuals.
    long double times(int row, const double* unknowns, int step) const;
    /// Adds a factor times the row to one number a column.
    void addTo(std::vector<long double>& totals, int row, double factor) const;
    DoubleGenMat dense() const;

  private:
    const BsplineBasis& basis_;
    std::vector<int> firstColumn_;
    std::vector<double> entries_;
};

}  // namespace knotwork
