// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceChecks.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/CurveChecks.h"
#include "knotwork/fit/Numbers.h"

namespace knotwork {

namespace {

std::string directionFault(const char* name, const DoubleVec& parameters, int samples,
                           const BsplineBasis& basis)
{
    const std::string direction = std::string(" in ") + name;
    if (parameters.length() != static_cast<unsigned>(samples))
        return "there must be one parameter a line of samples" + direction;
    if (!basis.valid()) return "degree and knots do not make a basis" + direction;
    if (basis.closed()) return "the basis is periodic" + direction;
    const std::string fault = parameterFault(parameters, basis);
    return fault.empty() ? "" : fault + direction;
}

std::string weightFault(const char* name, const DoubleVec& weights, int samples)
{
    const std::string direction = std::string(" in ") + name;
    const int n = static_cast<int>(weights.length());
    if (n == 0) return "";
    if (n != samples) return "there must be one weight a line of samples" + direction;
    bool any = false;
    for (int i = 0; i < n; ++i) {
        const double weight = weights(i);
        const std::string which = "weight " + std::to_string(i) + direction;
        if (!std::isfinite(weight)) return which + " is no finite number";
        if (weight < 0.0) return which + " is negative";
        any = any || weight > 0.0;
    }
    return any ? "" : "all weights are 0" + direction;
}

std::string lineFault(const char* name, const std::vector<LineConstraint>& lines,
                      const BsplineBasis& basis, std::size_t numbers)
{
    const std::string direction = std::string(" in ") + name;
    for (std::size_t c = 0; c < lines.size(); ++c) {
        const LineConstraint& line = lines[c];
        const std::string fault =
            constraintFault(static_cast<int>(c), line.parameter, line.derivative, basis);
        if (!fault.empty()) return fault + direction;
        const std::string which = "constraint " + std::to_string(c) + direction;
        if (line.values.size() != numbers)
            return which + " needs a point for each sample along its line";
        if (!std::all_of(line.values.begin(), line.values.end(),
                         [](double v) { return std::isfinite(v); }))
            return "a value of " + which + " is no finite number";
    }
    return "";
}

}  // namespace

std::string inputFault(const SurfaceData& data, const SurfaceFitOptions& options)
{
    const TtupleMatrix& points = data.points;
    if (points.rows() < 1 || points.cols() < 1) return "there are no points";
    const auto d = static_cast<std::size_t>(points.size());
    const auto rows = static_cast<std::size_t>(points.rows());
    const auto cols = static_cast<std::size_t>(points.cols());
    if (points.numbers().length() < d * rows * cols) return "there are fewer numbers than points";
    const std::string faults[] = {
        directionFault("u", data.uParameters, points.rows(), data.u),
        directionFault("v", data.vParameters, points.cols(), data.v),
        weightFault("u", options.uWeights, points.rows()),
        weightFault("v", options.vWeights, points.cols()),
        zeroFault(options.zero),
        allFinite(points.numbers()) ? "" : "a coordinate is no finite number"};
    for (const std::string& fault : faults)
        if (!fault.empty()) return fault;
    const std::string inU = lineFault("u", options.acrossU, data.u, d * cols);
    return inU.empty() ? lineFault("v", options.acrossV, data.v, d * rows) : inU;
}

std::string maskFault(const SurfaceData& data, const IntGenMat& mask, const TtupleMatrix& held)
{
    const auto rows = static_cast<unsigned>(data.u.count());
    const auto cols = static_cast<unsigned>(data.v.count());
    if (mask.rows() != rows || mask.cols() != cols)
        return "the mask needs one number a control point";
    if (held.rows() != data.u.count() || held.cols() != data.v.count() ||
        held.size() != data.points.size() ||
        held.numbers().length() < rows * cols * static_cast<unsigned>(held.size()))
        return "there must be one given point a control point";
    return allFinite(held.numbers()) ? "" : "a given control point is no finite number";
}

}  // namespace knotwork
