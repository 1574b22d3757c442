// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceFit.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>

#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/ScaledSurface.h"
#include "knotwork/fit/SecondPass.h"
#include "knotwork/linalg/IntVecPick.h"

namespace knotwork {

namespace {

constexpr double kBelievable =
    1e-8;  // largest correction by the second pass, of the largest unknown
constexpr double kConstraintMet = 1e-10;  // largest constraint residual, of the data's size
constexpr int kFixed = 1;

void refuse(FittedSurface& surface, FitVerdict verdict, const std::string& reason)
{
    surface.controlPoints.clear();
    surface.surface.reset();
    surface.report.verdict = verdict;
    surface.report.reason = reason;
}

std::string directionFault(const char* name, const DoubleVec& parameters, int samples,
                           const BsplineBasis& basis)
{
    const std::string direction = std::string(" in ") + name;
    if (parameters.length() != static_cast<unsigned>(samples))
        return "there must be one parameter a line of samples" + direction;
    if (!basis.valid()) return "degree and knots do not make a basis" + direction;
    if (!allFinite(parameters)) return "a parameter is no finite number" + direction;
    if (minValue(parameters) < basis.first() || maxValue(parameters) > basis.last())
        return "a parameter lies outside the knots" + direction;
    return "";
}

std::string lineFault(const std::vector<LineConstraint>& lines, const BsplineBasis& basis,
                      std::size_t numbers)
{
    for (const LineConstraint& line : lines) {
        if (!(line.parameter >= basis.first() && line.parameter <= basis.last()))
            return "a constraint lies outside the knots";
        if (line.derivative < 0 || line.derivative > basis.degree())
            return "a constraint asks for a derivative that the degree does not have";
        if (line.values.size() != numbers)
            return "a constraint needs a point for each sample along its line";
        if (!std::all_of(line.values.begin(), line.values.end(),
                         [](double v) { return std::isfinite(v); }))
            return "a constraint's value is no finite number";
    }
    return "";
}

std::string inputFault(const SurfaceData& data, const SurfaceFitOptions& options)
{
    TtupleMatrix points(data.points);
    if (points.rows() < 1 || points.cols() < 1) return "there are no points";
    const auto d = static_cast<std::size_t>(points.size());
    const std::string faults[] = {
        directionFault("u", data.uParameters, points.rows(), data.u),
        directionFault("v", data.vParameters, points.cols(), data.v),
        allFinite(points.data()) ? "" : "a coordinate is no finite number"};
    for (const std::string& fault : faults)
        if (!fault.empty()) return fault;
    const std::string inU =
        lineFault(options.acrossU, data.u, d * static_cast<std::size_t>(points.cols()));
    return inU.empty()
               ? lineFault(options.acrossV, data.v, d * static_cast<std::size_t>(points.rows()))
               : inU;
}

std::vector<double> toStandard(const DoubleVec& v)
{
    std::vector<double> values;
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) values.push_back(v(i));
    return values;
}

/// The second pass on a grid, whose points it takes in a row.
template <class Solve>
double polishGrid(const ScaledSurface& problem, TtupleMatrix& x, Solve solve)
{
    TtupleMatrix left(problem.residuals(x));
    return polish({x.size(), left.data()}, {x.size(), x.data()},
                  [&](const TtupleVector&, TtupleVector& found) {
                      TtupleMatrix grid(x.size(), x.rows(), x.cols(), found.data());
                      return solve(left, &grid) == kSolved;
                  });
}

/// The figures come from evaluating the surface that is handed out.
void measureData(const SurfaceData& data, FittedSurface& fitted)
{
    std::vector<double> value(static_cast<std::size_t>(fitted.surface->WorkspaceSize(0)));
    TtupleMatrix points(data.points);
    DoubleVec numbers(contiguous(points.data()));
    const double* point = numbers.data();
    ResidualTally tally;
    for (int j = 0; j < points.cols(); ++j)
        for (int i = 0; i < points.rows(); ++i, point += fitted.dimension) {
            fitted.surface->eval(value.data(), data.uParameters(i), data.vParameters(j), 0);
            if (!tally.add(point, value.data(), fitted.dimension)) continue;
            fitted.report.maxResidualAtU = data.uParameters(i);
            fitted.report.maxResidualAtV = data.vParameters(j);
        }
    fitted.report.rms = tally.rms();
    fitted.report.maxResidual = tally.largest();
}

/// Hands out what the scaled unknowns are in the data's units, measured.
void finish(const SurfaceData& data, const ScaledSurface& problem, const TtupleMatrix& x,
            FitVerdict verdict, FittedSurface& fitted)
{
    fitted.controlPoints = problem.controlPoints(x);
    fitted.surface = makeSurface(fitted.u, fitted.v, fitted.dimension, fitted.controlPoints);
    measureData(data, fitted);
    fitted.report.verdict = verdict;
    const bool finite = std::isfinite(fitted.report.rms) &&
                        std::isfinite(fitted.report.maxResidual) &&
                        std::isfinite(fitted.report.constraintResidual) &&
                        std::all_of(fitted.controlPoints.begin(), fitted.controlPoints.end(),
                                    [](double x0) { return std::isfinite(x0); });
    if (!finite) refuse(fitted, FitVerdict::kInaccurate, "the surface leaves the range of numbers");
}

/// Too few lines of samples and constraints for the control points of one direction.
bool tooFew(const ScaledRows& direction)
{
    return direction.rows().count() < direction.basis().count();
}

void explainDirection(const char* name, const ScaledRows& direction, const BsplineBasis& basis,
                      const DoubleVec& parameters, FittedSurface& fitted)
{
    const std::string where = std::string("in ") + name + ", ";
    if (fitted.report.method == FitMethod::kHouseholder &&
        constraintRowsDepend(direction.rows().dense(), direction.constraints()))
        refuse(fitted, FitVerdict::kDependentConstraints,
               where + "the constraints depend on each other");
    else if (tooFew(direction))
        refuse(fitted, FitVerdict::kUndetermined,
               where + std::to_string(basis.count()) + " unknowns are more than " +
                   std::to_string(direction.rows().count()) + " lines can fix");
    else {
        const std::string why = whyUndetermined(basis, toStandard(parameters));
        refuse(fitted, FitVerdict::kUndetermined, where + (why.empty() ? kNotFixed : why));
    }
}

template <class Fit>
void withinMemory(FittedSurface& fitted, Fit fit)
{
    try {
        fit();
    } catch (const std::bad_alloc&) {
        refuse(fitted, FitVerdict::kTooLarge, "the system does not fit into memory");
    }
}

void start(const SurfaceData& data, const SurfaceFitOptions& options, FittedSurface& fitted)
{
    fitted.report.method = options.method;
    fitted.u = data.u;
    fitted.v = data.v;
    fitted.dimension = data.points.size();
    fitted.report.dataPoints = data.points.rows() * data.points.cols();
    fitted.report.unknowns = data.u.count() * data.v.count();
    fitted.report.columnsUsed = fitted.report.unknowns;
    fitted.report.tolerance = kFitTolerance;
}

void fitFreely(const SurfaceData& data, const SurfaceFitOptions& options, FittedSurface& fitted)
{
    const ScaledSurface problem(data, options.acrossU, options.acrossV);
    if (!problem.fault().empty()) return refuse(fitted, FitVerdict::kBadInput, problem.fault());
    fitted.report.constraints = problem.inU().constraints() * data.v.count() +
                                problem.inV().constraints() * data.u.count() -
                                problem.inU().constraints() * problem.inV().constraints();
    DirectionSolvers solvers(options.method, options.reporter);
    if (tooFew(problem.inU()) || solvers.setU(problem) != 0)
        return explainDirection("u", problem.inU(), data.u, data.uParameters, fitted);
    if (tooFew(problem.inV()) || solvers.setV(problem) != 0)
        return explainDirection("v", problem.inV(), data.v, data.vParameters, fitted);

    const auto solve = [&](const TtupleMatrix& b, TtupleMatrix* x) {
        return solvers.tensor().solve(b, x);
    };
    TtupleMatrix x(fitted.dimension, data.u.count(), data.v.count(), 0.0);
    const int code = solve(problem.rhs(), &x);
    const double moved = code == kSolved ? polishGrid(problem, x, solve) : 1.0;
    const LineDeviations deviations = problem.lineDeviations(x, solvers);
    const bool met = deviations.scaled <= kConstraintMet;
    if (!(moved <= kBelievable) || !(met || options.method == FitMethod::kQr))
        return refuse(fitted, FitVerdict::kInaccurate,
                      "the system is too close to dependent for a trustworthy answer");
    fitted.report.constraintResidual = deviations.inUnits;
    finish(data, problem, x, met ? FitVerdict::kMet : FitVerdict::kFitted, fitted);
}

std::string maskFault(const SurfaceData& data, const IntGenMat& mask, const TtupleMatrix& held)
{
    TtupleMatrix given(held);
    const auto rows = static_cast<unsigned>(data.u.count());
    const auto cols = static_cast<unsigned>(data.v.count());
    if (mask.rows() != rows || mask.cols() != cols)
        return "the mask needs one number a control point";
    if (held.rows() != data.u.count() || held.cols() != data.v.count() ||
        held.size() != data.points.size())
        return "there must be one given point a control point";
    return allFinite(given.data()) ? "" : "a given control point is no finite number";
}

/// Whether some free control point has no data under its basis function, or a line of control
/// points has more free ones than there are samples: the solver would then leave them where
/// nobody asked for.
bool leavesPointsFree(const ScaledSurface& problem, const IntGenMat& mask)
{
    const DoubleGenMat rows(problem.inU().rows().dense());
    for (int j = 0; j < static_cast<int>(mask.cols()); ++j) {
        const IntVec fixed(mask.col(j).valueIndex(kFixed));
        if (rows.rows() + fixed.length() < rows.cols()) return true;
        for (int i = 0; i < static_cast<int>(mask.rows()); ++i)
            if (mask(i, j) != kFixed && rows.col(i).isZero(kFitTolerance) == 1) return true;
    }
    return tooFew(problem.inV());
}

void fitAround(const SurfaceData& data, const IntGenMat& mask, const TtupleMatrix& held,
               const SurfaceFitOptions& options, FittedSurface& fitted)
{
    const ScaledSurface problem(data, {}, {});
    DirectionSolvers solvers(options.method, options.reporter);
    const int fixedCount = mask.dataVec().countValue(kFixed);
    fitted.report.columnsUsed = fitted.report.unknowns - fixedCount;
    const DoubleGenMat Au(problem.inU().rows().dense());
    const DoubleGenMat Av(problem.inV().rows().dense());
    IntGenMat flags(mask.rows(), mask.cols(), 0);
    flags.dataVec().vecPick(mask.dataVec().valueIndex(kFixed)) = kFixed;
    const auto solve = [&](const TtupleMatrix& b, TtupleMatrix* x) {
        return solvers.tensor().solveFixed(Au, Av, flags, b, x);
    };
    TtupleMatrix x(problem.scaled(held));
    if (leavesPointsFree(problem, mask) || solve(problem.rhs(), &x) != kSolved)
        return refuse(fitted, FitVerdict::kUndetermined,
                      "the data do not fix every free control point");
    if (!(polishGrid(problem, x, solve) <= kBelievable))
        return refuse(fitted, FitVerdict::kInaccurate,
                      "the system is too close to dependent for a trustworthy answer");
    finish(data, problem, x, FitVerdict::kMet, fitted);
}

/// One line of samples: row i, or column j, of a grid, point after point.
LineConstraint lineAt(const DoubleVec& parameters, int index, const DoubleVec& values)
{
    return {parameters(index), 0, toStandard(values)};
}

/// The samples with the smallest and the largest parameter.
std::pair<int, int> endsOf(const DoubleVec& parameters)
{
    return {minIndex(parameters), maxIndex(parameters)};
}

}  // namespace

