// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveChecks.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/Numbers.h"
#include "knotwork/solvers/Thouseholder.h"

namespace knotwork {

namespace {

std::string weightFault(const DoubleVec& weights, int points)
{
    if (weights.length() == 0) return "";
    if (weights.length() != static_cast<unsigned>(points))
        return "there must be one weight a point";
    if (!allFinite(weights)) return "a weight is no finite number";
    if (minValue(weights) < 0.0) return "a weight is negative";
    return maxValue(weights) > 0.0 ? "" : "all weights are 0";
}

}  // namespace

std::string curveInputFault(const TtupleVector& points, const DoubleVec& parameters,
                            const BsplineBasis& basis,
                            const std::vector<CurveConstraint>& constraints,
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

double pullLeft(const ScaledCurve& problem, const TtupleVector& x, TtupleVector residuals,
                FitMethod method)
{
    const int count = method == FitMethod::kQr ? 0 : problem.constraints();
    const int dataRows = problem.dataRows() + problem.constraints() - count;
    DoubleGenMat across(static_cast<unsigned>(x.points()), static_cast<unsigned>(count));
    for (int c = 0; c < count; ++c)
        across.col(c) = problem.combined(dataRows + c, DoubleVec(1, 1.0));
    Thouseholder multipliers(kFitTolerance, 0, false);
    if (count > 0 && multipliers.setMatrix(across, 0, false, false, false) != 0) return 1.0;
    TtupleVector unknowns(x);
    double worst = 0.0;
    for (int k = 0; k < x.size(); ++k) {
        const DoubleVec left(residuals.component(k).slice(0, static_cast<unsigned>(dataRows), 1));
        DoubleVec pull(problem.combined(0, left));
        const int exponent = exponentOf(largestMagnitude(pull));
        pull *= std::ldexp(1.0, -exponent);
        if (count > 0) pull -= problem.combined(dataRows, multipliers.solve(pull));
        // No entry of a row is above 1. Where the data lie on the curve the residuals are but
        // rounding, which is in proportion to the unknowns.
        const double size = left.vecLen() + largestMagnitude(unknowns.component(k));
        const double still = std::ldexp(largestMagnitude(pull), exponent);
        if (std::isnan(still)) return 1.0;
        if (still > 0.0) worst = std::max(worst, still / (std::sqrt(dataRows) * size));
    }
    return worst;
}

}  // namespace knotwork
