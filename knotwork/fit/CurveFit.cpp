// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>

#include "knotwork/fit/CompressedRows.h"
#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/FitSolver.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/ScaledCurve.h"
#include "knotwork/fit/SecondPass.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

constexpr double kBelievable =
    1e-8;                       // largest correction by the second pass, of the largest unknown
constexpr double kFlat = 1e-8;  // largest pull left, of what the residuals could pull
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the data's size

constexpr const char* kNoRoom = "the system does not fit into memory";

/// What a fit is asked for.
struct Task {
    const TtupleVector& points;
    const DoubleVec& parameters;
    const std::vector<CurveConstraint>& constraints;
    const CurveFitOptions& options;

    double weight(int i) const { return options.weights.length() == 0 ? 1.0 : options.weights(i); }
};

/// What a stage costs a data point, measured, the cheapest counting 1; and what an unknown and a
/// column's cube do by each method.
constexpr double kScalingCost = 4.0;
constexpr double kCompressionCost = 2.0;
constexpr double kResidualCost = 1.0;
constexpr double kEvaluationCost = 3.0;
constexpr double kSolutionCost = 30.0;
constexpr double kDenseCost = 3e-3;

double solutionCost(FitMethod method, double unknowns)
{
    return method == FitMethod::kQr ? kDenseCost * unknowns * unknowns * unknowns
                                    : kSolutionCost * unknowns;
}

double wholeCost(const Task& task, double unknowns)
{
    const double perPoint =
        kScalingCost + 2.0 * (kCompressionCost + kResidualCost) + kEvaluationCost;
    return perPoint * task.points.points() + solutionCost(task.options.method, unknowns);
}

