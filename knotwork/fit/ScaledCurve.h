// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

/// A curve fit as the solver sees it: rows and right-hand sides of unit size. A weighted sample's
/// row and right-hand side are multiplied by the square root of its weight.
class ScaledCurve {
  public:
    ScaledCurve(const TtupleVector& points, const DoubleVec& parameters, const DoubleVec& weights,
                const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints);

    int dataRows() const { return system_.dataRows(); }
    int constraints() const { return system_.constraints(); }
    const ScaledRows& system() const { return system_; }
    TtupleVector rhs() const { return rhs_; }

    /// What x leaves of each right-hand side; exact to rounding.
    TtupleVector residuals(const TtupleVector& x) const;
    /// The sum of the rows from `first` on, a factor each.
    DoubleVec combined(int first, const DoubleVec& factors) const;
    std::vector<double> controlPoints(const TtupleVector& x) const;  ///< in the data's units
    /// A deviation from constraint c, brought to a row of unit length.
    double constraintInUnits(int c, double deviation) const;

  private:
    void addData(const TtupleVector& points, const DoubleVec& parameters, const DoubleVec& weights);

    ScaledRows system_;
    TtupleVector rhs_;
    std::vector<int> coordinateExponents_;
    std::vector<int> constraintExponents_;
};

}  // namespace knotwork
