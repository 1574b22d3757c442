// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/ColumnFits.h"
#include "knotwork/fit/CurveDiagnosis.h"
#include "knotwork/fit/FitFrame.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/ScaledSurface.h"
#include "knotwork/fit/SurfaceChecks.h"
#include "knotwork/fit/SurfaceOpinion.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

constexpr double kFirstShare = 1.0 / 16;  // of that, the first direction's: x can be smaller
                                          // than what it is made of
constexpr int kFixed = 1;

// What stages cost a number, measured, one that a pass of the refinement goes over counting 1.
constexpr double kSetUpCost = 2.5;          // a sample's
constexpr double kHeldCost = 8.0;           // a sample's, to subtract held points
constexpr double kSolutionCost = 8.0;       // an unknown's
constexpr double kOpinionCost = 10.0;       // a sample's
constexpr double kControlPointCost = 20.0;  // of the surface object

/// The samples' numbers.
double numbersIn(const SurfaceData& data)
{
    return static_cast<double>(data.points.rows()) * data.points.cols() * data.points.size();
}

/// In all. around: held points.
double workOf(const SurfaceData& data, const SurfaceFitOptions& options, bool around)
{
    const double d = data.points.size();
    const double alongV = d * data.points.rows() * data.v.count();
    const double net = static_cast<double>(data.u.count()) * data.v.count();
    const double perSample = kSetUpCost + (around ? kHeldCost : 0.0) + 2.0 +
                             (options.asksSolver() ? kOpinionCost : 0.0) + 1.0;
    return perSample * numbersIn(data) + (2.0 + kSolutionCost) * alongV + kSolutionCost * d * net +
           kControlPointCost * net;
}

constexpr const char* kFreeNotFixed = "the data do not fix every free control point";

std::vector<double> toStandard(const DoubleVec& v)
{
    std::vector<double> values;
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) values.push_back(v(i));
    return values;
}

/// Counts the samples of column j by their squared distances; returns the row of the largest one
/// where none before lay as far away, else -1.
int tallyColumn(const ScaledSurface& problem, int j, const double* squares, ResidualTally& tally)
{
    const ScaledRows& rows = problem.inU();
    const double weight = problem.inV().weight(j);
    double total = 0.0;
    int worst = -1;
    for (int i = 0; i < rows.count(); ++i) {
        total += rows.weight(i) * squares[i];
        // Negated, so that what is no number is kept.
        if (rows.counts(i) && (worst < 0 || !(squares[i] <= squares[worst]))) worst = i;
    }
    return tally.add(weight * total, weight * rows.weights(), squares[worst]) ? worst : -1;
}

/// The figures are those of the control points that are handed out.
void measureData(const SurfaceData& data, const ScaledSurface& problem, const NumberBlock& x,
                 FittedSurface& fitted)
{
    ResidualTally tally;
    for (const bool exactly : {false, true}) {
        tally = ResidualTally();
        problem.forDistances(x, exactly, [&](int j, const double* squares) {
            const int i = tallyColumn(problem, j, squares, tally);
            if (i < 0) return;
            fitted.report.maxResidualAtU = data.uParameters(i);
            fitted.report.maxResidualAtV = data.vParameters(j);
        });
        if (tally.standsRounding(problem.largestTerm(x))) break;
    }
    fitted.report.rms = std::ldexp(tally.rms(), problem.figureExponent());
    fitted.report.maxResidual = std::ldexp(tally.largest(), problem.figureExponent());
}

/// Hands out the control points with the figures, unless they leave the range of numbers.
void finish(const SurfaceData& data, const ScaledSurface& problem, FitVerdict verdict,
            WorkMeter& work, FittedSurface& fitted)
{
    measureData(data, problem, problem.scaled(fitted.controlPoints), fitted);
    work.add(numbersIn(data));
    fitted.report.verdict = verdict;
    if (!isFinite(fitted.controlPoints, fitted.report))
        return refuse(fitted, FitVerdict::kInaccurate, "the surface leaves the range of numbers");
    fitted.surface = makeSurface(fitted.u, fitted.v, fitted.dimension, fitted.controlPoints);
}