/// Whether the compressed system, the solver's two copies of it, a look at the constraints alone,
/// the sparse rows and the right-hand sides with their residuals find room. The arrays end the
/// process when memory runs out, so it is tried here first.
bool fitsIntoMemory(std::uint64_t points, const BsplineBasis& basis, std::uint64_t constraints,
                    std::uint64_t coordinates)
{
    const auto cols = static_cast<std::uint64_t>(basis.count());
    const std::uint64_t rows = cols + constraints;
    if (rows * cols > std::numeric_limits<unsigned>::max()) return false;
    const std::uint64_t perPoint = 4 * coordinates + static_cast<std::uint64_t>(basis.degree()) + 4;
    const std::uint64_t vectors = (16 + 8 * coordinates) * (rows + cols);
    const std::uint64_t bytes =
        (3 * (rows + constraints) * cols + vectors + perPoint * (points + constraints)) *
        sizeof(double);
    void* room = ::operator new(static_cast<std::size_t>(bytes), std::nothrow);
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

const char* whyInaccurate(const CurveFitOptions& options, const CurveFitReport& report)
{
    if (report.tolerance > options.tolerance)
        return "the estimated cut-off is too coarse for this system";
    return options.tolerance > kFitTolerance
               ? "the tolerance is too coarse for this system"
               : "the system is too close to dependent for a trustworthy answer";
}

void explainDependence(const DoubleGenMat& matrix, const Task& task, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    if (report.method == FitMethod::kHouseholder &&
        constraintRowsDepend(matrix, report.constraints))
        return refuse(report, FitVerdict::kDependentConstraints,
                      "the constraints depend on each other");
    std::vector<double> values;
    for (int i = 0; i < report.dataPoints; ++i)
        if (task.weight(i) > 0.0) values.push_back(task.parameters(i));
    const std::string why = whyUndetermined(curve.basis, values);
    if (why.empty() && report.tolerance > kFitTolerance)
        return refuse(report, FitVerdict::kInaccurate, whyInaccurate(task.options, report));
    refuse(report, FitVerdict::kUndetermined, why.empty() ? kNotFixed : why);
}

/// The figures come from evaluating the curve that is handed out.
void measureData(const Task& task, FittedCurve& curve)
{
    std::vector<double> value(static_cast<std::size_t>(curve.dimension));
    TtupleVector points(task.points);
    DoubleVec numbers(contiguous(points.data()));
    const double* point = numbers.data();
    ResidualTally tally;
    for (int i = 0; i < points.points(); ++i, point += curve.dimension) {
        curve.spline->eval(value.data(), task.parameters(i), 0);
        if (tally.add(point, value.data(), curve.dimension, task.weight(i)))
            curve.report.maxResidualAt = task.parameters(i);
    }
    curve.report.rms = tally.rms();
    curve.report.maxResidual = tally.largest();
}

void measureConstraints(const ScaledCurve& problem, const std::vector<CurveConstraint>& constraints,
                        FittedCurve& curve)
{
    double worst = 0.0;
    for (int c = 0; c < static_cast<int>(constraints.size()); ++c) {
        const CurveConstraint& asked = constraints[static_cast<std::size_t>(c)];
        const std::vector<double> value = curve.at(asked.parameter, asked.derivative);
        for (std::size_t k = 0; k < value.size(); ++k)
            worst =
                std::max(worst, std::fabs(problem.constraintInUnits(c, value[k] - asked.value[k])));
    }
    curve.report.constraintResidual = worst;
}

/// The fit's own figures; false where there is no curve to hand out.
bool handOut(const ScaledCurve& problem, const Task& task, const TtupleVector& x,
             FittedCurve& curve)
{
    curve.controlPoints = problem.controlPoints(x);
    curve.spline = makeSpline(curve.basis, curve.dimension, curve.controlPoints);
    measureData(task, curve);
    measureConstraints(problem, task.constraints, curve);
    if (isFinite(curve)) return true;
    curve.controlPoints.clear();
    curve.spline.reset();
    return false;
}

void solveProblem(const ScaledCurve& problem, const Task& task, WorkMeter& work, FittedCurve& curve)
{
    const CurveFitOptions& options = task.options;
    CurveFitReport& report = curve.report;
    TtupleVector given(problem.rhs());
    if (!allFinite(given.data()))
        return refuse(report, FitVerdict::kBadInput,
                      "a constraint's value leaves the range of numbers");
    CompressedRows rows(problem.system(), [&work](int n) { work.add(kCompressionCost * n); });
    const TtupleVector rhs(rows.compress(given));
    TsolverReporter quiet(true);
    const std::unique_ptr<TsolveConstrainedLsq> solver(
        makeSolver(options.method, options.reporter != nullptr ? *options.reporter : quiet,
                   options.tolerance));
    {
        const DoubleGenMat matrix(rows.matrix());
        const int code =
            solver->setMatrix(matrix, report.constraints, false, false, options.estimateCutoff);
        report.tolerance = solver->tolerance();
        report.columnsUsed = solver->usedCols();
        if (code != 0) return explainDependence(matrix, task, curve);
    }
    TtupleVector x(rhs.size(), report.unknowns, 0.0);
    solver->solve(rhs, &x, false);
    work.add(solutionCost(options.method, report.unknowns));
    const double moved =
        polish(problem.residuals(x), x, [&](const TtupleVector& left, TtupleVector& found) {
            work.add(kResidualCost * report.dataPoints);
            return solver->solve(rows.compress(left), &found, false) == kSolved;
        });

    TtupleVector residuals(problem.residuals(x));
    work.add(kResidualCost * report.dataPoints);
    const bool constraintsMet =
        largestMagnitude(residuals.lPoints(report.dataPoints, report.constraints).data()) <=
        kConstraintMet;
    if (!(moved <= kBelievable) || !(pullLeft(problem, x, residuals, options.method) <= kFlat) ||
        !(constraintsMet || options.method == FitMethod::kQr))
        return refuse(report, FitVerdict::kInaccurate, whyInaccurate(options, report));
    report.verdict = constraintsMet ? FitVerdict::kMet : FitVerdict::kFitted;
    if (!handOut(problem, task, x, curve))
        refuse(report, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
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
    if (!(options.tolerance >= 0.0 && options.tolerance <= 1.0))
        fault = "the tolerance is no number from 0 to 1";
    if (!fault.empty()) {
        refuse(report, FitVerdict::kBadInput, fault);
        return curve;
    }
    curve.basis = basis;
    curve.dimension = points.size();
    report.dataPoints = points.points();
    report.unknowns = basis.count();
    report.constraints = static_cast<int>(constraints.size());
    report.tolerance = options.tolerance;
    const std::uint64_t rows = static_cast<std::uint64_t>(points.points()) + constraints.size();
    if (report.constraints > report.unknowns && options.method == FitMethod::kHouseholder)
        refuse(report, FitVerdict::kDependentConstraints, "the constraints depend on each other");
    else if (rows < static_cast<std::uint64_t>(report.unknowns))
        refuse(report, FitVerdict::kUndetermined,
               std::to_string(report.unknowns) + " unknowns are more than " + std::to_string(rows) +
                   " equations can fix");
    else if (!fitsIntoMemory(static_cast<std::uint64_t>(report.dataPoints), basis,
                             constraints.size(), static_cast<std::uint64_t>(curve.dimension)))
        refuse(report, FitVerdict::kTooLarge, kNoRoom);
    else
        solveWithinMemory({points, parameters, constraints, options}, curve);
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
