// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/ConstraintRow.h"
#include "knotwork/fit/CurveConditions.h"
#include "knotwork/fit/CurveState.h"
#include "knotwork/fit/CurveSystem.h"
#include "knotwork/sparse/SpanTriangles.h"

namespace knotwork {

/// A curve fit in numbers of unit size: what was gathered of the samples, and the constraints.
class CurveProblem {
  public:
    CurveProblem(const CurveState& state, const std::vector<CurveCondition>& conditions);

    const BsplineBasis& basis() const { return state_.basis(); }
    const BsplineBasis& scaledBasis() const { return state_.scaledBasis(); }
    const SampleScales& scales() const { return scales_; }
    double sampleCount() const { return static_cast<double>(state_.rows()); }
    double countedSamples() const { return static_cast<double>(state_.counted()); }
    double weights() const { return state_.weights(); }  ///< their sum, scaled
    const SpanTriangles& triangles() const { return triangles_; }
    const BandOrder& order() const { return order_; }
    std::vector<char> spansWithData() const;  ///< a flag a span, as knots count them

    const std::vector<CurveSystem>& systems() const { return systems_; }
    double constraintWeight() const;  ///< where they are fitted: that of a sample of weight 1
    bool finite() const;              ///< whether all right-hand sides are

    std::vector<double> controlPoints(const NumberBlock& x) const;  ///< in the data's units
    NumberBlock scaled(const std::vector<double>& controlPoints) const;

    /// The largest deviation of x from a constraint, brought to a row of unit length: as a share
    /// of the largest unknown or right-hand side of its coordinate, and in the data's units.
    struct Deviation {
        double share = 0.0;
        double inUnits = 0.0;
    };
    Deviation constraintDeviation(const NumberBlock& x) const;

    /// Distances of samples are measured in units of 2^figureExponent(), coordinates times factors.
    int figureExponent() const { return figureExponent_; }
    const std::vector<double>& figureFactors() const { return figureFactors_; }
    /// The largest number that goes into a distance, in its units.
    double largestTerm(const NumberBlock& x) const;
    double rmsFromTriangles(const NumberBlock& x) const;  ///< in the data's units

  private:
    /// A condition's row over the control points, and the right-hand sides, scaled.
    struct Equation {
        const CurveCondition* condition;
        ConstraintRow row;
        std::vector<double> right;
    };
    void chooseScales(std::vector<Equation>& equations, bool coupled);
    void separate(const std::vector<Equation>& equations);
    void couple(const std::vector<Equation>& equations);
    static void addDirection(const Equation& equation, CurveSystem& system);

    const CurveState& state_;
    BandOrder order_;
    SampleScales scales_;
    std::vector<CurveSystem> systems_;
    SpanTriangles triangles_;
    std::vector<double> figureFactors_;
    int figureExponent_ = 0;
};

}  // namespace knotwork
