// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/sparse/ConstraintBasis.h"
#include "knotwork/sparse/RowCompression.h"

namespace knotwork {

/// Constrained least squares from triangles: R of the compressed data rows, X = Q1 [R; 0], and the
/// constraint rows C as they are.
///   C H = [0 T]          reflections of the constraints, each on its own columns only
///   R H = [F G]          F in the free columns; G is never formed
///   F = Q2 [S; 0]        a row compression
/// Right-hand sides come as Q1^T b, or, where Q1 was not kept, as sums over the rows, X^T r (the
/// seminormal equations): a step of iterative refinement then costs two products with bands, and
/// shrinks the error by about eps times the condition.
/// Source    Bjorck: Stability analysis of the method of seminormal equations for linear least
///           squares problems, Linear Algebra Appl. 88/89 (1987).
class ConstrainedTriangle {
  public:
    /// The constraints are the rows from the given one on.
    ConstrainedTriangle(const BandTriangle& R, const SpanRows& rows, int firstConstraint = 0);

    int cols() const { return triangle_.size(); }
    int constraints() const { return basis_.constraints(); }
    const ConstraintBasis& basis() const { return basis_; }
    /// S; where there are no constraints R stands for it.
    const BandTriangle& freeTriangle() const
    {
        return constraints() == 0 ? triangle_ : free_.triangle();
    }

    double norm() const { return norm_; }  ///< of X: its 2-norm or more
    /// Estimates of 1-norms, infinite where a diagonal entry is 0: of S^-1, of T^-1, and of the
    /// latter with the rows of C at length 1, which is their condition.
    double inverseNorm() const { return inverseNorm_; }
    double constraintInverseNorm() const { return constraintInverseNorm_; }
    double constraintCondition() const { return constraintCondition_; }
    /// Of the data rows in what the constraints leave free, an estimate.
    double condition() const { return norm_ * inverseNorm_; }

    /// Unknowns of largest magnitude 1 that the constraints leave free and the data rows hardly
    /// see: near the singular vector of the smallest singular value.
    std::vector<double> weakestDirection() const;

    /// The unknowns x with R x = c as nearly as C x = d allows. All in lanes (see LaneKernels.h):
    /// c and x have cols() rows, d constraints() rows. c and d are overwritten.
    template <int Lanes>
    void solve(double* c, double* d, double* x) const;

    /// The change of the unknowns for which the gradient g = X^T r - C^T l and the constraints'
    /// residuals e vanish, and the change of the multipliers l with it. g and dx have cols() rows
    /// of lanes, e and dl constraints() rows. g and e are overwritten.
    template <int Lanes>
    void correct(double* g, double* e, double* dx, double* dl) const;

  private:
    BandTriangle triangle_;
    ConstraintBasis basis_;
    RowCompression free_;  // of F; empty without constraints
    double norm_;
    double inverseNorm_;
    double constraintInverseNorm_ = 0.0;
    double constraintCondition_ = 0.0;
};

}  // namespace knotwork
