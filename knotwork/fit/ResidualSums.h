// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "knotwork/fit/DoubleDouble.h"
#include "knotwork/fit/ScaledRows.h"

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

    int width = 0;
    std::vector<double> high;
    std::vector<double> low;
};

/// What unknowns x leave of right-hand sides b, summed over the first rows of a system, each times
/// its weight w: the gradients X^T w r, cols() rows of them, and the squares w r^2.
struct ResidualSums {
    NumberBlock gradient;
    std::vector<double> squares;  ///< one sum a column
};

/// Rows and residuals in double precision, the gradients summed up without loss: what rounding did
/// to a residual, some eps times the numbers that it is made of, is all that is off. An empty x
/// stands for zeros. progress(n): n more rows are through; may be null.
ResidualSums sumResiduals(const ScaledRows& rows, int count, const NumberBlock& b,
                          const NumberBlock& x, const std::function<void(int)>& progress);

/// All of it in doubled precision, rows included; some thirty times the work.
ResidualSums sumResidualsExactly(const ScaledRows& rows, int count, const NumberBlock& b,
                                 const NumberBlock& x);

/// What x leaves of one right-hand side of a row, without its weight, in doubled precision.
DoubleDouble exactResidual(const ScaledRows& rows, int row, const NumberBlock& b,
                           const NumberBlock& x, int column);

}  // namespace knotwork
