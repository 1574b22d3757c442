// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/ScaledCurve.h"
#include "knotwork/fit/SolverOpinion.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

constexpr double kBelievable = 1e-9;      // largest error, of the answer's or the data's size
constexpr double kAgreement = 1e-8;       // of an answer with small numbers taken for zero
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the same size

constexpr const char* kNoRoom = "the system does not fit into memory";

/// What a fit is asked for.
struct Task {
    const TtupleVector& points;
    const DoubleVec& parameters;
    const std::vector<CurveConstraint>& constraints;
    const CurveFitOptions& options;

    bool asksSolver() const { return options.zero > 0.0 || options.estimateCutoff; }
};

/// What a stage costs a data point, measured, the cheapest counting 1; and what an unknown does.
constexpr double kScalingCost = 4.0;
constexpr double kCompressionCost = 2.0;
constexpr double kResidualCost = 1.0;
constexpr double kSolutionCost = 30.0;

double wholeCost(const Task& task, double unknowns)
{
    const double perPoint = kScalingCost + kCompressionCost + 3.0 * kResidualCost;
    return perPoint * task.points.points() + kSolutionCost * unknowns;
}

/// Whether rows, right-hand sides, triangles and unknowns find room. What the curve object is made
/// through ends the process when memory runs out, so it is tried here first.
bool fitsIntoMemory(const Task& task, const BsplineBasis& basis)
{
    constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
    const auto rows = static_cast<std::uint64_t>(task.points.points()) + task.constraints.size();
    const auto cols = static_cast<std::uint64_t>(basis.count());
    const auto d = static_cast<std::uint64_t>(task.points.size());
    const auto width = static_cast<std::uint64_t>(basis.degree()) + 1;
    if (rows * d > kMost || cols * d > kMost) return false;
    const std::uint64_t perRow = width + d + 3;
    const std::uint64_t perUnknown = 6 * width + 12 * d;
    void* room = ::operator new((rows * perRow + cols * perUnknown) * sizeof(double), std::nothrow);
    ::operator delete(room);
    return room != nullptr;
}

void refuse(CurveFitReport& report, FitVerdict verdict, const std::string& reason)
{
    report.verdict = verdict;
    report.reason = reason;
}

/// Points close to the largest number can have control points, or residuals, beyond it.
bool isFinite(const FittedCurve& curve)
{
    return std::isfinite(curve.report.rms) && std::isfinite(curve.report.maxResidual) &&
           std::isfinite(curve.report.constraintResidual) &&
           std::all_of(curve.controlPoints.begin(), curve.controlPoints.end(),
                       [](double x) { return std::isfinite(x); });
}

const char* whyZeroIsTooCoarse(const Task& task, const CurveFitReport& report)
{
    return report.zero > task.options.zero ? "the estimated cut-off is too coarse for this system"
                                           : "what counts as zero is too coarse for this system";
}

std::string whyDataLeaveItOpen(const Task& task, const BsplineBasis& basis)
{
    std::vector<double> values;
    for (int i = 0; i < task.points.points(); ++i)
        if (task.options.weights.length() == 0 || task.options.weights(i) > 0.0)
            values.push_back(task.parameters(i));
    return whyUndetermined(basis, std::move(values));
}

/// Refuses what data and constraints do not fix, or hardly.
bool determined(const BandFit& fit, const ScaledCurve& problem, const Task& task,
                FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    if (fit.state() == BandFit::State::kSolvable) return true;
    if (fit.state() == BandFit::State::kDependentConstraints) {
        refuse(report, FitVerdict::kDependentConstraints, whyDependent(problem.rows()));
        return false;
    }
    if (fit.state() == BandFit::State::kTooClose) {
        refuse(report, FitVerdict::kInaccurate, hardlyFixed(fit.weakUnknowns(), curve.basis));
        return false;
    }
    const std::string why = whyDataLeaveItOpen(task, curve.basis);
    refuse(report, FitVerdict::kUndetermined,
           why.empty() ? notFixed(fit.weakUnknowns(), curve.basis) : why);
    return false;
}

/// The largest difference from x, as a share of x's or the data's size.
double disagreement(const SolverOpinion& opinion, const NumberBlock& x)
{
    double worst = 0.0;
    for (int k = 0; k < x.width; ++k) {
        double size = 1.0;  // the data's
        double difference = 0.0;
        for (auto i = static_cast<std::size_t>(k); i < x.high.size();
             i += static_cast<std::size_t>(x.width)) {
            size = std::max(size, std::fabs(x.high[i]));
            const double off = std::fabs(opinion.x[i] - x.high[i]);
            if (!(off <= difference)) difference = off;  // negated, so that a NaN stays
        }
        if (!(difference <= worst * size)) worst = difference / size;
    }
    return worst;
}