/// Refuses a direction that lines of samples and constraints do not fix, or hardly.
bool determined(const char* name, const BandFit& fit, const ScaledRows& rows,
                const BsplineBasis& basis, const DoubleVec& parameters, FittedSurface& fitted)
{
    const BandFit::State state = fit.state();
    if (state == BandFit::State::kSolvable) return true;
    const std::string where = std::string("in ") + name + ", ";
    const int lines = rows.counted() + static_cast<int>(fit.constraints().size());
    std::vector<double> counted;
    for (int i = 0; i < rows.count(); ++i)
        if (rows.counts(i)) counted.push_back(parameters(i));
    const std::string why = whyUndetermined(basis, std::move(counted));
    if (state == BandFit::State::kDependentConstraints)
        refuse(fitted, FitVerdict::kDependentConstraints, where + whyDependent(fit));
    else if (lines < basis.count())
        refuse(fitted, FitVerdict::kUndetermined,
               where + tooFewEquations(basis.count(), lines, "lines"));
    else if (state == BandFit::State::kUndetermined)
        refuse(fitted, FitVerdict::kUndetermined, where + (why.empty() ? whyNotFixed(fit) : why));
    else
        refuse(fitted, FitVerdict::kInaccurate, where + whyTooClose(fit));
    return false;
}

/// The arrays of samples and control points count in ints.
void requireCounts(const SurfaceData& data, const SurfaceFitOptions& options)
{
    const double rows = std::max(data.points.rows() + static_cast<double>(options.acrossU.size()),
                                 static_cast<double>(data.u.count()));
    const double cols = std::max(data.points.cols() + static_cast<double>(options.acrossV.size()),
                                 static_cast<double>(data.v.count()));
    if (rows * cols * data.points.size() > std::numeric_limits<int>::max()) throw std::bad_alloc();
}

void start(const SurfaceData& data, const SurfaceFitOptions& options, FittedSurface& fitted)
{
    fitted.report.method = options.method;
    fitted.report.zero = options.zero;
    fitted.u = data.u;
    fitted.v = data.v;
    fitted.dimension = data.points.size();
    fitted.report.dataPoints = data.points.rows() * data.points.cols();
    fitted.report.unknowns = data.u.count() * data.v.count();
    fitted.report.columnsUsed = fitted.report.unknowns;
}

double largestNumber(const NumberBlock& x)
{
    double largest = 0.0;
    for (const double v : x.high) largest = std::max(largest, std::fabs(v));
    return largest;
}

/// The rows of a block behind the first `count`.
NumberBlock lastRows(const NumberBlock& block, int count)
{
    NumberBlock rows;
    rows.width = block.width;
    const auto from = static_cast<std::ptrdiff_t>(block.at(count, 0));
    rows.high.assign(block.high.begin() + from, block.high.end());
    if (!block.low.empty()) rows.low.assign(block.low.begin() + from, block.low.end());
    return rows;
}

/// The error that the second direction's solution has by that of the first one. growth: what that
/// direction makes of errors at most.
double carriedOver(double error, const NumberBlock& from, double growth, const NumberBlock& x)
{
    return error * std::max(1.0, largestNumber(from)) * growth / std::max(1.0, largestNumber(x));
}

/// Refuses an answer that the method's solvers, asked for their opinion, do not share.
bool confirmed(const ScaledSurface& problem, const SurfaceFitOptions& options,
               const HeldPoints* held, const NumberBlock& x, FittedSurface& fitted)
{
    if (!options.asksSolver()) return true;
    const SolverOpinion opinion = askSolvers(problem, options, held);
    fitted.report.zero = opinion.zero;
    if (opinion.solvable && opinion.sharedBy(x, problem.dimension())) return true;
    refuse(fitted, FitVerdict::kInaccurate, whyZeroIsTooCoarse(options.zero, opinion.zero));
    return false;
}

