// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// Rows of `width` numbers in doubled precision; the low halves may be left out, as zeros.
struct NumberBlock {
    NumberBlock() = default;
    NumberBlock(int rows, int w, bool withLow)
        : width(w), high(size(rows, w), 0.0), low(withLow ? size(rows, w) : 0, 0.0)
    {
    }
    static std::size_t size(int rows, int w)
    {
        return static_cast<std::size_t>(rows) * static_cast<std::size_t>(w);
    }

    std::size_t at(int row, int c) const { return size(row, width) + static_cast<std::size_t>(c); }
    DoubleDouble number(int row, int c) const
    {
        return {high[at(row, c)], low.empty() ? 0.0 : low[at(row, c)]};
    }
    void set(int row, int c, DoubleDouble x)
    {
        high[at(row, c)] = x.high;
        low[at(row, c)] = x.low;
    }
    void add(int row, int c, DoubleDouble x) { set(row, c, number(row, c) + x); }

    int width = 0;
    std::vector<double> high;
    std::vector<double> low;
};

/// What unknowns x leave of right-hand sides b, summed over rows X, each times its weight w: the
/// gradients X^T w r, a row an unknown, and the squares w r^2, one sum a right-hand side. The high
/// and the low halves of a gradient are sums of their own.
struct ResidualSums {
    ResidualSums(int unknowns, int width)
        : gradient(unknowns, width, true), squares(static_cast<std::size_t>(width), 0.0)
    {
    }
    NumberBlock gradient;
    std::vector<double> squares;
};

/// The rows of a least-squares problem, with their right-hand sides, as a refinement asks for them.
class FitRows {
  public:
    virtual ~FitRows() = default;
    /// Rows and residuals in double precision, the gradients summed up without loss: what rounding
    /// did to a residual, some eps times the numbers that it is made of, is all that is off. An
    /// empty x stands for zeros.
    virtual ResidualSums residualSums(const NumberBlock& x) const = 0;
    /// All of it in doubled precision, rows included; some thirty times the work.
    virtual ResidualSums exactResidualSums(const NumberBlock& x) const = 0;
    /// By how much rows are off, relatively, in double precision and in doubled.
    virtual double rounding() const { return 0x1p-52; }
    virtual double exactRounding() const { return 0x1p-100; }
    virtual double count() const = 0;  ///< of rows
};

}  // namespace knotwork
