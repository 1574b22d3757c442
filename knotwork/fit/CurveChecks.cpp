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

std::string smoothingFault(const BsplineBasis& basis, const CurveFitOptions& options)
{
    const std::optional<double>& lambda = options.smoothing;
    if (lambda.has_value() && !(std::isfinite(*lambda) && *lambda >= 0.0))
        return "smoothing is no number of 0 or more";
    if (options.smoothingOrder < 0 || options.smoothingOrder > basis.degree())
        return "smoothing asks for a derivative that the degree does not have";
    if (lambda.has_value() && options.autoSmoothing) return "smoothing is given and asked for too";
    if ((lambda.has_value() || options.autoSmoothing) && options.method == FitMethod::kQr)
        return "smoothing holds constraints exactly: the method that fits them is not for it";
    return "";
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

std::string zeroFault(double zero)
{
    return zero >= 0.0 && zero <= 1.0 ? "" : "what counts as zero is no number from 0 to 1";
}

std::string arrayFault(const TtupleVector& points, const DoubleVec& parameters,
                       const DoubleVec& weights)
{
    if (points.points() < 1) return "there are no points";
    if (parameters.length() != static_cast<unsigned>(points.points()))
        return "there must be one parameter a point";
    if (weights.length() != 0 && weights.length() != parameters.length())
        return "there must be one weight a point";
    return "";
}

std::string requestFault(int dimension, const BsplineBasis& basis,
                         const std::vector<CurveConstraint>& constraints,
                         const CurveFitOptions& options)
{
    if (!basis.valid()) return "degree and knots do not make a basis";
    if (basis.closed() && options.method == FitMethod::kQr)
        return "a closed curve holds its constraints exactly: the method that fits them is not for "
               "it";
    if (dimension < 1) return "points need a coordinate";
    const std::string zero = zeroFault(options.zero);
    if (!zero.empty()) return zero;
    const std::string smoothing = smoothingFault(basis, options);
    if (!smoothing.empty()) return smoothing;
    for (std::size_t c = 0; c < constraints.size(); ++c) {
        const CurveConstraint& asked = constraints[c];
        const int number = static_cast<int>(c);
        const std::string fault = constraintFault(number, asked.parameter, asked.derivative, basis);
        if (!fault.empty()) return fault;
        if (asked.value.size() != static_cast<std::size_t>(dimension))
            return numbered("constraint", number) + " needs one number a coordinate";
        if (!std::all_of(asked.value.begin(), asked.value.end(),
                         [](double v) { return std::isfinite(v); }))
            return "the value of " + numbered("constraint", number) + " is no finite number";
    }
    return "";
}

}  // namespace knotwork
