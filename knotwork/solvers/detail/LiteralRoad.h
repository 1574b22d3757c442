// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/detail/Road.h"
#include "knotwork/solvers/detail/TwoPhase.h"

namespace knotwork {

/// The two phases as they are written down, thresholds and all; answers for every right-hand side.
class LiteralRoad : public Road {
  public:
    static constexpr int kMostPivots = 65535;  // what 16-bit work vectors can hold

    LiteralRoad(const DoubleGenMat& matrix, int constraints, double negligible,
                TsolverReporter& reporter);
    bool everyPivotStands() const { return everyPivotStands_; }
    void solve(const LaneReader& rhs, double* x) const override;
    double leastAnswer() const override;

  private:
    template <class Numbers>
    void solveIn(Numbers& b, Numbers& found, const LaneReader& rhs, double* x) const;
    template <class Numbers>
    void reflectRhs(Numbers& b) const;
    template <class Numbers>
    void backSubstitute(Numbers& b, Numbers& found) const;
    template <class Numbers>
    void restoreUnknowns(Numbers& found) const;

    TwoPhaseFactors factors_;
    bool everyPivotStands_ = false;
};

}  // namespace knotwork
