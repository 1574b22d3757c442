// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "knotwork/fit/CurveConditions.h"
#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/CurveSmoothing.h"
#include "knotwork/fit/SampleRows.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

/// What a curve fit is asked for. reader: null where the samples are gone.
struct CurveTask {
    const SampleReader& reader;
    const std::vector<CurveCondition> conditions;
    const CurveFitOptions& options;

    bool hasSamples() const { return reader != nullptr; }
    /// Smoothed by 0 is not smoothed but reported as such.
    bool smoothes() const { return options.autoSmoothing || options.smoothing.value_or(0.0) > 0.0; }
    int smoothingOrder(int degree) const
    {
        return options.smoothingOrder > 0 ? options.smoothingOrder : std::min(2, degree);
    }
};

// What stages cost a data point, measured, the cheapest counting 1; and what an unknown does.
constexpr double kCompressionCost = 1.5;
constexpr double kPassCost = 1.0;
constexpr double kSolutionCost = 100.0;

/// Said behind a refusal for want of data.
constexpr const char* kSmoothingHelps = ", which smoothing may make up for";

/// Solves a problem whose samples are compressed: fills in a curve and its report, or refuses.
class CurveSolution {
  public:
    CurveSolution(const CurveProblem& problem, const CurveTask& task, WorkMeter& work,
                  FittedCurve& curve);
    void run();

  private:
    bool chooseSmoothing();
    bool solve(const CurveSystem& system);
    void noteSlightSmoothing();
    std::optional<BandFit> fitOf(const CurveSystem& system);
    bool determined(const BandFit& fit, const CurveSystem& system);
    bool determinedSmoothed(const BandFit& atBalance, const CurveSystem& system);
    BandFit::Answer answerOf(const BandFit& fit, const CurveSystem& system) const;
    void measure();
    void measureSamples();
    double gcv() const;
    double freeNumbers() const;
    void handOut();
    void noteTangent(const CurveCondition& condition);

    const CurveProblem& problem_;
    const CurveTask& task_;
    WorkMeter& work_;
    FittedCurve& curve_;
    TriangleRows triangles_;
    SampleRows samples_;
    BandTriangle triangle_;  // of one coordinate's data
    std::optional<CurveSmoothing> smoothing_;
    NumberBlock x_;
    double moved_ = 0.0;  // the last correction, as a share
};

}  // namespace knotwork
