// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "knotwork/factor/PanelKernels.h"

namespace knotwork {

/// Several right-hand sides (or solutions) on their way through a factorisation. Both forms do the
/// same work on each; they differ in how the numbers lie.

/// Up to kPanel right-hand sides, each contiguous: the work runs along the rows.
class ColumnBlock {
  public:
    ColumnBlock(int rows, int width)
        : width_(width), numbers_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(width))
    {
        for (int c = 0; c < width; ++c) columns_[c] = numbers_.data() + std::ptrdiff_t{rows} * c;
    }

    int width() const { return width_; }
    double& at(std::ptrdiff_t row, int c) { return columns_[c][row]; }
    void clear() { std::fill(numbers_.begin(), numbers_.end(), 0.0); }

    /// r += (v . r) beta v for each right-hand side r, unless the product is negligible.
    void reflect(RowRangeSpan rows, const double* v, double beta, double negligible)
    {
        double factors[kPanel] = {};
        panelDot(rows, v, columns_, width_, factors);
        for (double& d : factors) d = std::fabs(d) <= negligible ? 0.0 : d * beta;
        panelUpdate(rows, v, columns_, width_, factors);
    }

    /// r -= values[c] v for right-hand side c.
    void subtract(RowRangeSpan rows, const double* v, const double* values)
    {
        double factors[kPanel] = {};
        for (int c = 0; c < width_; ++c) factors[c] = -values[c];
        panelUpdate(rows, v, columns_, width_, factors);
    }

  private:
    int width_;
    std::vector<double> numbers_;
    double* columns_[kPanel] = {};
};

/// Up to kInterleaved right-hand sides, row after row: the work runs across them.
class InterleavedBlock {
  public:
    InterleavedBlock(int rows, int width)
        : width_(width), numbers_(static_cast<std::size_t>(rows) * kInterleaved)
    {
    }

    int width() const { return width_; }
    double& at(std::ptrdiff_t row, int c)
    {
        return numbers_[static_cast<std::size_t>(row * kInterleaved + c)];
    }
    void clear() { std::fill(numbers_.begin(), numbers_.end(), 0.0); }

    void reflect(RowRangeSpan rows, const double* v, double beta, double negligible)
    {
        double factors[kInterleaved];
        interleavedDot(rows, v, numbers_.data(), factors);
        for (double& d : factors) d = std::fabs(d) <= negligible ? 0.0 : d * beta;
        interleavedUpdate(rows, v, numbers_.data(), factors);
    }

    void subtract(RowRangeSpan rows, const double* v, const double* values)
    {
        double factors[kInterleaved] = {};
        for (int c = 0; c < width_; ++c) factors[c] = -values[c];
        interleavedUpdate(rows, v, numbers_.data(), factors);
    }

  private:
    int width_;
    std::vector<double> numbers_;
};

}  // namespace knotwork
