// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "knotwork/fit/FitReport.h"
#include "knotwork/fit/ResidualSums.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/solvers/TsolverReporter.h"
#include "knotwork/solvers/detail/ConstrainedTriangle.h"

namespace knotwork {

/// Least squares along one parameter, constraints held exactly or fitted too, factored once and
/// solved for any number of right-hand sides to an error that is known.
/// Method     the data rows are compressed to a triangle (RowStream), which with the constraints
///            gives the factors of ConstrainedTriangle; a solution is refined, starting from zeros,
///            by what it leaves of the rows themselves. Where rounding of rows and residuals cannot
///            be told from an answer that is good enough, rows, residuals and solution go on in
///            doubled precision, where refinement converges as long as eps times the condition of
///            the triangle is below 1.
/// Verdict    the condition of the triangles, estimated, says whether data and constraints fix the
///            unknowns; no update is skipped on the way to them. What the estimate missed does not
///            converge.
class BandFit {
  public:
    enum class State {
        kSolvable,
        kDependentConstraints,
        kUndetermined,
        kTooClose,  ///< to one of the two
    };

    /// The rows have to live on. progress(n): n more rows are compressed; may be null.
    BandFit(const ScaledRows& rows, FitMethod method,
            const std::function<void(int)>& progress = nullptr);
    /// The same data rows with some of the unknowns held instead of the constraints.
    BandFit(const BandFit& data, const std::vector<int>& heldColumns);

    State state() const;
    double condition() const { return factors_->condition(); }
    double constraintCondition() const { return factors_->constraintCondition(); }

    /// The unknowns that are hardly fixed, or not at all, counted from 0.
    std::vector<int> weakUnknowns() const;

    /// How much larger than the largest right-hand side a solution can be, at most.
    double amplification() const;

    /// Solves for b, one row a row of the system (data rows and held columns for a BandFit with
    /// such). Columns c with the same c % dimension are numbers of one kind, of which the largest
    /// unknown measures the errors. Returns a bound of the error as a share of that, hardly ever
    /// too small: at most `wanted` where double precision gives that or doubled precision can; 1
    /// or more, or not finite, where nothing is known. x: cols() rows.
    /// progress(n): n more rows have been gone through.
    double solve(const NumberBlock& b, int dimension, double wanted, NumberBlock& x,
                 const std::function<void(int)>& progress = nullptr) const;

    /// What x leaves of the right-hand sides of constraint i.
    DoubleDouble constraintResidual(int i, const NumberBlock& b, const NumberBlock& x,
                                    int column) const;
    int fittedRows() const { return fittedRows_; }
    int constraints() const { return static_cast<int>(constraints_.size()); }

  private:
    class Refinement;
    struct ConstraintRow {
        int first;
        std::vector<DoubleDouble> entries;
    };

    const ScaledRows& rows_;
    int fittedRows_;  // that the least squares run over
    std::vector<ConstraintRow> constraints_;
    BandTriangle triangle_;
    std::unique_ptr<ConstrainedTriangle> factors_;
};

}  // namespace knotwork
