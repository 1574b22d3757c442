// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/Penalty.h"
#include "knotwork/fit/PenaltyKernel.h"
#include "knotwork/fit/SmoothedSystem.h"

namespace knotwork {

/// The smoothing of a curve fit: a penalty, times a factor and the sum of the weights, joins the
/// rows of a problem. The problem has to live on.
class CurveSmoothing {
  public:
    CurveSmoothing(const CurveProblem& problem, int order);  ///< order: of the derivative

    int order() const { return penalty_.order(); }
    /// The factor at which penalty and data rows are as large: whether the system is determined
    /// does not depend on it, and shows best there.
    double balanced() const { return balanced_; }
    /// Whether some factor gives one solution of a system; atBalance: its fit with the balanced
    /// one.
    bool determined(const CurveSystem& system, const BandFit& atBalance) const;
    bool kinks() const { return !kernel_.known(); }  ///< whether knots let some pass unseen
    /// Whether a factor leaves digits to refine. From balance on the condition grows no faster than
    /// the root, which says more of a strong smoothing than the rounded triangle does.
    bool reachable(double lambda, const BandFit& fit, const BandFit& atBalance) const;

    SpanTriangles triangles(double lambda) const;  ///< of data and penalty
    /// The same times a power of two, so that the longest column has a length of about 1.
    SpanTriangles unitTriangles(double lambda) const;
    BandFit fit(const CurveSystem& system, double lambda) const;
    PenalisedRows rows(const FitRows& data, double lambda, const BandFit& fit) const;

    struct Choice {
        double lambda;
        double freedom;  ///< degrees of freedom that the data use, of a coordinate
        bool atEnd;      ///< of the range that was searched
    };
    Choice chosen() const;              ///< by generalised cross-validation
    Choice asked(double lambda) const;  ///< as it is

  private:
    double leastFreedom() const;
    SmoothedSystem smoothed(const CurveSystem& system, const SystemRows& rows,
                            const RowStream& data, const BandTriangle& rough) const;
    template <class Use>
    Choice searched(Use use) const;
    double factor(double lambda) const { return lambda * problem_.weights(); }

    const CurveProblem& problem_;
    Penalty penalty_;
    PenaltyKernel kernel_;
    SpanTriangles rough_;
    double dataNorm_;
    double balanced_;
};

}  // namespace knotwork
