// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "knotwork/solvers/TsolveConstrainedLsq.h"

namespace knotwork {
class Road;
}

/// Equality-constrained least squares by direct elimination with Householder reflections.
/// Phase 1   reduces the constraint rows from the right, row pivoting by largest remaining norm,
///           which changes the unknowns orthogonally for every other row too.
/// Phase 2   QR of the least-squares rows in the columns that are left, column pivoting by largest
///           remaining norm.
/// Status    a pivot whose largest entry is negligible is skipped; then, or when a diagonal entry
///           falls below 1e-13 times the largest squared norm, the system counts as dependent. A
///           rank-deficient least-squares block makes it dependent too, as does a NaN.
/// Scale     thresholds are absolute: an update is skipped when its inner product is at most
///           tolerance / 10 in magnitude, in factoring and in solving. Bring problems to unit size.
/// Numbers   an infinite number or a NaN in a right-hand side makes every unknown of its coordinate
///           a NaN; the code stays 0 and other coordinates keep their bits.
/// Limits    work vectors have the length max(M mod 65536, N mod 65536) as 16-bit hosts laid down;
///           a system whose min(M, N) exceeds 65535 stays dependent.
/// Speed     a system with few entries in a row, or a larger dense one, is solved on a short road
///           that uses them, or works in blocks, where rounding and the thresholds above cannot
///           tell the difference; what is said here holds on both roads. A right-hand side with a
///           solution within reach of the thresholds takes the literal road, for which the first
///           such solve factors a copy of its own.
/// Deriving  an object of a derived class finds its system in working_, as documented; sparse rows
///           come as spans only to one that calls takeSpans().
/// Source    Lawson, Hanson: Solving Least Squares Problems (SIAM 1995), chapters 20 and 21, for
///           elimination of constraints; Businger, Golub: Linear least squares solutions by
///           Householder transformations, Numer. Math. 7 (1965), for the pivoting and downdating.
class KNOTWORK_EXPORT Thouseholder : public TsolveConstrainedLsq {
  public:
    /// tolerance: what counts as zero; maxEntriesPerRow: 0 or less for no thinning of rows.
    Thouseholder(TsolverReporter& reporter, double tolerance, int maxEntriesPerRow,
                 bool keepMatrixCopy);
    Thouseholder(double tolerance, int maxEntriesPerRow, bool keepMatrixCopy);
    Thouseholder(const Thouseholder& other);
    ~Thouseholder() override;

    /// The right-hand side, one entry (point) per used row, may be overwritten. Codes 0, 4, 5.
    int solveInPlace(TtupleVector& rhs, TtupleVector* x) const override;
    int solveInPlace(DoubleVec& rhs, DoubleVec* x) const override;

    /// Damped solution of a dependent system: least squares of the working matrix stacked on 0.2
    /// times the identity, without hard constraints; tries again on that, at most `depth` systems
    /// in all. Empty when rhs is short or depth below 1; dropped unknowns are 0.
    TtupleVector altSolve(const TtupleVector& rhs, int depth);

    Thouseholder& reference(Thouseholder& other);
    void deepenShallowCopy();

  protected:
    bool factor() override;
    void releaseFactors() override;
    bool inPlace();  ///< the two phases; true when no pivot was negligible

    /// Keeps set-ups from the short road; for comparisons.
    void keepToLiteralRoad()
    {
        literalOnly_ = true;
        takeNoSpans();
    }
    bool onShortRoad() const;

  private:
    struct Factors;
    TtupleVector dampedSolve(const TtupleVector& rhs, int depth);
    bool findShortRoad();
    void hold(std::unique_ptr<const knotwork::Road> road);
    void reportSteps() const;
    void solveCoordinates(const TtupleVector& rhs, TtupleVector& x) const;
    void solveLiterally(const TtupleVector& rhs, const DoubleVec& rowFactors, int coordinate,
                        double* x, int step) const;

    double negligible_;
    bool literalOnly_ = false;
    std::shared_ptr<Factors> factors_;  // made anew by each set-up, so that copies may share them
};
