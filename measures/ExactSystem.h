// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>

#include "knotwork/linalg/DoubleGenMat.h"
#include "measures/QuadLeastSquares.h"

namespace knotwork_measures {

/// A system as solvers take it, rows to be fitted above those to be met, in quadruple precision.
/// With fewer rows than unknowns every row is to be met. Where none is left to fit, the shortest
/// answer counts, so that it is the unknowns that are fitted to zeros.
class ExactSystem {
  public:
    ExactSystem(const DoubleGenMat& matrix, int constraints)
        : cols_(static_cast<int>(matrix.cols())),
          fitted_(fittedRows(static_cast<int>(matrix.rows()), cols_, constraints)),
          met_(static_cast<int>(matrix.rows()) - fitted_),
          equations_(fitted_ == 0 ? identity(cols_) : rowsOf(matrix, 0, fitted_),
                     rowsOf(matrix, fitted_, met_))
    {
    }
    const ConstrainedLeastSquares& equations() const { return equations_; }
    QuadMatrix solve(const DoubleVec& rhs) const
    {
        return equations_.solve(fitted_ == 0 ? QuadMatrix(cols_, 1) : partOf(rhs, 0, fitted_),
                                partOf(rhs, fitted_, met_));
    }
    /// The largest error of an unknown, of the largest one or 1.
    double errorOf(const DoubleVec& x, const DoubleVec& rhs) const
    {
        const QuadMatrix expected = solve(rhs);
        double largest = 1.0;
        double error = 0.0;
        for (int j = 0; j < cols_; ++j) {
            const double off = std::fabs(static_cast<double>(x(j) - expected(j, 0)));
            largest = std::max(largest, std::fabs(static_cast<double>(expected(j, 0))));
            if (!(off <= error)) error = off;
        }
        return error / largest;
    }

  private:
    static int fittedRows(int rows, int cols, int constraints)
    {
        return rows < cols ? 0 : rows - std::clamp(constraints, 0, std::min(rows, cols));
    }
    static QuadMatrix identity(int n)
    {
        QuadMatrix ones(n, n);
        for (int i = 0; i < n; ++i) ones(i, i) = 1;
        return ones;
    }
    static QuadMatrix rowsOf(const DoubleGenMat& a, int first, int count)  // each a column
    {
        QuadMatrix rows(static_cast<int>(a.cols()), count);
        for (int j = 0; j < count; ++j)
            for (int i = 0; i < rows.rows(); ++i) rows(i, j) = a(first + j, i);
        return rows;
    }
    static QuadMatrix partOf(const DoubleVec& b, int first, int count)
    {
        QuadMatrix part(count, 1);
        for (int i = 0; i < count; ++i) part(i, 0) = b(first + i);
        return part;
    }

    int cols_;
    int fitted_;
    int met_;
    ConstrainedLeastSquares equations_;
};

}  // namespace knotwork_measures