std::vector<LineConstraint> endLinesInU(const TtupleMatrix& points, const DoubleVec& uParameters)
{
    if (uParameters.length() == 0 || uParameters.length() != static_cast<unsigned>(points.rows()))
        return {};
    TtupleMatrix grid(points);
    const auto [first, last] = endsOf(uParameters);
    return {lineAt(uParameters, first, grid.row(first)), lineAt(uParameters, last, grid.row(last))};
}

std::vector<LineConstraint> endLinesInV(const TtupleMatrix& points, const DoubleVec& vParameters)
{
    if (vParameters.length() == 0 || vParameters.length() != static_cast<unsigned>(points.cols()))
        return {};
    TtupleMatrix grid(points);
    const auto [first, last] = endsOf(vParameters);
    return {lineAt(vParameters, first, grid.column(first)),
            lineAt(vParameters, last, grid.column(last))};
}

FittedSurface fitSurface(const TtupleMatrix& points, const DoubleVec& uParameters,
                         const DoubleVec& vParameters, const BsplineBasis& u, const BsplineBasis& v,
                         const SurfaceFitOptions& options)
{
    const SurfaceData data{points, uParameters, vParameters, u, v};
    const std::string fault = inputFault(data, options);
    FittedSurface fitted;
    if (!fault.empty()) {
        refuse(fitted, FitVerdict::kBadInput, fault);
        return fitted;
    }
    start(data, options, fitted);
    withinMemory(fitted, [&] { fitFreely(data, options, fitted); });
    return fitted;
}

