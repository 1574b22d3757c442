// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/DoubleLeastSqQR.h"
#include "knotwork/solvers/TsolveConstrainedLsq.h"

/// Least squares of all rows alike, by QR with column pivoting: constraint rows are fitted like the
/// others, and declaring them changes nothing. Use Thouseholder for constraints met exactly.
/// Status    dependent when the rank is short: R has a zero on its diagonal, or more columns than
///           p - n, or 0, are free by tolerance(), which two equal columns are. A NaN is no zero:
///           such a system counts as solvable, and its solutions are NaN. With fewer rows than
///           unknowns the solution is a basic one, not the shortest.
/// Scale     the tolerance is absolute: what the diagonal of R is compared with.
/// Pivots    of every set-up start afresh.
class KNOTWORK_EXPORT TsolveConstrainedLsqQR : public TsolveConstrainedLsq {
  public:
    TsolveConstrainedLsqQR(TsolverReporter& reporter, double tolerance, bool keepMatrixCopy);
    TsolveConstrainedLsqQR(double tolerance, bool keepMatrixCopy);
    TsolveConstrainedLsqQR(const TsolveConstrainedLsqQR& other);
    ~TsolveConstrainedLsqQR() override;

    /// The right-hand side, one entry (point) a used row, may be overwritten; entries beyond do not
    /// count. Codes 0, 4 (also without any column), 5. Every coordinate is solved, whatever became
    /// of those before it; the code is that of the last one that failed.
    int solveInPlace(TtupleVector& rhs, TtupleVector* x) const override;
    int solveInPlace(DoubleVec& rhs, DoubleVec* x) const override;

    /// The factorisation, with its pivots and free columns.
    const DoubleLeastSqQR& lxSolve() const { return lxSolve_; }
    TsolveConstrainedLsqQR& reference(TsolveConstrainedLsqQR& other);
    void deepenShallowCopy();

  protected:
    bool factor() override;
    void releaseFactors() override;

  private:
    DoubleLeastSqQR lxSolve_;
};
