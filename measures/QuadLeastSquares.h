// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

/// Constrained least squares in quadruple precision: small, dense and sharing nothing with the
/// library that it judges.
namespace knotwork_measures {

#ifdef __SIZEOF_FLOAT128__
__extension__ using Quad = __float128;
#else
using Quad = long double;
static_assert(std::numeric_limits<Quad>::digits >= 113, "quadruple precision is needed");
#endif

Quad root(Quad x);  ///< to full precision; 0 for what is below the smallest double

/// Column after column.
class QuadMatrix {
  public:
    QuadMatrix(int rows, int cols)
        : rows_(rows), cols_(cols), entries_(static_cast<std::size_t>(rows) * wide(cols))
    {
    }
    int rows() const { return rows_; }
    int cols() const { return cols_; }
    Quad* col(int j) { return entries_.data() + static_cast<std::ptrdiff_t>(rows_) * j; }
    const Quad* col(int j) const
    {
        return entries_.data() + static_cast<std::ptrdiff_t>(rows_) * j;
    }
    Quad& operator()(int i, int j) { return col(j)[i]; }
    Quad operator()(int i, int j) const { return col(j)[i]; }

  private:
    static std::size_t wide(int n) { return static_cast<std::size_t>(n); }

    int rows_;
    int cols_;
    std::vector<Quad> entries_;
};

QuadMatrix transposed(const QuadMatrix& a);
double longestColumn(const QuadMatrix& a);  ///< 0 for none

/// A P = Q R by Householder's reflections, the longest column left going first. Ends where what is
/// left is below kRankTolerance of a size, so that rounding does not pass for rank.
class PivotedQr {
  public:
    static constexpr double kRankTolerance = 1e-25;

    /// The size: of what A was made from, where that can have cancelled.
    PivotedQr(QuadMatrix a, double size);
    int rank() const { return static_cast<int>(reflections_.size()); }
    bool fullRank() const { return rank() == a_.cols(); }
    double margin() const { return margin_; }  ///< the shortest pivot, of the size; 1 for none

    void applyTransposed(QuadMatrix& b) const;  ///< b becomes Q^T b
    void apply(QuadMatrix& b) const;            ///< b becomes Q b
    // With full rank:
    QuadMatrix solve(const QuadMatrix& b) const;            ///< R P^T x = the first rows of b
    QuadMatrix solveTransposed(const QuadMatrix& b) const;  ///< the y with P R^T y = b
    /// The size or the largest singular value, whichever is larger, by the smallest one, to about a
    /// tenth.
    double condition() const;

  private:
    struct Reflection {
        Quad beta;                  // I + beta v v^T, v being where the column was
        std::vector<int> nonZeros;  // of v
    };

    void factor();
    Reflection reflectColumn(int k);
    void reflect(const Reflection& reflection, int k, Quad* column) const;
    Quad r(int i, int j) const
    {
        return i == j ? diagonal_[static_cast<std::size_t>(i)] : a_(i, j);
    }
    int pivot(int k) const { return pivots_[static_cast<std::size_t>(k)]; }
    void solveInPlace(Quad* x) const;
    void solveTransposedInPlace(Quad* x) const;

    QuadMatrix a_;
    std::vector<Reflection> reflections_;
    std::vector<Quad> diagonal_;
    std::vector<int> pivots_;  // position k holds column pivots_[k]
    double size_;
    double margin_ = 1.0;
};

/// min |A x - b| subject to C x = c by the null-space method: C^T = Q R, x = Q y, the first
/// unknowns y from the constraints, the others from the rows of A Q that are left.
class ConstrainedLeastSquares {
  public:
    /// Rows as columns: one of length N for each row of A, and for each of C. constraintSize: of
    /// what rows of C were summed from, where that can have cancelled.
    ConstrainedLeastSquares(QuadMatrix dataRows, const QuadMatrix& constraintRows,
                            double constraintSize = 0.0);

    bool dependent() const { return !constraints_.fullRank(); }
    bool determined() const { return !dependent() && data_.fullRank(); }
    double margin() const;  ///< the closest that a rank came to being less
    /// The larger of that of C and that of A on the null space of C, where A counts as large as it
    /// was: what the constraints leave of it can be small as a whole.
    double condition() const;
    /// When determined: one column of unknowns for each column of the right-hand sides.
    QuadMatrix solve(QuadMatrix dataRhs, const QuadMatrix& constraintRhs) const;

  private:
    QuadMatrix rotated(QuadMatrix dataRows) const;
    QuadMatrix leftOver() const;

    PivotedQr constraints_;
    double dataSize_;
    QuadMatrix rotatedRows_;  // A Q, row i in column i
    PivotedQr data_;
};

}  // namespace knotwork_measures
