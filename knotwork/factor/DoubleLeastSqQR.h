// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/DoubleQRDecomp.h"

/// Least squares by QR with a tolerance for numerical rank: trailing diagonal entries of R whose
/// magnitude is at most the tolerance mark their columns as free, and free coefficients are 0.
/// Shapes    as DoubleQRDecomp. solve(y): p, in A's column order; residual(y): n.
/// Status    factor() sets the tolerance back to 0, which is intended: set it again afterwards.
///           With 0 only trailing entries that are exactly 0 count, and one that follows a larger
///           one is not looked at.
/// Errors    those of DoubleQRDecomp; 0x5011 also for a solve without columns, and for a residual
///           without rows: that each looks at its own side is intended.
class KNOTWORK_EXPORT DoubleLeastSqQR : public DoubleQRDecomp {
  public:
    DoubleLeastSqQR() : tolerance_(0.0) {}
    explicit DoubleLeastSqQR(const DoubleGenMat& a) : DoubleQRDecomp(a), tolerance_(0.0) {}
    DoubleLeastSqQR(const DoubleLeastSqQR&) = default;  ///< shares
    DoubleLeastSqQR& operator=(const DoubleLeastSqQR&) = default;

    void factor(const DoubleGenMat& a);
    double setTolerance(double t);  ///< returns the old one

    unsigned numEquations() const { return static_cast<unsigned>(rows()); }
    unsigned numFreeCols() const;  ///< p - n at least
    int isUnderDetermined() const { return numFreeCols() != 0 ? 1 : 0; }
    /// The basic solution: least squares in the columns that are not free.
    DoubleVec solve(const DoubleVec& y) const;
    DoubleVec residual(const DoubleVec& y) const;  ///< what that solution leaves of y

  private:
    friend class TsolveConstrainedLsqQR;

    int usedCols() const { return cols() - static_cast<int>(numFreeCols()); }
    DoubleLeastSqQR& reference(const DoubleLeastSqQR& other);
    using DoubleQRDecomp::deepenShallowCopy;

    double tolerance_;
};
