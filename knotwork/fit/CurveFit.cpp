// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/CurveConditions.h"
#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/FitFrame.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/SampleRows.h"
#include "knotwork/fit/SolverOpinion.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

constexpr double kVanishing = 1e-9;   // a tangent's length, of the control polygon's steps
constexpr double kSettled = 0x1p-48;  // a correction that figures need not be told of

/// What a fit is asked for. reader: null where the samples are gone.
struct Task {
    const SampleReader& reader;
    const std::vector<CurveCondition> conditions;
    const CurveFitOptions& options;

    bool hasSamples() const { return reader != nullptr; }
};

/// What a stage costs a data point, measured, the cheapest counting 1; and what an unknown does.
constexpr double kCompressionCost = 1.5;
constexpr double kPassCost = 1.0;
constexpr double kSolutionCost = 100.0;

std::string whyDataLeaveItOpen(const Task& task, const CurveProblem& problem)
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

/// Refuses what data and constraints do not fix, or hardly.
bool determined(const BandFit& fit, const CurveSystem& system, const CurveProblem& problem,
                const Task& task, FittedCurve& curve)
{
    const int numbers = system.coupled ? system.dimension : 1;
    switch (fit.state()) {
        case BandFit::State::kSolvable:
            return true;
        case BandFit::State::kDependentConstraints:
            refuse(curve, FitVerdict::kDependentConstraints,
                   whyDependent(fit, system, problem.scales().coordinates));
            return false;
        case BandFit::State::kTooClose:
            refuse(curve, FitVerdict::kInaccurate, whyTooClose(fit, numbers));
            return false;
        case BandFit::State::kUndetermined:
            break;
    }
    const std::string why = whyDataLeaveItOpen(task, problem);
    refuse(curve, FitVerdict::kUndetermined, why.empty() ? whyNotFixed(fit, numbers) : why);
    return false;
}

/// The figures are those of the control points that are handed out: of the last pass where the
/// solution hardly moved since, in doubled precision where rounding would show.
void measureSamples(const CurveProblem& problem, const SampleRows& samples, double moved,
                    FittedCurve& curve)
{
    const NumberBlock x = problem.scaled(curve.controlPoints);
    if (!(moved <= kSettled)) samples.residualSums(x);
    if (!samples.figures().tally.standsRounding(problem.largestTerm(x)))
        samples.exactResidualSums(x);
    const SampleRows::Figures& figures = samples.figures();
    curve.report.rms = std::ldexp(figures.tally.rms(), problem.figureExponent());
    curve.report.maxResidual = std::ldexp(figures.tally.largest(), problem.figureExponent());
    curve.report.maxResidualAt = figures.largestAt;
}

void measureConstraints(const CurveProblem& problem, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    const CurveProblem::Deviation deviation =
        problem.constraintDeviation(problem.scaled(curve.controlPoints));
    report.constraintResidual = deviation.inUnits;
    report.verdict = verdictOf(report, deviation.share <= kConstraintMet);
}

