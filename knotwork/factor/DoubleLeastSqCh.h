// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/DoubleChDecomp.h"

/// Linear least squares by the normal equations X^T X b = X^T y: half the work of QR, at the price
/// that the condition of X counts squared. Trailing columns whose diagonal in R is at most the
/// tolerance are free: their unknowns are 0.0.
/// Shapes    X: n x p, any shape. y: n. solve(y): p, in X's column order. residual(y): n.
/// Storage   keeps a private copy of X. Copying and assigning as for DoubleChDecomp.
/// Errors    0x5002 if y's length is not n, and those of the base; should a host's handler return,
///           the solution or residual is empty. An object that was never factorised, and one of no
///           columns, solves anything to an empty vector.
/// Exactness there is no tolerance but the caller's: dependent columns are found where the products
///           of X^T X are exact, and otherwise leave a small pivot of either sign.
class KNOTWORK_EXPORT DoubleLeastSqCh : public DoubleChDecomp {
  public:
    DoubleLeastSqCh() : tolerance_(0.0) {}
    explicit DoubleLeastSqCh(const DoubleGenMat& x) : DoubleLeastSqCh() { factor(x); }
    DoubleLeastSqCh(const DoubleLeastSqCh&) = default;  ///< shares
    DoubleLeastSqCh& operator=(const DoubleLeastSqCh&) = default;

    void factor(const DoubleGenMat& x);  ///< keeps the tolerance
    double setTolerance(double t);       ///< returns the one it found
    unsigned numEquations() const { return data_.rows(); }
    /// Columns behind the last positive pivot, and the trailing ones before it with a diagonal not
    /// above the tolerance. Compared with its sign: a negative one that an update or a shift left
    /// counts as free. Intended.
    unsigned numFreeCols() const;
    int isUnderDetermined() const { return numFreeCols() != 0 ? 1 : 0; }
    DoubleVec solve(const DoubleVec& y) const;
    DoubleVec residual(const DoubleVec& y) const;  ///< y - X solve(y)

  private:
    bool accepts(const DoubleVec& y) const;  // 0x5002

    DoubleGenMat data_;
    double tolerance_;
};
