// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "knotwork/fit/BandOrder.h"
#include "knotwork/fit/ConstraintRow.h"
#include "knotwork/fit/FitReport.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/ConstrainedTriangle.h"

namespace knotwork {

/// Constraints as rows, their entries where the unknowns stand in a band.
SpanRows placedRows(const std::vector<ConstraintRow>& constraints, const BandOrder& order,
                    int unknowns);

/// Least squares along one parameter, constraints held exactly or fitted too, factored once and
/// solved for any number of right-hand sides to an error that is known.
/// Method     the compressed data rows and the constraints are factored as a ConstrainedTriangle;
///            a solution is refined, starting from zeros, by what it leaves of the rows. Where
///            rounding of rows and residuals cannot be told from an answer that is good enough,
///            rows, residuals and solution go on in doubled precision, where refinement converges
///            as long as eps times the condition of the triangle is below 1.
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

    /// data: R of the data rows, its columns in the order given. weight: of constraints where they
    /// are fitted. Rows and solutions have a number a function, in the functions' order.
    BandFit(const BandTriangle& data, std::vector<ConstraintRow> constraints, FitMethod method,
            double weight = 1.0, BandOrder order = BandOrder());

    State state() const;
    double condition() const { return factors_->condition(); }
    double constraintCondition() const { return cancelled_ * factors_->constraintCondition(); }
    const std::vector<ConstraintRow>& constraints() const { return constraints_; }
    const BandOrder& order() const { return order_; }
    const BandTriangle& triangle() const { return triangle_; }  ///< of all rows that are fitted

    /// The unknowns that are hardly fixed, or not at all, counted from 0.
    std::vector<int> weakUnknowns() const;

    /// How much larger than the largest right-hand side of rows a solution can be, at most, given
    /// the sum of the rows' weights.
    double amplification(double weights) const;

    /// What a solution is and what is known of it.
    struct Answer {
        NumberBlock x;       ///< in doubled precision
        double error = 1.0;  ///< hardly ever too small a bound, as a share of the largest unknown
                             ///< or right-hand side; not finite or 1 where nothing is known
        double moved = 1.0;  ///< the last correction, as such a share
    };
    /// Solves for the right-hand sides of the rows and those of the constraints, a block row each.
    /// Columns c with the same c % dimension are numbers of one kind, of which the largest measures
    /// the errors. The error is at most `wanted` where double precision gives that or doubled
    /// precision can. start: rows with the same triangle, the first rounds' cheaper ones; null:
    /// the rows themselves.
    Answer solve(const FitRows& rows, const NumberBlock& constraintRhs, int dimension,
                 double wanted, const FitRows* start = nullptr) const;

  private:
    std::vector<ConstraintRow> constraints_;
    bool fitted_;  // whether they are rows like the data's
    double weight_;
    BandOrder order_;
    BandTriangle triangle_;
    double cancelled_ = 1.0;  // how much shorter a constraint's row is at most than what it sums
    std::unique_ptr<ConstrainedTriangle> factors_;

    friend class Refinement;
};

}  // namespace knotwork
