// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/CurveSmoothing.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/PlacedConstraint.h"
#include "knotwork/fit/SampleRows.h"
#include "knotwork/fit/SolverOpinion.h"
#include "knotwork/fit/WithinMemory.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

constexpr double kBelievable = 1e-9;      // largest error, of the answer's or the data's size
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the same size
constexpr double kSettled = 0x1p-48;      // a correction that figures need not be told of

/// What a fit is asked for. reader: null where the samples are gone.
struct Task {
    const SampleReader& reader;
    const std::vector<PlacedConstraint> constraints;
    const CurveFitOptions& options;

    bool asksSolver() const { return options.zero > 0.0 || options.estimateCutoff; }
    bool hasSamples() const { return reader != nullptr; }
    /// Smoothed by 0 is not smoothed but reported as such.
    bool smoothes() const { return options.autoSmoothing || options.smoothing.value_or(0.0) > 0.0; }
    int smoothingOrder(int degree) const
    {
        return options.smoothingOrder > 0 ? options.smoothingOrder : std::min(2, degree);
    }
};

/// What a stage costs a data point, measured, the cheapest counting 1; and what an unknown does.
constexpr double kCompressionCost = 1.5;
constexpr double kPassCost = 1.0;
constexpr double kSolutionCost = 100.0;

void refuse(FittedCurve& curve, FitVerdict verdict, const std::string& reason)
{
    curve.controlPoints.clear();
    curve.spline.reset();
    curve.report.verdict = verdict;
    curve.report.reason = reason;
}

/// Points close to the largest number can have control points, or residuals, beyond it. Where there
/// are no samples the largest residual is not known.
bool isFinite(const FittedCurve& curve, bool samples)
{
    return std::isfinite(curve.report.rms) &&
           (!samples || std::isfinite(curve.report.maxResidual)) &&
           std::isfinite(curve.report.constraintResidual) &&
           std::all_of(curve.controlPoints.begin(), curve.controlPoints.end(),
                       [](double x) { return std::isfinite(x); });
}

constexpr const char* kWayOut = ", which smoothing may make up for";

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
bool determined(const BandFit& fit, const CurveProblem& problem, const Task& task,
                FittedCurve& curve)
{
    switch (fit.state()) {
        case BandFit::State::kSolvable:
            return true;
        case BandFit::State::kDependentConstraints:
            refuse(curve, FitVerdict::kDependentConstraints, whyDependent(fit));
            return false;
        case BandFit::State::kTooClose:
            refuse(curve, FitVerdict::kInaccurate, whyTooClose(fit));
            return false;
        case BandFit::State::kUndetermined:
            break;
    }
    const std::string why = whyDataLeaveItOpen(task, problem);
    refuse(curve, FitVerdict::kUndetermined, (why.empty() ? whyNotFixed(fit) : why) + kWayOut);
    return false;
}

/// The same for a smoothed fit, given that in which data and penalty are as large.
bool determined(const CurveSmoothing& smoothing, const BandFit& fit, FittedCurve& curve)
{
    if (fit.state() == BandFit::State::kDependentConstraints)
        refuse(curve, FitVerdict::kDependentConstraints, whyDependent(fit));
    else if (!smoothing.determined(fit))
        refuse(curve, FitVerdict::kUndetermined, whySmoothingLeavesItOpen(smoothing, curve.basis));
    else
        return true;
    return false;
}

/// Generalised cross-validation, from the figures.
double gcvOf(const CurveProblem& problem, const FittedCurve& curve)
{
    const double points = problem.countedSamples();
    const double left = 1.0 - curve.report.effectiveDf / points;
    if (!(left > 0.0)) return std::numeric_limits<double>::quiet_NaN();
    const double weights = std::ldexp(problem.weights(), 2 * problem.scales().weightRoot);
    const double mean = curve.report.rms / left;
    return weights / points * mean * mean / curve.dimension;
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
    if (report.constraints == 0)
        report.verdict = FitVerdict::kFitted;
    else if (deviation.share <= kConstraintMet)
        report.verdict = FitVerdict::kMet;
    else
        report.verdict =
            report.method == FitMethod::kQr ? FitVerdict::kCompromise : FitVerdict::kInaccurate;
}

