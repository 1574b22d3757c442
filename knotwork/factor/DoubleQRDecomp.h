// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

/// Householder QR with optional column pivoting, A P = Q R, in compact form.
/// Shapes    A: n x p, any shape, empty too. y: n. Where a k is asked for, the first k columns of
///           A P are meant; a k that is negative or above min(n, p) counts as min(n, p).
/// Storage   factors a private contiguous copy; A is never changed. Copies of the object share
///           what they hold until either is factored anew. operator= is member by member, as those
///           types assign: elements are copied into the target's storage, and another shape is an
///           error that ends the process. To take over another shape, construct a copy.
/// Pivots    position i of A P has column pivots()(i) of A, counted from 0. A later factor() of as
///           many columns takes the pivots it finds for specifiers: above 0 an initial column, 0 a
///           free one, below 0 a final one. It takes 1 off each of them in any case, so without
///           pivoting the kept ones sink from factor() to factor(). Both are intended; for fresh
///           pivots use a fresh object.
/// Status    rank deficiency is not an error: see rank(), isSingular().
/// Errors    0x5002 if y's length is not n; 0x5004 if a vector to permute is not as long as the
///           pivots; 0x5011 if a solve meets R(i, i) == 0. All end the process. Should a host's
///           handler return, y is taken as extended with zeros or cut, and the results are
///           unspecified. 0x3008 where there is no memory: then a factorisation leaves the object
///           empty, whether the handler throws or returns, and other results are empty.
/// Accuracy  |A P - Q R| <= tol |A| and |Q^T Q - I| <= tol in the Frobenius norm,
///           tol = 10 max(n, p) eps (the bounds the tests hold it to).
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979), chapter 9.
class KNOTWORK_EXPORT DoubleQRDecomp {
  public:
    DoubleQRDecomp();  ///< of a 0 x 0 matrix; pivoting is on
    explicit DoubleQRDecomp(const DoubleGenMat& a);
    DoubleQRDecomp(const DoubleQRDecomp&) = default;  ///< shares
    DoubleQRDecomp& operator=(const DoubleQRDecomp&) = default;

    void factor(const DoubleGenMat& a);
    void dofactor();  ///< the step proper: factors what the object holds, a result too
    /// Acts on the next factor(), and on permute() and unpermute() at once; returns the old state.
    int doPivoting(int on);

    IntVec pivots() const { return pivots_.copy(); }
    int rank() const;        ///< min(n, p) less the diagonal entries of R that are exactly 0
    int isSingular() const;  ///< whether rank() is neither n nor p

    DoubleVec computeQy(const DoubleVec& y, int k) const;           ///< by the first k reflections
    DoubleVec computeQTy(const DoubleVec& y, int k) const;          ///< likewise
    DoubleVec computeResidualVec(const DoubleVec& y, int k) const;  ///< y - computeXb(y, k)
    DoubleVec computeXb(const DoubleVec& y, int k) const;  ///< fitted values of the first k columns
    /// The k coefficients of that fit, in pivoted order.
    DoubleVec partialSolve(const DoubleVec& y, int k) const;
    /// Least squares, p coefficients in A's column order; of a wide A the last p - n pivoted are 0.
    DoubleVec solve(const DoubleVec& y) const;

    // Without pivoting these two return x itself, shared. Pivots that are no place in x are passed
    // over; such elements of the result are 0.
    DoubleVec permute(const DoubleVec& x) const;    ///< result(i) = x(pivots(i))
    DoubleVec unpermute(const DoubleVec& x) const;  ///< result(pivots(i)) = x(i)

  protected:
    int rows() const { return static_cast<int>(factored_.rows()); }
    int cols() const { return static_cast<int>(factored_.cols()); }
    double diagonal(int i) const { return factored_(i, i); }  // of R
    void checkLength(const DoubleVec& y) const;               // 0x5002

    // For owners, which share and never assign.
    void reference(const DoubleQRDecomp& other);
    void deepenShallowCopy();

  private:
    void makeResultsPrivate();
    void forget();
    int validCount(int k) const;
    DoubleVec transformed(const DoubleVec& y, int k, int job) const;

    DoubleGenMat factored_;  // R above, the reflections' vectors below the diagonal
    IntVec pivots_;
    int pivoting_;
    DoubleVec qraux_;
};
