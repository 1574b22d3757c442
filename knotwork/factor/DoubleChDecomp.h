// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

/// Cholesky factorisation P^T A P = R^T R of a symmetric positive (semi-)definite matrix, pivoted
/// along the diagonal, and kept current while rows come and go in the data X with A = X^T X, or
/// columns change places.
/// Shapes    A: p x p, of which the upper triangle is read. A taller one is cut to its first p
///           rows. Vectors have p elements in A's order, but x of update() and downdate() is in
///           pivoted order: position i belongs to column pivots()(i) of A.
/// Storage   factors a private copy; A is never changed. Copies of the object share R: an update,
///           downdate or shift of one shows in all. factor() separates. operator= is member by
///           member, as those types assign: elements are copied into the target's storage, which
///           others may share, and another shape is an error that ends the process.
/// Status    neither an indefinite A is an error, see isPD(), lastPosFactor() and fail(), nor the
///           loss of definiteness in downdate().
/// Errors    0x5010 fewer rows than columns, 0x5012 specifier, 0x5004 and 0x5002 lengths, 0x5011
///           solve without a factor that reaches so far, 0x5005 to 0x5009 and 0x500C arguments of
///           update, downdate and shift; 0x3008 where there is no memory. All end the process.
///           0x5001 is a warning. A factorisation that is refused, or finds no memory, leaves the
///           object empty and a fail(), whether a host's handler throws or returns; update,
///           downdate (-1) and shift leave everything as it was. Should the handler return, a
///           solve returns its argument, or nothing without memory.
/// Accuracy  |P^T A P - R^T R| <= 10 p eps |A| in the Frobenius norm (the bound the tests hold it
///           to) when isPD(); otherwise for the rows up to lastPosFactor().
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979), chapters 8 and 10.
class KNOTWORK_EXPORT DoubleChDecomp {
  public:
    /// Where a column takes part in pivoting.
    enum Specifier { FINAL = -1, FREE = 0, INITIAL = 1 };

    DoubleChDecomp();
    explicit DoubleChDecomp(const DoubleGenMat& a);
    DoubleChDecomp(const DoubleChDecomp&) = default;  ///< shares
    DoubleChDecomp& operator=(const DoubleChDecomp&) = default;

    void factor(const DoubleGenMat& a);

    int doPivoting(int on);  ///< returns the state it found; a new object pivots
    /// Places column col at the next factor(), whatever the matrix's size, and returns the entry it
    /// found. A negative column stores nothing and returns 0. Between two matrices of the same size
    /// the permutation of the first is taken for specifiers of the second: intended.
    int setPivoting(int col, int specifier);
    IntVec pivots() const { return pivots_.copy(); }  ///< specifiers, then the permutation from 0

    int isPD() const { return info_ == static_cast<int>(factor_.rows()) ? 1 : 0; }
    /// The position of the last positive pivot; -2 when nothing was factorised.
    int lastPosFactor() const { return info_ == kFailed ? -2 : info_ - 1; }
    /// 1 when factor() was refused or found no memory, or a diagonal element from the last positive
    /// pivot on is negative, which -0.0 is not: zeros behind it make A semi-definite and are good.
    /// A new object is good, which is intended: there is nothing negative in it.
    int fail() const;
    int good() const { return fail() == 0 ? 1 : 0; }
    /// (R(p-1,p-1) / R(0,0))^2 when just the last pivot is not positive, otherwise 0.0, also when
    /// all are: intended. Without pivoting 0x5001, and -1.0.
    double condition() const;

    /// Solves with the leading k x k block of R, without permutation; z has k elements.
    DoubleVec partialSolve(const DoubleVec& z, int k) const;
    DoubleVec solve(const DoubleVec& z) const;      ///< A x = z
    DoubleVec permute(const DoubleVec& x) const;    ///< result(i) = x(pivots()(i))
    DoubleVec unpermute(const DoubleVec& x) const;  ///< result(pivots()(i)) = x(i)

    /// Adds the row x to the data. Null arguments are not wanted. Diagonal elements of R may turn
    /// negative, and are not made positive.
    /// x         a shorter one is extended with zeros.
    /// Z, y, rho p x nz transformed right-hand sides, the new row's nz values, and the nz residual
    ///           norms, of which negative ones are left alone.
    /// c, s      receive the p rotations.
    void update(const DoubleVec& x, DoubleGenMat* Z = nullptr, const DoubleVec* y = nullptr,
                DoubleVec* rho = nullptr, DoubleVec* c = nullptr, DoubleVec* s = nullptr);

    /// Withdraws a row. Returns 0; -1 when what is left would not be positive definite, and nothing
    /// is changed; 1 when a residual norm could not be downdated and is now -1.
    int downdate(const DoubleVec& x, DoubleGenMat* Z = nullptr, const DoubleVec* y = nullptr,
                 DoubleVec* rho = nullptr, DoubleVec* c = nullptr, DoubleVec* s = nullptr);

    /// Circular shift of the columns first .. last of R, counted from 1, though last < p is asked
    /// for: intended. 0 < first < last.
    /// direction 1: right, the last comes to the front. 0: left, the first comes to the end.
    /// c, s      receive the last - first rotations.
    /// pivots() is left as it is: intended.
    void shift(int first, int last, int direction, DoubleGenMat* Z = nullptr,
               DoubleVec* c = nullptr, DoubleVec* s = nullptr);

  protected:
    void dofactor();  ///< factorises the matrix that is held
    void forget();    ///< holds nothing, and fail() says so; needs no memory

    DoubleGenMat factor_;  // R in the upper triangle, the input's values below
    int info_;             // positive pivots; -1 before the first factorisation, or kFailed
    static constexpr int kFailed = -2;

  private:
    struct RowChange;
    void runKernel();

    unsigned order() const { return factor_.cols(); }

    IntVec pivots_;
    int pivoting_;
};