void handOut(const CurveProblem& problem, bool samples, FittedCurve& curve)
{
    if (!isFinite(curve, samples))
        return refuse(curve, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
    if (!curve.report.fits()) return refuse(curve, FitVerdict::kInaccurate, kTooCloseToDependent);
    curve.spline = makeSpline(problem.basis(), curve.dimension, curve.controlPoints);
}

/// Solves a problem whose samples are compressed, with the rows that are fitted: the samples' or,
/// with a smoothing, the penalty's too.
void solveRows(const CurveProblem& problem, const BandFit& fit, const CurveSmoothing* smoothing,
               const Task& task, WorkMeter& work, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    TsolverReporter quiet(true);
    SolverOpinion opinion;
    if (task.asksSolver()) {
        opinion = askSolver(
            problem,
            smoothing != nullptr ? smoothing->unitTriangles(report.lambda) : problem.triangles(),
            report.method, task.options.zero, task.options.estimateCutoff,
            task.options.reporter != nullptr ? *task.options.reporter : quiet);
        report.zero = opinion.zero;
    }
    if (smoothing == nullptr && !determined(fit, problem, task, curve)) return;
    report.columnsUsed = report.unknowns;
    if (task.asksSolver() && !opinion.solvable)
        return refuse(curve, FitVerdict::kInaccurate,
                      whyZeroIsTooCoarse(task.options.zero, report.zero));

    const TriangleRows triangles(problem.triangles(), problem.sampleCount());
    const SampleRows samples(task.reader, problem.scaledBasis(), problem.scales(),
                             problem.sampleCount(), problem.figureFactors(),
                             [&work](int n) { work.add(kPassCost * n); });
    const auto solved = [&](const FitRows& rows, const FitRows* start) {
        return fit.solve(rows, problem.constraintRhs(), curve.dimension, kBelievable, start);
    };
    const auto smoothed = [&] {
        const PenalisedRows start = smoothing->rows(triangles, report.lambda, fit);
        if (!task.hasSamples()) return solved(start, nullptr);
        return solved(smoothing->rows(samples, report.lambda, fit), &start);
    };
    const BandFit::Answer answer = smoothing != nullptr ? smoothed()
                                   : task.hasSamples()  ? solved(samples, &triangles)
                                                        : solved(triangles, nullptr);
    work.add(kSolutionCost * report.unknowns);
    if (!(answer.error <= kBelievable))
        return refuse(curve, FitVerdict::kInaccurate,
                      smoothing != nullptr ? whySmoothingRounds(*smoothing, report.lambda)
                                           : kTooCloseToDependent);
    if (task.asksSolver() && !opinion.sharedBy(answer.x, curve.dimension))
        return refuse(curve, FitVerdict::kInaccurate,
                      whyZeroIsTooCoarse(task.options.zero, report.zero));
    if (task.hasSamples() && static_cast<double>(samples.figures().count) != problem.sampleCount())
        return refuse(curve, FitVerdict::kBadInput, "the samples changed while they were read");

    curve.controlPoints = problem.controlPoints(answer.x);
    measureConstraints(problem, curve);
    if (task.hasSamples()) {
        measureSamples(problem, samples, answer.moved, curve);
    } else {
        report.rms = problem.rmsFromTriangles(problem.scaled(curve.controlPoints));
        report.maxResidual = std::numeric_limits<double>::quiet_NaN();
        report.maxResidualAt = std::numeric_limits<double>::quiet_NaN();
    }
    if (smoothing == nullptr && task.options.smoothing.has_value()) {
        report.lambda = 0.0;
        report.effectiveDf = report.unknowns - report.constraints;
    }
    if (!std::isnan(report.lambda)) report.gcv = gcvOf(problem, curve);
    handOut(problem, task.hasSamples(), curve);
}

void solveSmoothed(const CurveProblem& problem, const Task& task, WorkMeter& work,
                   FittedCurve& curve)
{
    const CurveSmoothing smoothing(problem, task.smoothingOrder(curve.basis.degree()));
    const BandFit atBalance = smoothing.fit(smoothing.balanced());
    if (!determined(smoothing, atBalance, curve)) return;
    const CurveSmoothing::Choice choice =
        task.options.autoSmoothing ? smoothing.chosen() : smoothing.asked(*task.options.smoothing);
    curve.report.lambda = choice.lambda;
    curve.report.effectiveDf = choice.freedom;
    curve.report.smoothingAtEnd = choice.atEnd;
    const BandFit fit = smoothing.fit(choice.lambda);
    if (!smoothing.reachable(choice.lambda, fit, atBalance))
        return refuse(curve, FitVerdict::kInaccurate, whySmoothingRounds(smoothing, choice.lambda));
    solveRows(problem, fit, &smoothing, task, work, curve);
}

void solveProblem(const CurveProblem& problem, const Task& task, WorkMeter& work,
                  FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    if (!problem.finite())
        return refuse(curve, FitVerdict::kBadInput,
                      "a constraint's value leaves the range of numbers");
    if (task.smoothes()) return solveSmoothed(problem, task, work, curve);
    const BandFit fit(compressed(problem.triangles(), problem.order(), false).triangle(),
                      problem.constraintRows(), report.method, problem.constraintWeight(),
                      problem.order());
    solveRows(problem, fit, nullptr, task, work, curve);
}

void start(const BsplineBasis& basis, int dimension, const Task& task, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    curve.basis = basis;
    curve.dimension = dimension;
    report.method = task.options.method;
    report.unknowns = basis.unknowns();
    report.constraints = static_cast<int>(task.constraints.size());
    report.zero = task.options.zero;
    // What the curve object is made through counts in ints.
    if (static_cast<double>(basis.count()) * dimension > std::numeric_limits<int>::max())
        throw std::bad_alloc();
}

/// Whether there are samples, with weights, and equations enough; counts them.
bool countsSuffice(const CurveState& state, const Task& task, FittedCurve& curve)
{
    constexpr long long kMost = std::numeric_limits<int>::max();
    CurveFitReport& report = curve.report;
    report.dataPoints = static_cast<int>(std::min(state.rows(), kMost));
    const long long equations = state.rows() + report.constraints;
    if (state.rows() < 1)
        refuse(curve, FitVerdict::kBadInput, "there are no points");
    else if (state.weights() == 0.0)
        refuse(curve, FitVerdict::kBadInput, "all weights are 0");
    else if (equations < report.unknowns && !task.smoothes())
        refuse(curve, FitVerdict::kUndetermined,
               std::to_string(report.unknowns) + " unknowns are more than " +
                   std::to_string(equations) + " equations can fix" + kWayOut);
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
        solveProblem(CurveProblem(state, task.constraints), task, work, curve);
    work.finish();
}

/// A fit with its request checked; lack of memory is a verdict.
template <class Fault, class Fit>
FittedCurve checkedFit(const CurveFitOptions& options, Fault fault, Fit fit)
{
    FittedCurve curve;
    curve.report.method = options.method;
    withinMemory(
        curve.report,
        [&] {
            const std::string found = fault();
            if (!found.empty()) return refuse(curve, FitVerdict::kBadInput, found);
            fit(curve);
        },
        [&curve] {
            curve.controlPoints.clear();
            curve.spline.reset();
        });
    return curve;
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
    return checkedFit(options, fault, [&](FittedCurve& curve) {
        std::vector<double> copies[3];
        SampleStretch all = {points.points(), contiguousOr(parameters, copies[0]),
                             contiguousOr(points.numbers(), copies[1]), nullptr};
        if (options.weights.length() > 0) all.weights = contiguousOr(options.weights, copies[2]);
        const SampleReader reader = [&all](const auto& take) { take(all); };
        fitSamples(basis, points.size(), {reader, placedConstraints(basis, constraints), options},
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
    return checkedFit(options, fault, [&](FittedCurve& curve) {
        fitSamples(basis, dimension, {reader, placedConstraints(basis, constraints), options}, 0.0,
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
    return checkedFit(options, fault, [&](FittedCurve& curve) {
        const SampleReader none;
        const BsplineBasis& basis = gathered.basis();
        const Task task = {none, placedConstraints(basis, constraints), options};
        start(basis, gathered.dimension(), task, curve);
        if (!countsSuffice(gathered.state(), task, curve)) return;
        WorkMeter work(options.progress, kSolutionCost * curve.report.unknowns);
        solveProblem(CurveProblem(gathered.state(), task.constraints), task, work, curve);
        work.finish();
    });
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
