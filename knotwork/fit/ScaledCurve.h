// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/ParameterRange.h"
#include "knotwork/fit/ResidualSums.h"
#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

/// A curve fit in numbers of unit size: rows, right-hand sides (first the data's, then the
/// constraints') and weights, of which the largest is about 1. It shares nothing with what it was
/// made from.
class ScaledCurve {
  public:
    ScaledCurve(const TtupleVector& points, const DoubleVec& parameters, const DoubleVec& weights,
                const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints);

    const ScaledRows& rows() const { return rows_; }
    const NumberBlock& rhs() const { return rhs_; }
    int dimension() const { return rhs_.width; }

    std::vector<double> controlPoints(const NumberBlock& x) const;  ///< in the data's units
    NumberBlock scaled(const std::vector<double>& controlPoints) const;
    /// The largest deviation of x from a constraint, brought to a row of unit length: as a share
    /// of the largest unknown or right-hand side of its coordinate, and in the data's units.
    struct Deviation {
        double share = 0.0;
        double inUnits = 0.0;
    };
    Deviation constraintDeviation(const NumberBlock& x) const;

    /// Data point i's squared distance from x in units of 2^figureExponent().
    double squaredDistance(int i, const NumberBlock& x) const;
    double squaredDistanceExactly(int i, const NumberBlock& x) const;
    int figureExponent() const { return figureExponent_; }
    /// The largest number that goes into a distance, in its units.
    double largestTerm(const NumberBlock& x) const;

  private:
    void addData(const TtupleVector& points, const DoubleVec& parameters, const DoubleVec& weights,
                 const ParameterRange& range);
    void scaleCoordinates();

    ScaledRows rows_;
    NumberBlock rhs_;
    std::vector<int> coordinateExponents_;
    std::vector<double> figureFactors_;  // of each coordinate, a power of two
    int figureExponent_ = 0;
};

}  // namespace knotwork
