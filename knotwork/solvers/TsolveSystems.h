// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/TbaseSolver.h"
#include "knotwork/solvers/detail/WorkingMatrix.h"

/// Owns the system matrix and prepares it for factoring: thinning of rows, dropping of zero rows
/// and columns and of the caller's fixed columns, clamping of tiny entries, scaling of rows.
/// Storage   the working matrix, reduced to the used rows and columns; with keepMatrixCopy also
///           the untouched matrix. The caller's own matrix is never referred to. A class that can
///           factor sparse rows may hold both as such.
class KNOTWORK_EXPORT TsolveSystems : public TbaseSolver {
  public:
    TsolveSystems(TsolverReporter& reporter, bool keepMatrixCopy);
    explicit TsolveSystems(bool keepMatrixCopy);
    TsolveSystems(const TsolveSystems& other);
    ~TsolveSystems() override;

    /// A column of the untouched matrix; empty when none was kept or col is not a column.
    DoubleVec originalColumn(int col) override;

    /// Prepares the working matrix, in this order: with cleanZeros, thinning, dropping and
    /// clamping (bounds inclusive); with normalise, scaling. The tolerance is what counts as zero;
    /// one above 0.99 min(largest entry, 1) is reset to resetCutoff, and stays there, or, where
    /// even that is too large, drops nothing but still clamps. fixedCols, ascending, are left out
    /// of the system; only cleanZeros honours them.
    void preSetMatrix(const IntVec& fixedCols, double resetCutoff, bool normalise,
                      bool cleanZeros) override;

    bool findAllZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols,
                      double tol) const override;

    /// The columns of A that are neither fixed nor zero within tol, and the rows that are not zero
    /// over all columns, fixed ones included. False when A has no entries.
    static bool findZero(const DoubleGenMat& A, const IntVec& fixedCols, IntVec& usedRows,
                         IntVec& usedCols, double tol);

    TsolveSystems& reference(TsolveSystems& other);
    void deepenShallowCopy();

  protected:
    void resetMatrix() override;  ///< cuts the working matrix to the used rows and columns
    void tryNormalise();          ///< rows to length 1, their factors to rhsMult; zero rows get 0
    void zeroOutCount();          ///< thins rows to maxEntriesPerRow entries

    knotwork::WorkingMatrix system_;
    knotwork::WorkingMatrix systemCopy_;
    DoubleGenMat& working_ = system_.dense();         ///< empty while the system is held as spans
    DoubleGenMat& matrixCopy_ = systemCopy_.dense();  ///< likewise
    int maxEntriesPerRow_;  // thinning happens from 1 to one less than the columns

    unsigned workingRows() const;
    unsigned workingCols() const;
    DoubleGenMat denseWorking() const;  ///< shares working_ unless the system is held as spans
    bool thins(unsigned cols) const;

  private:
    void useAll();
    void cleanZeros(const IntVec& fixedCols, double resetCutoff);
};
