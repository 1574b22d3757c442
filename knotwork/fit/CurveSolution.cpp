// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveSolution.h"

#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/FitFrame.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/SolverOpinion.h"

namespace knotwork {

namespace {

constexpr double kVanishing = 1e-9;   // a tangent's length, of the control polygon's steps
constexpr double kSettled = 0x1p-48;  // a correction that figures need not be told of

std::string whySmoothingLeavesItOpen(const CurveSmoothing& smoothing, const BsplineBasis& basis)
{
    std::string left = "constant";
    if (smoothing.kinks())
        left = "curve with kinks at repeated knots only";
    else if (smoothing.order() > 1 && !basis.closed())
        left = "polynomial of a degree below " + std::to_string(smoothing.order());
    return "smoothing leaves every " + left + " open, and data and constraints do not fix one";
}

const char* whySmoothingRounds(const CurveSmoothing& smoothing, double lambda)
{
    return lambda > smoothing.balanced() ? "smoothing is so strong that rounding decides"
                                         : "smoothing is so weak that rounding decides";
}

std::string whyDataLeaveItOpen(const CurveTask& task, const CurveProblem& problem)
{
    if (!task.hasSamples() || problem.basis().closed())
        return whyUndetermined(problem.basis(), problem.spansWithData());
    std::vector<double> values;
    task.reader([&values](const SampleStretch& stretch) {
        for (int i = 0; i < stretch.count; ++i)
            if (stretch.weights == nullptr || stretch.weights[i] > 0.0)
                values.push_back(stretch.parameters[i]);
    });
    return whyUndetermined(problem.basis(), std::move(values));
}

}  // namespace

CurveSolution::CurveSolution(const CurveProblem& problem, const CurveTask& task, WorkMeter& work,
                             FittedCurve& curve)
    : problem_(problem),
      task_(task),
      work_(work),
      curve_(curve),
      triangles_(problem.triangles(), problem.sampleCount()),
      samples_(task.reader, problem.scaledBasis(), problem.scales(), problem.sampleCount(),
               problem.figureFactors(), [&work](int n) { work.add(kPassCost * n); }),
      triangle_(compressed(problem.triangles(), problem.order(), false).triangle()),
      x_(problem.basis().count(), curve.dimension, true)
{
}

void CurveSolution::run()
{
    if (!problem_.finite()) return refuse(curve_, FitVerdict::kBadInput, kValueOutOfRange);
    if (task_.smoothes() && !chooseSmoothing()) return;
    for (const CurveSystem& system : problem_.systems()) {
        if (!solve(system)) return;
        work_.add(kSolutionCost * curve_.report.unknowns);
    }
    const auto counted = static_cast<double>(samples_.figures().count);
    if (task_.hasSamples() && counted != problem_.sampleCount())
        return refuse(curve_, FitVerdict::kBadInput, "the samples changed while they were read");
    curve_.controlPoints = problem_.controlPoints(x_);
    measure();
    handOut();
    for (const CurveCondition& condition : task_.conditions)
        if (condition.isDirection && curve_.fits()) noteTangent(condition);
}

/// Whether there is a smoothing that gives one curve; the same for all systems.
bool CurveSolution::chooseSmoothing()
{
    smoothing_.emplace(problem_, task_.smoothingOrder(curve_.basis.degree()));
    for (const CurveSystem& system : problem_.systems())
        if (!determinedSmoothed(smoothing_->fit(system, smoothing_->balanced()), system))
            return false;
    const CurveSmoothing::Choice choice = task_.options.autoSmoothing
                                              ? smoothing_->chosen()
                                              : smoothing_->asked(*task_.options.smoothing);
    curve_.report.lambda = choice.lambda;
    curve_.report.effectiveDf = choice.freedom;
    curve_.report.smoothingAtEnd = choice.atEnd;
    noteSlightSmoothing();
    return true;
}

/// Nearly clean data ask for next to no smoothing, which then is all that holds a bridge.
void CurveSolution::noteSlightSmoothing()
{
    constexpr double kSlight = 0.8;  // of the freedom that there is
    const double freedom = std::min(freeNumbers() / curve_.dimension, problem_.countedSamples());
    const std::string gaps = whyUndetermined(problem_.basis(), problem_.spansWithData());
    if (task_.options.autoSmoothing && !gaps.empty() &&
        !(curve_.report.effectiveDf < kSlight * freedom))
        curve_.report.remarks.push_back(gaps + " and are bridged with hardly any smoothing");
}

/// A system factored, if it is fixed well enough.
std::optional<BandFit> CurveSolution::fitOf(const CurveSystem& system)
{
    if (!smoothing_) {
        BandFit fit(system.triangle(triangle_), system.rows, curve_.report.method,
                    problem_.constraintWeight(), system.order(problem_.order()));
        if (!determined(fit, system)) return std::nullopt;
        return fit;
    }
    const double lambda = curve_.report.lambda;
    BandFit fit = smoothing_->fit(system, lambda);
    if (smoothing_->reachable(lambda, fit, smoothing_->fit(system, smoothing_->balanced())))
        return fit;
    refuse(curve_, FitVerdict::kInaccurate, whySmoothingRounds(*smoothing_, lambda));
    return std::nullopt;
}

bool CurveSolution::determined(const BandFit& fit, const CurveSystem& system)
{
    const int numbers = system.coupled ? system.dimension : 1;
    switch (fit.state()) {
        case BandFit::State::kSolvable:
            return true;
        case BandFit::State::kDependentConstraints:
            refuse(curve_, FitVerdict::kDependentConstraints,
                   whyDependent(fit, system, problem_.scales().coordinates));
            return false;
        case BandFit::State::kTooClose:
            refuse(curve_, FitVerdict::kInaccurate, whyTooClose(fit, numbers));
            return false;
        case BandFit::State::kUndetermined:
            break;
    }
    const std::string why = whyDataLeaveItOpen(task_, problem_);
    refuse(curve_, FitVerdict::kUndetermined,
           (why.empty() ? whyNotFixed(fit, numbers) : why) + kSmoothingHelps);
    return false;
}

/// The same for a smoothed fit, given that in which data and penalty are as large.
bool CurveSolution::determinedSmoothed(const BandFit& atBalance, const CurveSystem& system)
{
    if (atBalance.state() == BandFit::State::kDependentConstraints)
        refuse(curve_, FitVerdict::kDependentConstraints,
               whyDependent(atBalance, system, problem_.scales().coordinates));
    else if (!smoothing_->determined(system, atBalance))
        refuse(curve_, FitVerdict::kUndetermined,
               whySmoothingLeavesItOpen(*smoothing_, curve_.basis));
    else
        return true;
    return false;
}

BandFit::Answer CurveSolution::answerOf(const BandFit& fit, const CurveSystem& system) const
{
    const auto solved = [&](const FitRows& rows, const FitRows* start) {
        return fit.solve(rows, system.rhs, system.kinds(), kBelievable, start);
    };
    const auto solvedFor = [&](const FitRows& samples, const FitRows& triangles) {
        const SystemRows cheap(triangles, system);
        const SystemRows own(samples, system);
        return task_.hasSamples() ? solved(own, &cheap) : solved(cheap, nullptr);
    };
    if (!smoothing_) return solvedFor(samples_, triangles_);
    const double lambda = curve_.report.lambda;
    return solvedFor(smoothing_->rows(samples_, lambda, fit),
                     smoothing_->rows(triangles_, lambda, fit));
}

/// From a system's triangle to its part of the solution; false where it is refused.
bool CurveSolution::solve(const CurveSystem& system)
{
    CurveFitReport& report = curve_.report;
    const CurveFitOptions& options = task_.options;
    SolverOpinion opinion;
    if (options.asksSolver()) {
        opinion = askSolver(
            problem_, system,
            smoothing_ ? smoothing_->unitTriangles(report.lambda) : problem_.triangles(), options);
        report.zero = std::max(report.zero, opinion.zero);
    }
    const std::optional<BandFit> fit = fitOf(system);
    if (!fit) return false;
    report.columnsUsed = report.unknowns;
    const auto refused = [&](const char* why) {
        refuse(curve_, FitVerdict::kInaccurate, why);
        return false;
    };
    if (options.asksSolver() && !opinion.solvable)
        return refused(whyZeroIsTooCoarse(options.zero, report.zero));
    const BandFit::Answer answer = answerOf(*fit, system);
    if (!(answer.error <= kBelievable))
        return refused(smoothing_ ? whySmoothingRounds(*smoothing_, report.lambda)
                                  : kTooCloseToDependent);
    if (options.asksSolver() && !opinion.sharedBy(answer.x, system.kinds()))
        return refused(whyZeroIsTooCoarse(options.zero, report.zero));
    system.place(answer.x, x_);
    moved_ = std::max(moved_, system.whole() ? answer.moved : 1.0);
    return true;
}

void CurveSolution::measure()
{
    CurveFitReport& report = curve_.report;
    const CurveProblem::Deviation deviation =
        problem_.constraintDeviation(problem_.scaled(curve_.controlPoints));
    report.constraintResidual = deviation.inUnits;
    report.verdict = verdictOf(report, deviation.share <= kConstraintMet);
    if (task_.hasSamples()) {
        measureSamples();
    } else {
        report.rms = problem_.rmsFromTriangles(problem_.scaled(curve_.controlPoints));
        report.maxResidual = std::numeric_limits<double>::quiet_NaN();
        report.maxResidualAt = std::numeric_limits<double>::quiet_NaN();
    }
    if (!smoothing_ && task_.options.smoothing.has_value()) {
        report.lambda = 0.0;
        report.effectiveDf = freeNumbers() / curve_.dimension;
    }
    if (!std::isnan(report.lambda)) report.gcv = gcv();
}

/// The figures are those of the control points that are handed out: of the last pass where the
/// solution hardly moved since, in doubled precision where rounding would show.
void CurveSolution::measureSamples()
{
    const NumberBlock x = problem_.scaled(curve_.controlPoints);
    if (!(moved_ <= kSettled)) samples_.residualSums(x);
    if (!samples_.figures().tally.standsRounding(problem_.largestTerm(x)))
        samples_.exactResidualSums(x);
    const SampleRows::Figures& figures = samples_.figures();
    curve_.report.rms = std::ldexp(figures.tally.rms(), problem_.figureExponent());
    curve_.report.maxResidual = std::ldexp(figures.tally.largest(), problem_.figureExponent());
    curve_.report.maxResidualAt = figures.largestAt;
}

/// Of all control points together, those that constraints leave.
double CurveSolution::freeNumbers() const
{
    double numbers = 0.0;
    for (const CurveSystem& system : problem_.systems())
        numbers += static_cast<double>(system.kinds()) *
                   (system.unknowns(curve_.report.unknowns) - system.equations());
    return numbers;
}

/// Generalised cross-validation, from the figures.
double CurveSolution::gcv() const
{
    const double points = problem_.countedSamples();
    const double left = 1.0 - curve_.report.effectiveDf / points;
    if (!(left > 0.0)) return std::numeric_limits<double>::quiet_NaN();
    const double weights = std::ldexp(problem_.weights(), 2 * problem_.scales().weightRoot);
    const double mean = curve_.report.rms / left;
    return weights / points * mean * mean / curve_.dimension;
}

void CurveSolution::handOut()
{
    if (!isFinite(curve_.controlPoints, curve_.report, task_.hasSamples()))
        return refuse(curve_, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
    if (!curve_.report.fits()) return refuse(curve_, FitVerdict::kInaccurate, kTooCloseToDependent);
    curve_.spline = makeSpline(problem_.basis(), curve_.dimension, curve_.controlPoints);
}

/// Says so where the tangent has no direction or the opposite one.
void CurveSolution::noteTangent(const CurveCondition& condition)
{
    const auto d = static_cast<std::size_t>(curve_.dimension);
    const std::vector<double> tangent = curve_.at(condition.terms.front().parameter, 1);
    const double length = std::fabs(
        *std::max_element(condition.value.begin(), condition.value.end(),
                          [](double a, double b) { return std::fabs(a) < std::fabs(b); }));
    double along = 0.0;
    for (std::size_t k = 0; k < d; ++k) along += tangent[k] * (condition.value[k] / length);
    double longest = 0.0;
    for (std::size_t i = d; i < curve_.controlPoints.size(); ++i)
        longest =
            std::max(longest, std::fabs(curve_.controlPoints[i] - curve_.controlPoints[i - d]));
    const std::string where = "the tangent at " + shortestText(condition.askedAt);
    if (!(std::fabs(along) * curve_.basis.period() > kVanishing * longest))
        curve_.report.remarks.push_back(where + " vanishes");
    else if (along < 0.0)
        curve_.report.remarks.push_back(where + " points against its direction");
}

}  // namespace knotwork