void handOut(const CurveProblem& problem, bool samples, FittedCurve& curve)
{
    if (!isFinite(curve.controlPoints, curve.report, samples))
        return refuse(curve, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
    if (!curve.report.fits()) return refuse(curve, FitVerdict::kInaccurate, kTooCloseToDependent);
    curve.spline = makeSpline(problem.basis(), curve.dimension, curve.controlPoints);
}

/// Says so where the tangent has no direction or the opposite one.
void noteTangent(const CurveCondition& condition, FittedCurve& curve)
{
    const double t = condition.terms.front().parameter;
    const std::vector<double> tangent = curve.at(t, 1);
    double along = 0.0;
    double longest = 0.0;
    for (std::size_t k = 0; k < tangent.size(); ++k) {
        const double length =
            *std::max_element(condition.value.begin(), condition.value.end(),
                              [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        along += tangent[k] * (condition.value[k] / std::fabs(length));
    }
    for (std::size_t i = static_cast<std::size_t>(curve.dimension); i < curve.controlPoints.size();
         ++i)
        longest = std::max(
            longest, std::fabs(curve.controlPoints[i] -
                               curve.controlPoints[i - static_cast<std::size_t>(curve.dimension)]));
    const std::string where = "the tangent at " + shortestText(condition.askedAt);
    if (!(std::fabs(along) * curve.basis.period() > kVanishing * longest))
        curve.report.remarks.push_back(where + " vanishes");
    else if (along < 0.0)
        curve.report.remarks.push_back(where + " points against its direction");
}

/// One system of a problem, from its triangle to its part of the solution. Returns the last
/// correction, or nothing where it is refused.
std::optional<double> solveSystem(const CurveSystem& system, const BandTriangle& triangle,
                                  const CurveProblem& problem, const Task& task,
                                  const FitRows& rows, const FitRows& triangles, NumberBlock& x,
                                  FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    const BandFit fit(system.triangle(triangle), system.rows, report.method,
                      problem.constraintWeight(), system.order(problem.order()));
    SolverOpinion opinion;
    if (task.options.asksSolver()) {
        opinion = askSolver(problem, system, task.options);
        report.zero = std::max(report.zero, opinion.zero);
    }
    if (!determined(fit, system, problem, task, curve)) return std::nullopt;
    report.columnsUsed = report.unknowns;
    const auto refuseZero = [&] {
        refuse(curve, FitVerdict::kInaccurate, whyZeroIsTooCoarse(task.options.zero, report.zero));
        return std::nullopt;
    };
    if (task.options.asksSolver() && !opinion.solvable) return refuseZero();
    const SystemRows own(rows, system);
    const SystemRows start(triangles, system);
    const BandFit::Answer answer = fit.solve(own, system.rhs, system.kinds(), kBelievable,
                                             task.hasSamples() ? &start : nullptr);
    if (!(answer.error <= kBelievable)) {
        refuse(curve, FitVerdict::kInaccurate, kTooCloseToDependent);
        return std::nullopt;
    }
    if (task.options.asksSolver() && !opinion.sharedBy(answer.x, system.kinds()))
        return refuseZero();
    system.place(answer.x, x);
    return system.whole() ? answer.moved : 1.0;
}

/// Solves a problem whose samples are compressed.
void solveProblem(const CurveProblem& problem, const Task& task, WorkMeter& work,
                  FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    if (!problem.finite()) return refuse(curve, FitVerdict::kBadInput, kValueOutOfRange);
    const TriangleRows triangles(problem.triangles(), problem.sampleCount());
    const SampleRows samples(task.reader, problem.scaledBasis(), problem.scales(),
                             problem.sampleCount(), problem.figureFactors(),
                             [&work](int n) { work.add(kPassCost * n); });
    const FitRows& rows = task.hasSamples() ? static_cast<const FitRows&>(samples) : triangles;
    const BandTriangle triangle =
        compressed(problem.triangles(), problem.order(), false).triangle();
    NumberBlock x(problem.basis().count(), curve.dimension, true);
    double moved = 0.0;
    for (const CurveSystem& system : problem.systems()) {
        const std::optional<double> correction =
            solveSystem(system, triangle, problem, task, rows, triangles, x, curve);
        if (!correction) return;
        moved = std::max(moved, *correction);
        work.add(kSolutionCost * report.unknowns);
    }
    if (task.hasSamples() && static_cast<double>(samples.figures().count) != problem.sampleCount())
        return refuse(curve, FitVerdict::kBadInput, "the samples changed while they were read");

    curve.controlPoints = problem.controlPoints(x);
    measureConstraints(problem, curve);
    if (task.hasSamples()) {
        measureSamples(problem, samples, moved, curve);
    } else {
        report.rms = problem.rmsFromTriangles(problem.scaled(curve.controlPoints));
        report.maxResidual = std::numeric_limits<double>::quiet_NaN();
        report.maxResidualAt = std::numeric_limits<double>::quiet_NaN();
    }
    handOut(problem, task.hasSamples(), curve);
    for (const CurveCondition& condition : task.conditions)
        if (condition.isDirection && curve.fits()) noteTangent(condition, curve);
}

void start(const BsplineBasis& basis, int dimension, const Task& task, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    curve.basis = basis;
    curve.dimension = dimension;
    report.method = task.options.method;
    report.unknowns = basis.unknowns();
    report.constraints = static_cast<int>(task.conditions.size());
    report.zero = task.options.zero;
    // What the curve object is made through counts in ints.
    if (static_cast<double>(basis.count()) * dimension > std::numeric_limits<int>::max())
        throw std::bad_alloc();
}

/// Beside the samples' own, for the coordinate that has the fewest.
long long fewestEquations(const Task& task, int dimension)
{
    std::vector<long long> counts(static_cast<std::size_t>(dimension), 0);
    for (const CurveCondition& condition : task.conditions)
        for (std::size_t k = 0; k < counts.size(); ++k) counts[k] += condition.mask[k] != 0 ? 1 : 0;
    return *std::min_element(counts.begin(), counts.end());
}

/// Whether there are samples, with weights, and equations enough; counts them.
bool countsSuffice(const CurveState& state, const Task& task, FittedCurve& curve)
{
    constexpr long long kMost = std::numeric_limits<int>::max();
    CurveFitReport& report = curve.report;
    report.dataPoints = static_cast<int>(std::min(state.rows(), kMost));
    const long long equations = state.rows() + fewestEquations(task, curve.dimension);
    if (state.rows() < 1)
        refuse(curve, FitVerdict::kBadInput, "there are no points");
    else if (state.weights() == 0.0)
        refuse(curve, FitVerdict::kBadInput, "all weights are 0");
    else if (equations < report.unknowns)
        refuse(curve, FitVerdict::kUndetermined,
               tooFewEquations(report.unknowns, equations, "equations"));
    else
        return true;
    return false;
}

/// Compresses the samples and solves. count: how many there will be, as far as that is known.
void fitSamples(const BsplineBasis& basis, int dimension, const Task& task, double count,
                FittedCurve& curve)
{
    start(basis, dimension, task, curve);
    WorkMeter work(task.options.progress,
                   (kCompressionCost + kPassCost) * count + kSolutionCost * basis.count());
    CurveState state(basis, dimension);
    std::string fault;
    task.reader([&](const SampleStretch& stretch) {
        if (fault.empty())
            fault = state.add(stretch, [&work](int n) { work.add(kCompressionCost * n); });
    });
    if (!fault.empty())
        refuse(curve, FitVerdict::kBadInput, fault);
    else if (countsSuffice(state, task, curve))
        solveProblem(CurveProblem(state, task.conditions), task, work, curve);
    work.finish();
}

const double* contiguousOr(const DoubleVec& v, std::vector<double>& copy)
{
    if (v.stride() == 1 || v.length() < 2) return v.data();
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) copy.push_back(v(i));
    return copy.data();
}

}  // namespace

FittedCurve fitCurve(const TtupleVector& points, const DoubleVec& parameters,
                     const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints,
                     const CurveFitOptions& options)
{
    const auto fault = [&] {
        const std::string found = arrayFault(points, parameters, options.weights);
        return found.empty() ? requestFault(points.size(), basis, constraints, options) : found;
    };
    return checkedFit<FittedCurve>(options.method, fault, [&](FittedCurve& curve) {
        std::vector<double> copies[3];
        SampleStretch all = {points.points(), contiguousOr(parameters, copies[0]),
                             contiguousOr(points.numbers(), copies[1]), nullptr};
        if (options.weights.length() > 0) all.weights = contiguousOr(options.weights, copies[2]);
        const SampleReader reader = [&all](const auto& take) { take(all); };
        fitSamples(basis, points.size(),
                   {reader, conditionsOf(basis, points.size(), constraints, options), options},
                   all.count, curve);
    });
}

FittedCurve fitCurve(const SampleReader& reader, int dimension, const BsplineBasis& basis,
                     const std::vector<CurveConstraint>& constraints,
                     const CurveFitOptions& options)
{
    const auto fault = [&]() -> std::string {
        if (reader == nullptr) return "there are no points";
        if (options.weights.length() > 0) return "weights come with the samples";
        return requestFault(dimension, basis, constraints, options);
    };
    return checkedFit<FittedCurve>(options.method, fault, [&](FittedCurve& curve) {
        fitSamples(basis, dimension,
                   {reader, conditionsOf(basis, dimension, constraints, options), options}, 0.0,
                   curve);
    });
}

FittedCurve fitCurve(const CurveAccumulator& gathered,
                     const std::vector<CurveConstraint>& constraints,
                     const CurveFitOptions& options)
{
    const auto fault = [&]() -> std::string {
        if (options.weights.length() > 0) return "weights come with the samples";
        return requestFault(gathered.dimension(), gathered.basis(), constraints, options);
    };
    return checkedFit<FittedCurve>(options.method, fault, [&](FittedCurve& curve) {
        const SampleReader none;
        const BsplineBasis& basis = gathered.basis();
        const Task task = {none, conditionsOf(basis, gathered.dimension(), constraints, options),
                           options};
        start(basis, gathered.dimension(), task, curve);
        if (!countsSuffice(gathered.state(), task, curve)) return;
        WorkMeter work(options.progress, kSolutionCost * curve.report.unknowns);
        solveProblem(CurveProblem(gathered.state(), task.conditions), task, work, curve);
        work.finish();
    });
}

void FittedCurve::forget()
{
    controlPoints.clear();
    spline.reset();
}

std::vector<double> FittedCurve::at(double t, int derivative) const
{
    if (spline == nullptr || derivative < 0) return {};
    t = basis.wrapped(t);
    std::vector<double> rows(static_cast<std::size_t>(spline->WorkspaceSize(derivative)));
    spline->eval(rows.data(), t, derivative);
    const auto first = rows.begin() + std::ptrdiff_t{derivative} * dimension;
    return std::vector<double>(first, first + dimension);
}

}  // namespace knotwork