/// The figures are those of the control points that are handed out.
void measure(const ScaledCurve& problem, const Task& task, WorkMeter& work, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    const NumberBlock x = problem.scaled(curve.controlPoints);
    ResidualTally tally;
    int largest = 0;
    for (const bool exact : {false, true}) {
        tally = ResidualTally();
        for (int i = 0; i < report.dataPoints; ++i) {
            const double squares =
                exact ? problem.squaredDistanceExactly(i, x) : problem.squaredDistance(i, x);
            if (tally.add(squares, problem.rows().weight(i))) largest = i;
        }
        if (tally.standsRounding(problem.largestTerm(x))) break;
    }
    work.add(kResidualCost * report.dataPoints);
    report.rms = std::ldexp(tally.rms(), problem.figureExponent());
    report.maxResidual = std::ldexp(tally.largest(), problem.figureExponent());
    report.maxResidualAt = task.parameters(largest);
    const ScaledCurve::Deviation deviation = problem.constraintDeviation(x);
    report.constraintResidual = deviation.inUnits;
    report.verdict = report.constraints == 0             ? FitVerdict::kFitted
                     : deviation.share <= kConstraintMet ? FitVerdict::kMet
                     : report.method == FitMethod::kQr   ? FitVerdict::kCompromise
                                                         : FitVerdict::kInaccurate;
}

void handOut(const ScaledCurve& problem, const NumberBlock& x, const Task& task, WorkMeter& work,
             FittedCurve& curve)
{
    curve.controlPoints = problem.controlPoints(x);
    measure(problem, task, work, curve);
    if (!isFinite(curve))
        refuse(curve.report, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
    else if (!curve.report.fits())
        refuse(curve.report, FitVerdict::kInaccurate, kTooCloseToDependent);
    else
        curve.spline = makeSpline(curve.basis, curve.dimension, curve.controlPoints);
    if (curve.spline == nullptr) curve.controlPoints.clear();
}

void solveProblem(const ScaledCurve& problem, const Task& task, WorkMeter& work, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    if (!std::all_of(problem.rhs().high.begin(), problem.rhs().high.end(),
                     [](double x) { return std::isfinite(x); }))
        return refuse(report, FitVerdict::kBadInput,
                      "a constraint's value leaves the range of numbers");
    const BandFit fit(problem.rows(), report.method,
                      [&work](int n) { work.add(kCompressionCost * n); });
    TsolverReporter quiet(true);
    SolverOpinion opinion;
    if (task.asksSolver()) {
        opinion = askSolver(problem.rows(), problem.rhs(), report.method, task.options.zero,
                            task.options.estimateCutoff,
                            task.options.reporter != nullptr ? *task.options.reporter : quiet);
        report.zero = opinion.zero;
    }
    if (!determined(fit, problem, task, curve)) return;
    report.columnsUsed = report.unknowns;
    if (task.asksSolver() && !opinion.solvable)
        return refuse(report, FitVerdict::kInaccurate, whyZeroIsTooCoarse(task, report));
    NumberBlock x;
    const double error = fit.solve(problem.rhs(), curve.dimension, kBelievable, x,
                                   [&work](int n) { work.add(kResidualCost * n); });
    work.add(kSolutionCost * report.unknowns);
    if (!(error <= kBelievable))
        return refuse(report, FitVerdict::kInaccurate, kTooCloseToDependent);
    if (task.asksSolver() && !(disagreement(opinion, x) <= kAgreement))
        return refuse(report, FitVerdict::kInaccurate, whyZeroIsTooCoarse(task, report));
    handOut(problem, x, task, work, curve);
}

void solveWithinMemory(const Task& task, FittedCurve& curve)
{
    WorkMeter work(task.options.progress, wholeCost(task, curve.report.unknowns));
    try {
        const ScaledCurve problem(task.points, task.parameters, task.options.weights, curve.basis,
                                  task.constraints);
        work.add(kScalingCost * curve.report.dataPoints);
        solveProblem(problem, task, work, curve);
    } catch (const std::bad_alloc&) {
        curve.controlPoints.clear();
        curve.spline.reset();
        refuse(curve.report, FitVerdict::kTooLarge, kNoRoom);
    }
    work.finish();
}

}  // namespace

FittedCurve fitCurve(const TtupleVector& points, const DoubleVec& parameters,
                     const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints,
                     const CurveFitOptions& options)
{
    FittedCurve curve;
    CurveFitReport& report = curve.report;
    report.method = options.method;
    std::string fault = curveInputFault(points, parameters, basis, constraints, options);
    if (!(options.zero >= 0.0 && options.zero <= 1.0))
        fault = "what counts as zero is no number from 0 to 1";
    if (!fault.empty()) {
        refuse(report, FitVerdict::kBadInput, fault);
        return curve;
    }
    curve.basis = basis;
    curve.dimension = points.size();
    report.dataPoints = points.points();
    report.unknowns = basis.count();
    report.constraints = static_cast<int>(constraints.size());
    report.zero = options.zero;
    const std::uint64_t rows = static_cast<std::uint64_t>(points.points()) + constraints.size();
    const Task task = {points, parameters, constraints, options};
    if (rows < static_cast<std::uint64_t>(report.unknowns))
        refuse(report, FitVerdict::kUndetermined,
               std::to_string(report.unknowns) + " unknowns are more than " + std::to_string(rows) +
                   " equations can fix");
    else if (!fitsIntoMemory(task, basis))
        refuse(report, FitVerdict::kTooLarge, kNoRoom);
    else
        solveWithinMemory(task, curve);
    return curve;
}

std::vector<double> FittedCurve::at(double t, int derivative) const
{
    if (spline == nullptr || derivative < 0) return {};
    std::vector<double> rows(static_cast<std::size_t>(spline->WorkspaceSize(derivative)));
    spline->eval(rows.data(), t, derivative);
    const auto first = rows.begin() + std::ptrdiff_t{derivative} * dimension;
    return std::vector<double>(first, first + dimension);
}

}  // namespace knotwork
