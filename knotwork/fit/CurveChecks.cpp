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

std::string placeFault(const std::string& which, double parameter, int derivative,
                       const BsplineBasis& basis)
{
    if (!ParameterRange(basis).takes(parameter, ParameterRange::kConstraintSteps))
        return which + ", at " + shortestText(parameter) + ", lies outside the knots";
    if (derivative < 0 || derivative > basis.degree())
        return which + " asks for a derivative that the degree does not have";
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
    return placeFault(numbered("constraint", c), parameter, derivative, basis);
}

namespace {

std::string valueFault(const std::string& which, const std::vector<double>& value,
                       const std::vector<char>& mask, std::size_t dimension)
{
    if (value.size() != dimension) return which + " needs one number a coordinate";
    if (!mask.empty() && mask.size() != dimension)
        return "the mask of " + which + " needs one flag a coordinate";
    if (!mask.empty() && std::count(mask.begin(), mask.end(), 0) == std::ptrdiff_t(dimension))
        return "the mask of " + which + " leaves all coordinates free";
    for (std::size_t k = 0; k < dimension; ++k)
        if ((mask.empty() || mask[k] != 0) && !std::isfinite(value[k]))
            return "the value of " + which + " is no finite number";
    return "";
}

std::string linearFault(const std::string& which, const LinearConstraint& asked,
                        const BsplineBasis& basis, std::size_t dimension)
{
    if (asked.terms.empty()) return which + " has no terms";
    bool any = false;
    for (const LinearConstraint::Term& term : asked.terms) {
        const std::string fault = placeFault(which, term.parameter, term.derivative, basis);
        if (!fault.empty()) return fault;
        if (!std::isfinite(term.factor)) return "a factor of " + which + " is no finite number";
        any = any || term.factor != 0.0;
    }
    if (!any) return "all factors of " + which + " are 0";
    return valueFault(which, asked.value, asked.mask, dimension);
}

std::string directionFault(const std::string& which, const DirectionConstraint& asked,
                           const BsplineBasis& basis, std::size_t dimension)
{
    const std::string fault = placeFault(which, asked.parameter, 1, basis);
    if (!fault.empty()) return fault;
    if (dimension < 2) return which + " asks for nothing: the points have one coordinate";
    if (asked.direction.size() != dimension) return which + " needs one number a coordinate";
    if (!std::all_of(asked.direction.begin(), asked.direction.end(),
                     [](double x) { return std::isfinite(x); }))
        return which + " is no finite vector";
    if (std::all_of(asked.direction.begin(), asked.direction.end(),
                    [](double x) { return x == 0.0; }))
        return which + " has length 0";
    return "";
}

}  // namespace

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
    const auto d = static_cast<std::size_t>(dimension);
    std::string fault;
    int number = 0;
    for (const CurveConstraint& c : constraints) {
        const std::string which = numbered("constraint", number++);
        if (fault.empty()) fault = placeFault(which, c.parameter, c.derivative, basis);
        if (fault.empty()) fault = valueFault(which, c.value, c.mask, d);
    }
    number = 0;
    for (const LinearConstraint& c : options.linear)
        if (fault.empty())
            fault = linearFault(numbered("linear constraint", number++), c, basis, d);
    number = 0;
    for (const DirectionConstraint& c : options.directions)
        if (fault.empty()) fault = directionFault(numbered("direction", number++), c, basis, d);
    number = 0;
    for (const HeldControlPoint& c : options.held) {
        const std::string which = numbered("held control point", number++);
        if (fault.empty() && (c.number < 0 || c.number >= basis.unknowns()))
            fault = which + " is no control point: number " + std::to_string(c.number);
        if (fault.empty()) fault = valueFault(which, c.value, c.mask, d);
    }
    if (fault.empty() && !options.directions.empty() && options.method == FitMethod::kQr)
        return "a direction holds exactly: the method that fits constraints is not for it";
    return fault;
}

}  // namespace knotwork
