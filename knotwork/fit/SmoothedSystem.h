// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BandOrder.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/ConstraintBasis.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// A penalised fit under constraints, as a function of how much the penalty counts: eliminated once
/// and factored anew for each factor, by triangles alone, in O(n p^2).
///   C H = [0 T],  R H = [F G],  P H = [E ...]     data R, penalty P, constraints C
///   [F; root E] = Q [S; 0]
/// The degrees of freedom that the data use are tr((S^T S)^-1 F^T F), those of one right-hand side,
/// and what is left of all is factor tr((S^T S)^-1 E^T E): the smaller one of |F| and root |E|
/// gives the digits, whichever way.
class SmoothedSystem {
  public:
    /// rows: those that the triangle R of the data was made from; they have to live on. rhs: of R,
    /// a row of numbers a row. penalty: its triangle; the columns of both are in a band's order,
    /// and those of the constraints' rows. constraintRhs: a row a constraint.
    SmoothedSystem(const FitRows& rows, const BandTriangle& R, const std::vector<double>& rhs,
                   const BandTriangle& penalty, const SpanRows& constraints,
                   const NumberBlock& constraintRhs, BandOrder order);

    int width() const { return width_; }  ///< right-hand sides
    int freeUnknowns() const { return basis_.freeCols(); }
    struct Figures {
        double freedom = 0.0;         ///< degrees of freedom
        double condition = 0.0;       ///< of S, a bound; NaN where it is singular
        double magnified = 0.0;       ///< how many times eps the freedom is off
        std::vector<double> squares;  ///< of what is left of the data, one sum a right-hand side
    };
    Figures at(double factor) const;  ///< of the penalty's squares; above 0

  private:
    struct Lanes {
        std::vector<double> fixed;  // unknowns with what constraints ask for, H [0; T^-1 d]
        std::vector<double> data;   // right-hand sides with those unknowns off
        std::vector<double> penalty;
    };

    const FitRows& rows_;
    BandOrder order_;
    ConstraintBasis basis_;
    SpanRows joint_;  // of F, then of E
    int dataRows_ = 0;
    int width_;
    double dataSquares_ = 0.0;
    double roughSquares_ = 0.0;
    std::vector<Lanes> lanes_;  // of kFewLanes right-hand sides each
};

}  // namespace knotwork