FittedSurface fitSurfaceAround(const TtupleMatrix& points, const DoubleVec& uParameters,
                               const DoubleVec& vParameters, const BsplineBasis& u,
                               const BsplineBasis& v, const IntGenMat& mask,
                               const TtupleMatrix& held, const SurfaceFitOptions& options)
{
    const SurfaceData data{points, uParameters, vParameters, u, v};
    std::string fault = inputFault(data, options);
    if (fault.empty()) fault = maskFault(data, mask, held);
    if (fault.empty() && !(options.acrossU.empty() && options.acrossV.empty()))
        fault = "lines of constraints and given control points do not go together";
    FittedSurface fitted;
    if (!fault.empty()) {
        refuse(fitted, FitVerdict::kBadInput, fault);
        return fitted;
    }
    start(data, options, fitted);
    withinMemory(fitted, [&] { fitAround(data, mask, held, options, fitted); });
    return fitted;
}

std::vector<double> FittedSurface::at(double atU, double atV, int derivativeU,
                                      int derivativeV) const
{
    if (surface == nullptr || derivativeU < 0 || derivativeV < 0) return {};
    const int order = derivativeU + derivativeV;
    std::vector<double> partials(static_cast<std::size_t>(surface->WorkspaceSize(order)));
    surface->eval(partials.data(), atU, atV, order);
    const int stride = std::max(surface->uDegree(), order) + 1;
    const auto first =
        partials.begin() + std::ptrdiff_t{derivativeV * stride + derivativeU} * dimension;
    return std::vector<double>(first, first + dimension);
}

}  // namespace knotwork
