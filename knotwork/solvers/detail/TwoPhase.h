// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/detail/Array.h"
#include "knotwork/solvers/TsolverReporter.h"

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

/// Which least-squares rows of a column may hold anything but zeros: [first, end) of those above
/// the pivot rows, and of the pivot rows none from pivotEnd on. A column of a B-spline system has
/// entries in a few neighbouring rows among thousands; work that stays inside never multiplies the
/// zeros around them.
struct ColumnReach {
    int first;
    int end;
    int pivotEnd;

    void merge(const ColumnReach& other);
    /// Whether there is a row that a reflection with pivot row r has in common with the column.
    bool meets(const ColumnReach& reflection, int r) const;
};

/// A matrix that is overwritten by its two-phase factorisation. See Thouseholder for the method.
struct TwoPhaseFactors {
    TwoPhaseFactors(const DoubleGenMat& matrix, int constraints, double negligible);

    double* column(int j) { return numbers.data() + std::ptrdiff_t{at.rows} * j; }
    const double* column(int j) const { return numbers.data() + std::ptrdiff_t{at.rows} * j; }

    TwoPhaseLayout at;
    double negligible;
    Array<double> numbers;
    Array<double> beta;      // per pivot position, from the first pivot row
    Array<double> diagonal;  // likewise; 0.0 for a skipped pivot
    Array<int> rowOrder;     // position i holds row rowOrder[i] of the matrix
    Array<int> colOrder;
    Array<ColumnReach> reach;
};

/// Factors in place.
class TwoPhaseFactor {
  public:
    TwoPhaseFactor(TwoPhaseFactors& factors, TsolverReporter& reporter);
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
    double* column(int j) { return factors_.column(j); }

    TwoPhaseFactors& factors_;
    const TwoPhaseLayout at_;
    const double negligible_;
    TsolverReporter& reporter_;
    double big_ = 0.0;     // the largest squared norm met at the start of a phase
    Array<double> norms_;  // squared row norms from the first constraint, then column norms
    Array<double> row_;    // the constraint row being reduced
    Array<double> inner_;  // its inner products with the rows above
    Array<int> support_;   // its columns with an entry
    RowRanges ranges_;     // the rows that the current reflection acts on
};

}  // namespace knotwork
