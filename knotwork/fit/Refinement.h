// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BandFit.h"

namespace knotwork {

/// A solution on its way, with the multipliers of its constraints: corrections by what it leaves of
/// rows, and what is known of its error.
class Refinement {
  public:
    /// From zeros. All that is handed over has to live on.
    Refinement(const BandFit& fit, const NumberBlock& constraintRhs, int width, int dimension);

    void correct(const FitRows& rows);         ///< by sums in double precision
    void correctExactly(const FitRows& rows);  ///< in doubled precision

    /// The last correction as a share of the largest unknown or, times ofRight, right-hand side.
    double moved(double ofRight) const { return share(moved_, ofRight); }
    /// What rounding of rows and residuals by eps can have done to the solution, as such a share.
    double uncertainty(double eps, double ofRight) const;
    NumberBlock& x() { return x_; }

  private:
    void correctBy(ResidualSums sums);
    void addFittedConstraints(ResidualSums& sums) const;
    void subtractMultipliers(NumberBlock& gradient) const;
    template <int Lanes>
    void correctLanes(const NumberBlock& gradient, int first, int count);
    DoubleDouble residual(int constraint, int column) const;
    std::vector<double> sizesOf(const std::vector<double>& numbers) const;
    double share(const std::vector<double>& parts, double ofRight) const;
    int held() const;  // constraints that hold exactly

    const BandFit& fit_;
    const NumberBlock& constraintRhs_;
    int width_;
    int dimension_;
    NumberBlock x_;
    std::vector<double> multipliers_;
    std::vector<double> rightSizes_;
    std::vector<double> squares_;  // of what is left of each right-hand side
    std::vector<double> moved_;    // the largest change of a number of each kind
};

}  // namespace knotwork
