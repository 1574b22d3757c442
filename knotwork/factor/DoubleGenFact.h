// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

/// LU factorisation with partial pivoting of a square matrix, and what follows from it: solutions,
/// determinant, inverse and an estimate of the condition.
/// Shapes    A: n x n, empty too. b and solve(b): n.
/// Storage   factors a private copy; A is never changed. Copies of the object share the factors,
///           which the next factor() leaves as they are. operator= is member by member, as those
///           types assign: elements are copied into the target's storage, which others may share,
///           and another order is an error that ends the process. To take over factors of another
///           order, construct a copy.
/// Status    a singular matrix is no error when it is factored: see isSingular(). With an estimate
///           that is 1.0 + condition() == 1.0, so a condition of about 1e16; without, a pivot that
///           is exactly 0. Factors that hold a NaN count as singular, with a condition of 0.0. An
///           empty matrix leaves the condition as it was.
/// Errors    0x500D when A is not square; 0x5002 for a b of another length; 0x5011 when solve() or
///           inverse() have no regular factors. They end the process. 0x5001 is a warning, see
///           condition(). 0x3008 where there is no memory. After 0x500D and a factorisation
///           without memory the object holds nothing, whether a host's handler throws or returns;
///           results are empty after the others.
/// Accuracy  |A x - b| <= 10 n eps |A| |x| in the maximum norm, growth of pivots apart (the bound
///           the tests hold it to).
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979), chapter 1.
class KNOTWORK_EXPORT DoubleGenFact {
  public:
    DoubleGenFact();
    DoubleGenFact(const DoubleGenMat& a, int estimateCondition);
    DoubleGenFact(const DoubleGenFact&) = default;  ///< shares the factors
    DoubleGenFact& operator=(const DoubleGenFact& f);

    /// The estimate costs a few solutions; condition() has nothing to tell without it.
    void factor(const DoubleGenMat& a, int estimateCondition);

    /// The estimated reciprocal of the condition number in the 1-norm: 1.0 at best, near 0.0 for a
    /// matrix that is close to singular. Without an estimate 0.0 when a pivot is exactly 0,
    /// otherwise -1.0 after the warning 0x5001.
    double condition() const;
    double determinant() const;  ///< 0.0 for an empty object, which is intended; NaN without memory
    DoubleGenMat inverse() const;
    DoubleVec solve(const DoubleVec& b) const;  ///< empty after a wrong length
    int isSingular() const;
    int fail() const;  ///< 1 when empty or singular
    int good() const { return fail() == 0 ? 1 : 0; }

  protected:
    /// Factors the matrix that is held.
    void dofactor(int estimateCondition);
    /// Runs dgedi on `lu`, n x n and contiguous, with this object's pivots: job 10 writes det[0]
    /// and det[1], job 1 the inverse into lu's storage. The last argument is not used.
    void calldi(const DoubleGenMat& lu, int job, double* det, int* unused) const;

    /// For a class with a step of its own, which needs what those two work on. All are views; what
    /// dofactor() is to factor is put in place with hold(), which copies it.
    void hold(const DoubleGenMat& a) { lu_.reference(a.copy()); }
    DoubleGenMat factored() const { return lu_; }  ///< L below the diagonal, U on and above it
    IntVec pivots() const { return pivots_; }      ///< as the kernels have them: 1-based

  private:
    void makeFactorsPrivate(unsigned n);
    void runKernel(int estimateCondition);
    void forget();

    DoubleGenMat lu_;
    IntVec pivots_;  // as the kernels have them: 1-based
    double rcond_;   // -1.0: not estimated
};
