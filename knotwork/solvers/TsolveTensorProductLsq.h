// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/solvers/TsolveConstrainedLsq.h"

/// Fits a grid B (samples in u x samples in v) by Au X Av^T with one solver a direction: every row
/// of B through the v solver, then every column of what comes out through the u solver. A column of
/// grid points is, without moving anything, one point of many coordinates, so the sweep over all
/// rows and coordinates is one solve, with the same operations for each. The sweep over columns is
/// one solve too, on a transposed copy.
/// Shapes    B: rows of Au x rows of Av; X: columns of Au x columns of Av, shape given by the
///           caller; points of B and X have the same dimension.
/// Codes     those of the solvers (0, 4, 5), -1 from setMatrix for a dependent direction, -1 for a
///           grid without rows unless a later solve says more. Null X, shapes and tuple sizes that
///           do not go together: 4. X is written when every sweep has succeeded, else not at all.
/// Ownership both solvers are borrowed; copies borrow the same two.
class KNOTWORK_EXPORT TsolveTensorProductLsq {
  public:
    TsolveTensorProductLsq(TsolveConstrainedLsq& u, TsolveConstrainedLsq& v);
    TsolveTensorProductLsq(const TsolveTensorProductLsq& other) = default;
    TsolveTensorProductLsq& operator=(const TsolveTensorProductLsq&) = delete;

    TsolveConstrainedLsq& solverInU() const { return u_; }
    TsolveConstrainedLsq& solverInV() const { return v_; }

    /// Sets both directions, u first; where u fails, v keeps what it had.
    int setMatrix(const DoubleGenMat& Au, const DoubleGenMat& Av, int ncU, int ncV, bool normaliseU,
                  bool normaliseV, bool cleanZerosU, bool cleanZerosV, bool cutoffU, bool cutoffV);

    int solve(const DoubleGenMat& B, DoubleGenMat* X) const;
    int solve(const TtupleMatrix& B, TtupleMatrix* X) const;

    /// Where mask is 1, X brings values that stay to the bit; where it is 0, coefficients are
    /// found; other values of mask are neither, and X's numbers there count as contributions.
    /// The fixed part is subtracted and the rest solved in the two sweeps, which is not the joint
    /// least-squares fit; intended. Sets both solvers anew, without constraints or flags.
    int solveFixed(const DoubleGenMat& Au, const DoubleGenMat& Av, const IntGenMat& mask,
                   const DoubleGenMat& B, DoubleGenMat* X);
    int solveFixed(const DoubleGenMat& Au, const DoubleGenMat& Av, const IntGenMat& mask,
                   const TtupleMatrix& B, TtupleMatrix* X);

  private:
    int solveAround(const DoubleGenMat& Au, const DoubleGenMat& Av, const IntGenMat& mask,
                    const TtupleMatrix& B, TtupleMatrix* X);
    int sweepRows(const TtupleMatrix& B, TtupleMatrix& T) const;
    int sweepColumns(const TtupleMatrix& T, TtupleMatrix& X) const;
    int solveColumnAround(const DoubleGenMat& Au, const IntVec& fixed, const TtupleVector& rhs,
                          TtupleVector& column);

    TsolveConstrainedLsq& u_;
    TsolveConstrainedLsq& v_;
};
