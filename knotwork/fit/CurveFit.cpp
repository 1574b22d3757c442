// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>

#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/FitSolver.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/ScaledCurve.h"
#include "knotwork/fit/SecondPass.h"
#include "knotwork/solvers/Thouseholder.h"

namespace knotwork {

namespace {

constexpr double kBelievable =
    1e-8;                       // largest correction by the second pass, of the largest unknown
constexpr double kFlat = 1e-8;  // largest pull left, of what the residuals could pull
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the data's size

constexpr const char* kNoRoom = "the system does not fit into memory";

std::string weightFault(const DoubleVec& weights, int points)
{
    if (weights.length() == 0) return "";
    if (weights.length() != static_cast<unsigned>(points))
        return "there must be one weight a point";
    if (!allFinite(weights)) return "a weight is no finite number";
    if (minValue(weights) < 0.0) return "a weight is negative";
    return maxValue(weights) > 0.0 ? "" : "all weights are 0";
}

std::string inputFault(const TtupleVector& points, const DoubleVec& parameters,
                       const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints,
                       const CurveFitOptions& options)
{
    TtupleVector source(points);
    if (points.points() < 1) return "there are no points";
    if (parameters.length() != static_cast<unsigned>(points.points()))
        return "there must be one parameter a point";
    if (!basis.valid()) return "degree and knots do not make a basis";
    if (!allFinite(source.data())) return "a coordinate is no finite number";
    if (!allFinite(parameters)) return "a parameter is no finite number";
    if (minValue(parameters) < basis.first() || maxValue(parameters) > basis.last())
        return "a parameter lies outside the knots";
    const std::string fault = weightFault(options.weights, points.points());
    if (!fault.empty()) return fault;
    for (const CurveConstraint& c : constraints) {
        if (!(c.parameter >= basis.first() && c.parameter <= basis.last()))
            return "a constraint lies outside the knots";
        if (c.derivative < 0 || c.derivative > basis.degree())
            return "a constraint asks for a derivative that the degree does not have";
        if (c.value.size() != static_cast<std::size_t>(points.size()))
            return "a constraint needs one number a coordinate";
        if (!std::all_of(c.value.begin(), c.value.end(), [](double v) { return std::isfinite(v); }))
            return "a constraint's value is no finite number";
    }
    return "";
}

/// Whether the dense system, the solver's two copies of it, a look at the constraints alone and
/// the right-hand sides with their residuals find room. The arrays end the process when memory
/// runs out, so it is tried here first.
bool fitsIntoMemory(std::uint64_t rows, std::uint64_t cols, std::uint64_t constraints,
                    std::uint64_t coordinates)
{
    if (rows * cols > std::numeric_limits<unsigned>::max()) return false;
    const std::uint64_t vectors = (16 + 8 * coordinates) * (rows + cols);
    const std::uint64_t bytes = (3 * (rows + constraints) * cols + vectors) * sizeof(double);
    void* room = ::operator new(static_cast<std::size_t>(bytes), std::nothrow);
    ::operator delete(room);
    return room != nullptr;
}

/// What the residuals still pull at the unknowns where the constraints let them give way, as a
/// share of what residuals of their size could pull. A solver that skips small updates does not
/// see this in its own second pass.
double pullLeft(const ScaledCurve& problem, const TtupleVector& x, FitMethod method)
{
    const int count = method == FitMethod::kQr ? 0 : problem.constraints();
    const int dataRows = problem.dataRows() + problem.constraints() - count;
    DoubleGenMat across(static_cast<unsigned>(x.points()), static_cast<unsigned>(count));
    for (int c = 0; c < count; ++c)
        across.col(c) = problem.combined(dataRows + c, DoubleVec(1, 1.0));
    Thouseholder multipliers(kFitTolerance, 0, false);
    if (count > 0 && multipliers.setMatrix(across, 0, false, false, false) != 0) return 1.0;
    TtupleVector left(problem.residuals(x));
    TtupleVector unknowns(x);
    double worst = 0.0;
    for (int k = 0; k < x.size(); ++k) {
        const DoubleVec residuals(left.component(k).slice(0, static_cast<unsigned>(dataRows), 1));
        DoubleVec pull(problem.combined(0, residuals));
        const int exponent = exponentOf(largestMagnitude(pull));
        pull *= std::ldexp(1.0, -exponent);
        if (count > 0) pull -= problem.combined(dataRows, multipliers.solve(pull));
        // No entry of a row is above 1. Where the data lie on the curve the residuals are but
        // rounding, which is in proportion to the unknowns.
        const double size = residuals.vecLen() + largestMagnitude(unknowns.component(k));
        const double still = std::ldexp(largestMagnitude(pull), exponent);
        if (std::isnan(still)) return 1.0;
        if (still > 0.0) worst = std::max(worst, still / (std::sqrt(dataRows) * size));
    }
    return worst;
}

double worstConstraint(const ScaledCurve& problem, const TtupleVector& x)
{
    const int count = problem.constraints();
    TtupleVector left(problem.residuals(x));
    return count == 0 ? 0.0 : largestMagnitude(left.lPoints(problem.dataRows(), count).data());
}

double weightOf(const CurveFitOptions& options, int i)
{
    return options.weights.length() == 0 ? 1.0 : options.weights(i);
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

void explainDependence(const DoubleGenMat& matrix, const ScaledCurve& problem,
                       const BsplineBasis& basis, const DoubleVec& parameters,
                       const CurveFitOptions& options, CurveFitReport& report)
{
    if (options.method == FitMethod::kHouseholder &&
        constraintRowsDepend(matrix, problem.constraints()))
        return refuse(report, FitVerdict::kDependentConstraints,
                      "the constraints depend on each other");
    std::vector<double> values;
    for (int i = 0; i < report.dataPoints; ++i)
        if (weightOf(options, i) > 0.0) values.push_back(parameters(i));
    const std::string why = whyUndetermined(basis, values);
    if (why.empty() && report.tolerance > kFitTolerance)
        return refuse(report, FitVerdict::kInaccurate, whyInaccurate(options, report));
    refuse(report, FitVerdict::kUndetermined, why.empty() ? kNotFixed : why);
}

/// The figures come from evaluating the curve that is handed out.
void measureData(TtupleVector points, const DoubleVec& parameters, const CurveFitOptions& options,
                 FittedCurve& curve)
{
    std::vector<double> value(static_cast<std::size_t>(curve.dimension));
    DoubleVec numbers(contiguous(points.data()));
    const double* point = numbers.data();
    ResidualTally tally;
    for (int i = 0; i < points.points(); ++i, point += curve.dimension) {
        curve.spline->eval(value.data(), parameters(i), 0);
        if (tally.add(point, value.data(), curve.dimension, weightOf(options, i)))
            curve.report.maxResidualAt = parameters(i);
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

void solveProblem(const ScaledCurve& problem, const TtupleVector& points,
                  const DoubleVec& parameters, const std::vector<CurveConstraint>& constraints,
                  const CurveFitOptions& options, FittedCurve& curve)
{
    CurveFitReport& report = curve.report;
    TtupleVector rhs(problem.rhs());
    if (!allFinite(rhs.data()))
        return refuse(report, FitVerdict::kBadInput,
                      "a constraint's value leaves the range of numbers");
    TsolverReporter quiet(true);
    const std::unique_ptr<TsolveConstrainedLsq> solver(
        makeSolver(options.method, options.reporter != nullptr ? *options.reporter : quiet,
                   options.tolerance));
    {
        const DoubleGenMat matrix(problem.matrix());
        const int code =
            solver->setMatrix(matrix, report.constraints, false, false, options.estimateCutoff);
        report.tolerance = solver->tolerance();
        report.columnsUsed = solver->usedCols();
        if (code != 0)
            return explainDependence(matrix, problem, curve.basis, parameters, options, report);
    }
    TtupleVector x(rhs.size(), report.unknowns, 0.0);
    solver->solve(rhs, &x, false);
    const double moved =
        polish(problem.residuals(x), x, [&solver](const TtupleVector& left, TtupleVector& found) {
            return solver->solve(left, &found, false) == kSolved;
        });
    const bool constraintsMet = worstConstraint(problem, x) <= kConstraintMet;
    if (!(moved <= kBelievable) || !(pullLeft(problem, x, options.method) <= kFlat) ||
        !(constraintsMet || options.method == FitMethod::kQr))
        return refuse(report, FitVerdict::kInaccurate, whyInaccurate(options, report));
    curve.controlPoints = problem.controlPoints(x);
    curve.spline = makeSpline(curve.basis, curve.dimension, curve.controlPoints);
    measureData(points, parameters, options, curve);
    measureConstraints(problem, constraints, curve);
    report.verdict = constraintsMet ? FitVerdict::kMet : FitVerdict::kFitted;
    if (isFinite(curve)) return;
    curve.controlPoints.clear();
    curve.spline.reset();
    refuse(report, FitVerdict::kInaccurate, "the curve leaves the range of numbers");
}

void solveWithinMemory(const TtupleVector& points, const DoubleVec& parameters,
                       const std::vector<CurveConstraint>& constraints,
                       const CurveFitOptions& options, FittedCurve& curve)
{
    try {
        const ScaledCurve problem(points, parameters, options.weights, curve.basis, constraints);
        solveProblem(problem, points, parameters, constraints, options, curve);
    } catch (const std::bad_alloc&) {
        curve.controlPoints.clear();
        refuse(curve.report, FitVerdict::kTooLarge, kNoRoom);
    }
}

}  // namespace

FittedCurve fitCurve(const TtupleVector& points, const DoubleVec& parameters,
                     const BsplineBasis& basis, const std::vector<CurveConstraint>& constraints,
                     const CurveFitOptions& options)
{
    FittedCurve curve;
    CurveFitReport& report = curve.report;
    report.method = options.method;
    std::string fault = inputFault(points, parameters, basis, constraints, options);
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
    else if (!fitsIntoMemory(rows, static_cast<std::uint64_t>(report.unknowns), constraints.size(),
                             static_cast<std::uint64_t>(curve.dimension)))
        refuse(report, FitVerdict::kTooLarge, kNoRoom);
    else
        solveWithinMemory(points, parameters, constraints, options, curve);
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
