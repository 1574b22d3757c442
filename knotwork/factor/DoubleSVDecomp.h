// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"

/// Singular value decomposition A = U S V^T. Which vectors are computed is chosen before factor();
/// a new object computes all. There is no rank and no tolerance here: apply your own to the values.
/// Shapes    A: n x p, any shape. singularValues(): min(n, p), decreasing, none negative.
///           eValues(): p. leftVecs(): n x n, or n x min(n, p) for the leading ones only.
///           rightVecs(): p x p. Vectors are columns.
/// Storage   factors a private copy; A is never changed. Results share storage when handed out and
///           when the object is copied; the next factor() leaves what was handed out as it is.
///           operator= is member by member, as those types assign: elements are copied into the
///           target's storage, which others may share, and another shape is an error that ends the
///           process. To take over results of another shape, construct a copy.
/// Status    values that fail to converge are counted, not raised; the last numSVsFound() ones are
///           correct then. NaN or infinity in A, or a norm that overflows, leads there. An empty A
///           gives no values, which is a fail(), and leaves the status as it was.
///           A matrix whose vectors are not asked for keeps what an earlier factor() left in it.
/// Errors    0x3008 where there is no memory: there are no values then, which is a fail().
/// Accuracy  |A - U S V^T| <= tol |A|, |U^T U - I| <= tol and |V^T V - I| <= tol in the Frobenius
///           norm, tol = 10 max(n, p) eps, underflow apart (the bounds the tests hold it to).
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979), chapter 11.
class KNOTWORK_EXPORT DoubleSVDecomp {
  public:
    DoubleSVDecomp();
    explicit DoubleSVDecomp(const DoubleGenMat& a);
    DoubleSVDecomp(const DoubleSVDecomp&) = default;  ///< shares the results
    DoubleSVDecomp& operator=(const DoubleSVDecomp&) = default;

    void factor(const DoubleGenMat& a);

    // The switches act on the next factor() and return the state they found.
    int computeLeftVecs(int on);
    /// All left vectors, or only the leading min(n, p). Does nothing while they are switched off.
    int computeAllLeftVecs(int on);
    int computeRightVecs(int on);

    DoubleVec singularValues() const { return s_; }
    DoubleVec eValues() const { return e_; }  ///< superdiagonal that remains: 0 when all converged
    DoubleGenMat leftVecs() const { return U_; }
    DoubleGenMat rightVecs() const { return V_; }
    /// How many values are correct. -1 is possible when A has more columns than rows: the iteration
    /// has one value more to find than there are.
    int numSVsFound() const { return static_cast<int>(s_.length()) - info_; }
    int good() const { return s_.length() > 0 && info_ == 0 ? 1 : 0; }
    int fail() const { return good() == 0 ? 1 : 0; }

  private:
    int leftChoice() const { return job_ / 10; }
    int rightChoice() const { return job_ % 10; }
    void setChoices(int left, int right) { job_ = 10 * left + right; }
    void resizeResults(unsigned n, unsigned p);
    void makeResultsPrivate();
    void decompose(const DoubleGenMat& a);
    unsigned leftCount(unsigned n, unsigned p) const;

    DoubleVec s_;
    DoubleVec e_;
    DoubleGenMat U_;
    DoubleGenMat V_;
    int info_;
    int job_;  // 10 a + b; left vectors, a: 0 none, 1 all, 2 leading ones; right ones, b: 0 or 1
};