void fitFreely(const SurfaceData& data, const SurfaceFitOptions& options, WorkMeter& work,
               FittedSurface& fitted)
{
    FitReport& report = fitted.report;
    const ScaledSurface problem(data, options.acrossU, options.acrossV);
    if (!problem.fault().empty()) return refuse(fitted, FitVerdict::kBadInput, problem.fault());
    if (!std::isfinite(largestNumber(problem.rhs())))
        return refuse(fitted, FitVerdict::kBadInput, kValueOutOfRange);
    const auto linesU = static_cast<int>(options.acrossU.size());
    const auto linesV = static_cast<int>(options.acrossV.size());
    report.constraints = linesU * data.v.count() + linesV * data.u.count() - linesU * linesV;
    const BandFit fitU(problem.inU().triangle(), problem.constraintsInU(), options.method,
                       problem.inU().constraintWeight());
    if (!determined("u", fitU, problem.inU(), data.u, data.uParameters, fitted)) return;
    const BandFit fitV(problem.inV().triangle(), problem.constraintsInV(), options.method,
                       problem.inV().constraintWeight());
    if (!determined("v", fitV, problem.inV(), data.v, data.vParameters, fitted)) return;

    work.add(kSetUpCost * numbersIn(data));
    const int d = fitted.dimension;
    const double growth = fitU.amplification(problem.inU().weights());
    const auto [alongV, errorV, movedV] = fitV.solve(GridRows(problem.inV(), problem.rhs(), &work),
                                                     lastRows(problem.rhs(), problem.inV().count()),
                                                     d, kFirstShare * kBelievable / growth);
    work.add(kSolutionCost * static_cast<double>(alongV.high.size()));
    const NumberBlock across = transposed(alongV, data.v.count(), d);
    auto [turned, errorU, movedU] =
        fitU.solve(GridRows(problem.inU(), across, &work), lastRows(across, problem.inU().count()),
                   d, kBelievable / 2.0);
    work.add(kSolutionCost * static_cast<double>(turned.high.size()));
    turned.low.clear();  // control points are doubles
    const NumberBlock x = transposed(turned, data.u.count(), d);
    fitted.controlPoints = problem.controlPoints(x);
    const LineDeviations deviations =
        problem.lineDeviations(problem.scaled(fitted.controlPoints), alongV, fitU);
    const bool met = deviations.share <= kConstraintMet;
    if (!(errorU + carriedOver(errorV, alongV, growth, x) <= kBelievable) ||
        !(met || options.method == FitMethod::kQr))
        return refuse(fitted, FitVerdict::kInaccurate, kTooCloseToDependent);
    if (!confirmed(problem, options, nullptr, x, fitted)) return;
    if (options.asksSolver()) work.add(kOpinionCost * numbersIn(data));
    report.constraintResidual = deviations.inUnits;
    finish(data, problem, verdictOf(report, met), work, fitted);
}

/// The held control points, zeros for the others.
std::vector<double> heldPoints(const IntGenMat& mask, const TtupleMatrix& held)
{
    const int d = held.size();
    std::vector<double> points;
    for (int j = 0; j < held.cols(); ++j)
        for (int i = 0; i < held.rows(); ++i)
            for (int k = 0; k < d; ++k)
                points.push_back(
                    mask(i, j) == kFixed ? held.numbers()((held.rows() * j + i) * d + k) : 0.0);
    return points;
}

/// What is left of the data in column j of a grid that was fitted along v.
NumberBlock columnOf(const NumberBlock& alongV, int j, int dimension)
{
    const int samples = alongV.width / dimension;
    NumberBlock b(samples, dimension, true);
    for (int i = 0; i < samples; ++i)
        for (int k = 0; k < dimension; ++k) b.set(i, k, alongV.number(j, i * dimension + k));
    return b;
}

