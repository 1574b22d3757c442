// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/solvers/TsolverReporter.h"

namespace knotwork {

/// What every solve returns.
enum SolveCode {
    kSolved = 0,
    kBadArgument = 4,  ///< null or short result, short right-hand side, tuple sizes that differ,
                       ///< fixed values asked of a solver that kept no copy of the matrix
    kDependent = 5,    ///< the equations that should fix the unknowns depend on each other
};

}  // namespace knotwork

/// Root of the linear solvers: which rows and columns of the system take part, the tolerance, the
/// row factors of the right-hand side, and the two ways to solve.
/// Use       construct, set tolerance(), set a matrix (derived classes), then solve any number of
///           right-hand sides; solving changes nothing. One thread at a time.
/// Shapes    b: one entry (point) per row of the system; more are accepted. x: one per column.
/// Codes     0, 4 or 5, see knotwork::SolveCode; never an exception.
/// Fixed     with useFixed, x brings values for the columns that were dropped from the system; they
///           stay and count. Needs keepMatrixCopy. Ignored, and x cleared, when every column is in
///           use or x has another length.
class KNOTWORK_EXPORT TbaseSolver {
  public:
    TbaseSolver(TsolverReporter& reporter, bool keepMatrixCopy);  ///< the reporter is borrowed
    explicit TbaseSolver(bool keepMatrixCopy);                    ///< silent
    TbaseSolver(const TbaseSolver& other);                        ///< storage of its own
    TbaseSolver& operator=(const TbaseSolver&) = delete;

    virtual ~TbaseSolver();
    virtual bool isSolvable() const = 0;
    virtual int solveInPlace(TtupleVector& rhs, TtupleVector* x) const = 0;
    virtual int solveInPlace(DoubleVec& rhs, DoubleVec* x) const = 0;

  protected:
    virtual void resetMatrix() = 0;

  public:
    virtual DoubleVec originalColumn(int col) = 0;
    virtual void preSetMatrix(const IntVec& fixedCols, double resetCutoff, bool normalise,
                              bool cleanZeros) = 0;
    virtual bool findAllZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols,
                              double tol) const = 0;

    TbaseSolver& reference(TbaseSolver& other);  ///< shares its storage; the reporter stays
    void deepenShallowCopy();

    double& tolerance() { return tolerance_; }
    double tolerance() const { return tolerance_; }
    const DoubleVec& rhsMult() const { return rhsMult_; }  ///< empty unless rows were normalised
    const IntVec& usedColIndex() const { return usedColIndex_; }
    int usedCols() const { return static_cast<int>(usedColIndex_.length()); }
    int totalRows() const { return totalRows_; }
    int totalCols() const { return totalCols_; }
    bool isNormalised() const { return normalised_; }

    int solve(const DoubleVec& b, DoubleVec* x, bool useFixed) const;
    int solve(const TtupleVector& b, TtupleVector* x, bool useFixed) const;
    /// The solution, whatever the code was; empty when the system is not solvable.
    DoubleVec solve(const DoubleVec& b) const;
    TtupleVector solve(const TtupleVector& b) const;

  protected:
    /// Drops zero rows and columns, and the fixed ones; false, and nothing changes, when nothing
    /// would be left.
    bool cleanZero(const IntVec& fixedCols, double tol);

    TsolverReporter& reporter_;
    IntVec usedRowIndex_;  // ascending
    int totalRows_;
    int totalCols_;
    IntVec usedColIndex_;  // ascending
    double tolerance_;
    DoubleVec rhsMult_;
    bool normalised_;
    bool keepMatrixCopy_;
    bool copyRhs_;  // never cleared by the library

  private:
    template <class Numbers>
    int solveAny(const Numbers& b, Numbers* x, bool useFixed) const;
    template <class Numbers>
    Numbers workingRhs(const Numbers& b, bool useFixed) const;
    template <class Numbers>
    void subtractFixed(Numbers& rhs, const Numbers& x) const;
    template <class Numbers>
    int solveReduced(Numbers& rhs, Numbers& x) const;
};
