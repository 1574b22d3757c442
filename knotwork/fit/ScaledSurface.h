// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/FitSolver.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/fit/SurfaceFit.h"
#include "knotwork/solvers/TsolveTensorProductLsq.h"

namespace knotwork {

/// What a surface is fitted to and with.
struct SurfaceData {
    TtupleMatrix points;
    DoubleVec uParameters;
    DoubleVec vParameters;
    BsplineBasis u;
    BsplineBasis v;
};

class ScaledSurface;

/// A solver a direction, and the two together.
class DirectionSolvers {
  public:
    DirectionSolvers(FitMethod method, TsolverReporter* reporter);
    int setU(const ScaledSurface& problem);  ///< 0, or -1 for a dependent direction
    int setV(const ScaledSurface& problem);
    TsolveConstrainedLsq& u() { return *u_; }
    TsolveConstrainedLsq& v() { return *v_; }
    TsolveTensorProductLsq& tensor() { return tensor_; }

  private:
    TsolverReporter quiet_;
    std::unique_ptr<TsolveConstrainedLsq> u_;
    std::unique_ptr<TsolveConstrainedLsq> v_;
    TsolveTensorProductLsq tensor_;
};

/// How far a solution lies from the lines of constraints.
struct LineDeviations {
    double scaled = 0.0;   ///< in the scaled problem, where the data are of unit size
    double inUnits = 0.0;  ///< in the data's units
};

/// A surface fit as the solvers see it: a system a direction and a grid of right-hand sides, all of
/// unit size. The grid has the samples first, then a row for each line of constant u and a column
/// for each line of constant v.
class ScaledSurface {
  public:
    ScaledSurface(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                  const std::vector<LineConstraint>& acrossV);
    ScaledSurface(const ScaledSurface&) = delete;
    ScaledSurface& operator=(const ScaledSurface&) = delete;

    const std::string& fault() const { return fault_; }  ///< empty when the lines can be combined
    const ScaledRows& inU() const { return u_; }
    const ScaledRows& inV() const { return v_; }
    const TtupleMatrix& rhs() const { return rhs_; }

    TtupleMatrix residuals(const TtupleMatrix& x) const;
    TtupleMatrix scaled(const TtupleMatrix& controlPoints) const;
    std::vector<double> controlPoints(const TtupleMatrix& x) const;  ///< in the data's units

    /// A line is met when the solution's curve on it is the fit of the line's own values.
    LineDeviations lineDeviations(const TtupleMatrix& x, DirectionSolvers& solvers) const;

  private:
    void fillLines(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                   const std::vector<LineConstraint>& acrossV);
    void fillCrossing(const SurfaceData& data, const LineConstraint& lineU, int row,
                      const LineConstraint& lineV, int column, int exponent);
    void scaleCoordinates();
    void note(LineDeviations& worst, double deviation, int k) const;

    ScaledRows u_;
    ScaledRows v_;
    TtupleMatrix rhs_;
    std::vector<int> coordinateExponents_;
    std::string fault_;
};

}  // namespace knotwork