void fitAround(const SurfaceData& data, const IntGenMat& mask, const TtupleMatrix& held,
               const SurfaceFitOptions& options, WorkMeter& work, FittedSurface& fitted)
{
    const int d = fitted.dimension;
    const int rows = data.u.count();
    const ScaledSurface problem(data, {}, {});
    const BandFit fitV(problem.inV().triangle(), {}, FitMethod::kHouseholder);
    const ColumnFits columns(problem.inU().triangle(), mask);
    if (fitV.state() != BandFit::State::kSolvable || !columns.solvable())
        return refuse(fitted, FitVerdict::kUndetermined, kFreeNotFixed);
    fitted.controlPoints = heldPoints(mask, held);
    const NumberBlock fixed = problem.scaled(fitted.controlPoints);
    const NumberBlock rest = problem.residuals(fixed);
    work.add((kSetUpCost + kHeldCost) * numbersIn(data));
    const double growth = columns.amplification(problem.inU().weights());
    const BandFit::Answer alongV =
        fitV.solve(GridRows(problem.inV(), rest, &work), NumberBlock(0, rest.width, false), d,
                   kFirstShare * kBelievable / growth);

    work.add(kSolutionCost * static_cast<double>(alongV.x.high.size()));

    NumberBlock x(data.v.count(), rows * d, false);
    for (int j = 0; j < data.v.count(); ++j) {
        const NumberBlock b = columnOf(alongV.x, j, d);
        const BandFit& fit = columns.of(j);  // with the held ones at 0
        const NumberBlock zeros(static_cast<int>(fit.constraints().size()), d, false);
        const BandFit::Answer column =
            fit.solve(GridRows(problem.inU(), b, &work), zeros, d, kBelievable / 2.0);
        if (!(column.error + carriedOver(alongV.error, alongV.x, growth, fixed) <= kBelievable))
            return refuse(fitted, FitVerdict::kInaccurate, kTooCloseToDependent);
        work.add(kSolutionCost * static_cast<double>(column.x.high.size()));
        std::copy(column.x.high.begin(), column.x.high.end(),
                  x.high.begin() + static_cast<std::ptrdiff_t>(x.at(j, 0)));
    }
    const std::vector<double> found = problem.controlPoints(x);
    for (std::size_t n = 0; n < found.size(); ++n)
        if (mask(static_cast<int>(n) / d % rows, static_cast<int>(n) / d / rows) != kFixed)
            fitted.controlPoints[n] = found[n];
    const HeldPoints given = {mask, fixed};
    if (!confirmed(problem, options, &given, problem.scaled(fitted.controlPoints), fitted)) return;
    if (options.asksSolver()) work.add(kOpinionCost * numbersIn(data));
    fitted.report.constraints = columns.held();
    fitted.report.columnsUsed = fitted.report.unknowns - columns.held();
    finish(data, problem, columns.held() > 0 ? FitVerdict::kMet : FitVerdict::kFitted, work,
           fitted);
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

/// A fit with its request checked. total: the work that it will be.
template <class Fault, class Fit>
FittedSurface checkedFit(const SurfaceData& data, const SurfaceFitOptions& options, double total,
                         Fault fault, Fit fit)
{
    return checkedFit<FittedSurface>(options.method, fault, [&](FittedSurface& fitted) {
        requireCounts(data, options);
        start(data, options, fitted);
        WorkMeter work(options.progress, total);
        fit(work, fitted);
        work.finish();
    });
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
    const SurfaceData data{points, uParameters,      vParameters,     u,
                           v,      options.uWeights, options.vWeights};
    return checkedFit(
        data, options, workOf(data, options, false), [&] { return inputFault(data, options); },
        [&](WorkMeter& work, FittedSurface& fitted) { fitFreely(data, options, work, fitted); });
}

FittedSurface fitSurfaceAround(const TtupleMatrix& points, const DoubleVec& uParameters,
                               const DoubleVec& vParameters, const BsplineBasis& u,
                               const BsplineBasis& v, const IntGenMat& mask,
                               const TtupleMatrix& held, const SurfaceFitOptions& options)
{
    const SurfaceData data{points, uParameters,      vParameters,     u,
                           v,      options.uWeights, options.vWeights};
    const auto fault = [&] {
        std::string found = inputFault(data, options);
        if (found.empty()) found = maskFault(data, mask, held);
        if (found.empty() && !(options.acrossU.empty() && options.acrossV.empty()))
            found = "lines of constraints and given control points do not go together";
        return found;
    };
    return checkedFit(data, options, workOf(data, options, true), fault,
                      [&](WorkMeter& work, FittedSurface& fitted) {
                          fitAround(data, mask, held, options, work, fitted);
                      });
}

void FittedSurface::forget()
{
    controlPoints.clear();
    surface.reset();
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
