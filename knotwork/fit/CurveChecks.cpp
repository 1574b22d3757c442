// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveChecks.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ParameterRange.h"

namespace knotwork {

namespace {

std::string numbered(const char* noun, int number)
{
    return std::string(noun) + " " + std::to_string(number);
}

std::string weightFault(const DoubleVec& weights, int points)
{
    if (weights.length() == 0) return "";
    if (weights.length() != static_cast<unsigned>(points))
        return "there must be one weight a point";
    double largest = 0.0;
    for (int i = 0; i < points; ++i) {
        if (!std::isfinite(weights(i))) return numbered("weight", i) + " is no finite number";
        if (weights(i) < 0.0) return numbered("weight", i) + " is negative";
        largest = std::max(largest, weights(i));
    }
    return largest > 0.0 ? "" : "all weights are 0";
}

}  // namespace

std::string parameterFault(const DoubleVec& parameters, const BsplineBasis& basis)
{
    const ParameterRange range(basis);
    const int n = static_cast<int>(parameters.length());
    for (int i = 0; i < n; ++i) {
        const double t = parameters(i);
        if (!std::isfinite(t)) return numbered("parameter", i) + " is no finite number";
        if (!range.takes(t, n))
            return numbered("parameter", i) + ", " + shortestText(t) + ", lies outside the knots";
    }
    return "";
}

std::string constraintFault(int c, double parameter, int derivative, const BsplineBasis& basis)
{
    const std::string which = numbered("constraint", c);
    if (!ParameterRange(basis).takes(parameter, ParameterRange::kConstraintSteps))
        return which + ", at " + shortestText(parameter) + ", lies outside the knots";
    if (derivative < 0 || derivative > basis.degree())
        return which + " asks for a derivative that the degree does not have";
    return "";
}

std::string curveInputFault(const TtupleVector& points, const DoubleVec& parameters,
                            const BsplineBasis& basis,
                            const std::vector<CurveConstraint>& constraints,
                            const CurveFitOptions& options)
{
    if (points.points() < 1) return "there are no points";
    if (parameters.length() != static_cast<unsigned>(points.points()))
        return "there must be one parameter a point";
    if (!basis.valid()) return "degree and knots do not make a basis";
    const int bad = firstNotFinite(points.numbers());
    if (bad >= 0)
        return "a coordinate of " + numbered("point", bad / points.size()) + " is no finite number";
    std::string fault = parameterFault(parameters, basis);
    if (fault.empty()) fault = weightFault(options.weights, points.points());
    for (std::size_t c = 0; c < constraints.size() && fault.empty(); ++c) {
        const CurveConstraint& asked = constraints[c];
        const int number = static_cast<int>(c);
        fault = constraintFault(number, asked.parameter, asked.derivative, basis);
        if (!fault.empty()) break;
        if (asked.value.size() != static_cast<std::size_t>(points.size()))
            fault = numbered("constraint", number) + " needs one number a coordinate";
        else if (!std::all_of(asked.value.begin(), asked.value.end(),
                              [](double v) { return std::isfinite(v); }))
            fault = "the value of " + numbered("constraint", number) + " is no finite number";
    }
    return fault;
}

}  // namespace knotwork
