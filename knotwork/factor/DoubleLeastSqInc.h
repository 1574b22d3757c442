// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/DoubleChDecomp.h"

/// Linear least squares whose equations come, and may be withdrawn, one at a time; none of them is
/// kept. Holds R with R^T R = X^T X for the equations seen so far, and for each of m right-hand
/// sides its transformed column and the norm of its residual.
/// Shapes    p unknowns and m right-hand sides, fixed for good. x: p coefficients, a shorter one
///           extended with zeros. y: m values. An equation costs 2 p (p + 2 m) multiplications, a
///           solution p^2 / 2.
/// Storage   copies share; equations added to one show in all. copy() separates all but R, which
///           stays shared: intended. To go on with both, start a new object and add the equations
///           again. Assigning as for DoubleChDecomp.
/// Status    no tolerance: without p independent equations some diagonal element of R is 0.0, see
///           isUnderDetermined(). The base's isPD(), pivots(), condition(), solve() and
///           partialSolve() are about factorisations and know nothing of this object.
/// Errors    those of update() and downdate(); 0x5011 for a solution of what is underdetermined;
///           0x500B for a right-hand side that is not there; 0x3008 where there is no memory. All
///           end the process. Should a host's handler return, the solution is empty after 0x5011
///           and 0x3008, and NaN after 0x500B; an object that was made without memory is
///           underdetermined for good.
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979), chapter 10.
class KNOTWORK_EXPORT DoubleLeastSqInc : public DoubleChDecomp {
  public:
    DoubleLeastSqInc(unsigned p, unsigned m);
    DoubleLeastSqInc(const DoubleLeastSqInc&) = default;  ///< shares
    DoubleLeastSqInc& operator=(const DoubleLeastSqInc&) = default;
    DoubleLeastSqInc copy() const;
    void deepenShallowCopy();  ///< of all but R

    /// The equation x . unknowns = y(j), for every right-hand side j.
    void addEquation(DoubleVec& x, const DoubleVec& y);
    void addEquation(DoubleVec& x, double y);  ///< for m = 1
    /// Withdraws an equation added before; for one that was not, the result means nothing. Returns
    /// 0; -1 when the others do not determine all unknowns, and nothing is changed; 1 when a
    /// residual is smaller than what would be taken from it, and its norm is -1 from now on.
    /// Rounding can hide that the others do not suffice: the solution is then large and worth
    /// nothing, with 0 returned.
    int deleteEquation(DoubleVec& x, const DoubleVec& y);
    int deleteEquation(DoubleVec& x, double y);  ///< for m = 1

    int isUnderDetermined() const;  ///< 1 when a diagonal element of R is exactly 0.0
    int fail() const { return isUnderDetermined(); }
    int good() const { return isUnderDetermined() == 0 ? 1 : 0; }
    double residualNorm(int j) const;  ///< Euclidean length
    DoubleVec solve(int j) const;      ///< p unknowns for right-hand side j

  private:
    bool hasColumn(int j) const;  // 0x500B

    DoubleGenMat Z_;  // p x m, column j belongs to right-hand side j
    DoubleVec rho_;
};
