// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/TsolverReporter.h"
#include "knotwork/solvers/detail/RhsBlock.h"
#include "knotwork/solvers/detail/RowBlocks.h"

namespace knotwork {

/// Which rows and columns the two phases of the constrained Householder factorisation work on.
/// Row firstPivot + k holds the pivot of column k (of column k + cols - rows with fewer rows than
/// columns), so that the pivot rows form an upper triangle at the bottom.
struct TwoPhaseLayout {
    TwoPhaseLayout(const DoubleGenMat& matrix, int constraints);

    bool valid() const { return firstConstraint >= 0 && freeCols >= 0; }
    int pivotColumn(int row) const { return row + cols - rows; }
    int position(int row) const { return row - firstPivot; }  // of a pivot row's beta and diagonal

    int rows;
    int cols;
    int firstConstraint;  // least-squares rows lie before it
    int firstPivot;
    int freeCols;  // columns that the constraints leave to the least-squares rows
};

/// The arrays of a factorisation; what they hold is described at Thouseholder.
struct TwoPhaseArrays {
    double* factored;
    double* beta;
    double* diagonal;
    double* norms;
    int* rowOrder;
    int* colOrder;
    RowBlocks* blocks;
};

/// Overwrites a matrix by its two-phase factorisation. See Thouseholder for the method.
class TwoPhaseFactor {
  public:
    TwoPhaseFactor(const TwoPhaseLayout& layout, const TwoPhaseArrays& arrays, double negligible,
                   TsolverReporter& reporter);
    bool run();  ///< true when every pivot stands

  private:
    void reduceConstraints();
    void exchangeRows(int i, int q);
    void reflectRow(int i, int k);
    void applyToRowsAbove(int i);
    void measureRows(int last, int cols);

    void reduceLeastSquares();
    void exchangeColumns(int j, int k);
    void reflectColumn(int k, int r);
    void applyToColumnsRight(int k, int r);
    void applyToPanel(int k, int r, const int* columns, int count);
    void measureColumns(int first, int r);

    int largestNorm(int first, int last) const;
    bool everyPivotStands();
    double* column(int j) { return arrays_.factored + std::ptrdiff_t{at_.rows} * j; }

    const TwoPhaseLayout at_;
    const TwoPhaseArrays arrays_;
    const double negligible_;
    TsolverReporter& reporter_;
    double big_ = 0.0;           // the largest squared norm met at the start of a phase
    std::vector<double> row_;    // the constraint row being reduced
    std::vector<double> inner_;  // its inner products with the rows above
    std::vector<int> support_;   // its columns with an entry
    RowRanges ranges_;           // the rows that the current reflection acts on
};

/// Solves for a few right-hand sides at once; the arrays are only read. Block: ColumnBlock or
/// InterleavedBlock, of which rhs() takes the right-hand sides in factored row order and x() holds
/// the solutions in factored column order.
template <class Block>
class TwoPhaseSolve {
  public:
    TwoPhaseSolve(const TwoPhaseLayout& layout, const TwoPhaseArrays& arrays, double negligible,
                  int width);
    Block& rhs() { return rhs_; }
    Block& x() { return x_; }
    void run();

  private:
    void reflectRhs();
    void backSubstitute();
    void restoreUnknowns();
    const double* column(int j) const { return arrays_.factored + std::ptrdiff_t{at_.rows} * j; }

    const TwoPhaseLayout at_;
    const TwoPhaseArrays arrays_;
    const double negligible_;
    Block rhs_;
    Block x_;
    std::vector<double> row_;
    RowRanges ranges_;
};

extern template class TwoPhaseSolve<ColumnBlock>;
extern template class TwoPhaseSolve<InterleavedBlock>;

}  // namespace knotwork
