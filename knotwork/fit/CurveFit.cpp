// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include <algorithm>
#include <limits>
#include <new>

#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/CurveConditions.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/CurveSolution.h"
#include "knotwork/fit/FitFrame.h"
#include "knotwork/fit/WorkMeter.h"

namespace knotwork {

namespace {

void start(const BsplineBasis& basis, int dimension, const CurveTask& task, FittedCurve& curve)
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
long long fewestEquations(const CurveTask& task, int dimension)
{
    std::vector<long long> counts(static_cast<std::size_t>(dimension), 0);
    for (const CurveCondition& condition : task.conditions)
        for (std::size_t k = 0; k < counts.size(); ++k) counts[k] += condition.mask[k] != 0 ? 1 : 0;
    return *std::min_element(counts.begin(), counts.end());
}

/// Whether there are samples, with weights, and equations enough; counts them.
bool countsSuffice(const CurveState& state, const CurveTask& task, FittedCurve& curve)
{
    constexpr long long kMost = std::numeric_limits<int>::max();
    CurveFitReport& report = curve.report;
    report.dataPoints = static_cast<int>(std::min(state.rows(), kMost));
    const long long equations = state.rows() + fewestEquations(task, curve.dimension);
    if (state.rows() < 1)
        refuse(curve, FitVerdict::kBadInput, "there are no points");
    else if (state.weights() == 0.0)
        refuse(curve, FitVerdict::kBadInput, "all weights are 0");
    else if (equations < report.unknowns && !task.smoothes())
        refuse(curve, FitVerdict::kUndetermined,
               tooFewEquations(report.unknowns, equations, "equations") + kSmoothingHelps);
    else
        return true;
    return false;
}

/// Compresses the samples and solves. count: how many there will be, as far as that is known.
void fitSamples(const BsplineBasis& basis, int dimension, const CurveTask& task, double count,
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
        CurveSolution(CurveProblem(state, task.conditions), task, work, curve).run();
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
        const CurveTask task = {
            none, conditionsOf(basis, gathered.dimension(), constraints, options), options};
        start(basis, gathered.dimension(), task, curve);
        if (!countsSuffice(gathered.state(), task, curve)) return;
        WorkMeter work(options.progress, kSolutionCost * curve.report.unknowns);
        CurveSolution(CurveProblem(gathered.state(), task.conditions), task, work, curve).run();
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
