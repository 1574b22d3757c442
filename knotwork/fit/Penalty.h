// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/DoubleDouble.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/sparse/SpanTriangles.h"

namespace knotwork {

/// How rough a curve is, T^(2K - 1) times the integral of its squared K-th derivative over the
/// range, of length T: a sum of squares of rows, in doubled precision, which does not depend on the
/// unit of parameters. Each span has degree - K + 1 rows, one a Gauss-Legendre point, which gives
/// the integral of a polynomial of that degree's square exactly.
class Penalty {
  public:
    Penalty(const BsplineBasis& basis, int order);  ///< order: K, 1 to the degree

    int order() const { return order_; }
    /// The rows with zeros on the right, reduced to a triangle a span, in double precision.
    SpanTriangles triangles(int rhsWidth) const;
    /// What unknowns x leave of zeros, each row's square times factor.
    void addResiduals(double factor, const NumberBlock& x, ResidualSums& sums) const;

  private:
    struct Row {
        int first;            // function
        DoubleDouble weight;  // of the square
    };
    const DoubleDouble* entries(std::size_t row) const
    {
        return entries_.data() + row * static_cast<std::size_t>(width_);
    }

    int spans_;
    int width_;
    int order_;
    std::vector<Row> rows_;  // of spans with a length, in their order
    std::vector<DoubleDouble> entries_;
};

/// Rows of a fit with those of a penalty beneath, each square of these times factor. They have to
/// live on. share: how large the rows are beside all of them; those of the penalty do not round.
class PenalisedRows : public FitRows {
  public:
    PenalisedRows(const FitRows& rows, const Penalty& penalty, double factor, double share)
        : rows_(rows), penalty_(penalty), factor_(factor), share_(share)
    {
    }
    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double rounding() const override;
    double exactRounding() const override;
    double count() const override { return rows_.count(); }

  private:
    const FitRows& rows_;
    const Penalty& penalty_;
    double factor_;
    double share_;
};

}  // namespace knotwork
