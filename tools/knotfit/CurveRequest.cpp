// SPDX-License-Identifier: MIT
#include "tools/knotfit/CurveRequest.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "tools/knotfit/BasisRequest.h"
#include "tools/knotfit/ClosedSamples.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::Parameterisation;

/// The table's columns: parameters in the first one, or coordinates in all.
TtupleVector pointsOf(const CsvTable& table, int firstColumn)
{
    const int d = table.cols - firstColumn;
    TtupleVector points(d, table.rows, 0.0);
    double* number = points.data().data();
    for (int i = 0; i < table.rows; ++i)
        for (int k = 0; k < d; ++k) *number++ = table.at(i, firstColumn + k);
    return points;
}

DoubleVec columnOf(const CsvTable& table, int j)
{
    DoubleVec column(static_cast<unsigned>(table.rows));
    for (int i = 0; i < table.rows; ++i) column(i) = table.at(i, j);
    return column;
}

/// Takes the weights out of the table; what is left are parameters and coordinates.
DoubleVec takeWeights(int column, CsvTable& table)
{
    if (column == 0) return {};
    if (column < 1 || column > table.cols)
        refuse("--weights: there is no column " + std::to_string(column) + "; the last one is " +
               std::to_string(table.cols));
    if (table.cols < 2) refuse("--weights needs a second column with coordinates");
    DoubleVec weights(columnOf(table, column - 1));
    if (minValue(weights) < 0.0) refuse("--weights: a weight is negative");
    int at = 0;
    table.numbers.erase(std::remove_if(table.numbers.begin(), table.numbers.end(),
                                       [&](double) { return at++ % table.cols == column - 1; }),
                        table.numbers.end());
    --table.cols;
    return weights;
}

void placePoints(const std::string& asked, const CsvTable& table, TableSamples& samples)
{
    const std::string mode = !asked.empty() ? asked : table.cols == 2 ? "column" : "chord";
    if (mode == "column") {
        if (table.cols < 2) refuse("--parameter column needs a second column with coordinates");
        samples.points.reference(pointsOf(table, 1));
        samples.parameters.reference(columnOf(table, 0));
    } else {
        samples.points.reference(pointsOf(table, 0));
        const Parameterisation spread = mode == "uniform"       ? Parameterisation::kUniform
                                        : mode == "centripetal" ? Parameterisation::kCentripetal
                                                                : Parameterisation::kChord;
        samples.parameters.reference(knotwork::parameterValues(samples.points, spread));
        samples.spread = spread;
    }
}

/// Refuses samples that are no curve by themselves.
void checkWhole(const TableSamples& samples)
{
    const DoubleVec& t = samples.parameters;
    if (samples.weights.length() > 0 && maxValue(samples.weights) == 0.0)
        refuse("--weights: all weights are 0");
    if (t.length() < 2 || !(minValue(t) < maxValue(t)))
        refuse(samples.points.points() < 2 ? "one point alone is no curve"
                                           : "all parameters are equal");
    if (!std::isfinite(maxValue(t) - minValue(t))) refuse("the parameter range is too wide");
}

void addPasses(const std::vector<std::string>& texts, CurveRequest& request)
{
    for (const std::string& text : texts)
        for (const std::string_view part : split(text, ',')) {
            const int last = request.points.points() - (request.firstRepeated ? 0 : 1);
            const std::optional<double> number = part == "first"  ? std::optional<double>(0.0)
                                                 : part == "last" ? std::optional<double>(last)
                                                                  : parseNumber(part);
            if (!number || *number != std::floor(*number))
                refuse("--pass: '" + std::string(part) +
                       "' is neither a number nor first nor last");
            if (*number < 0 || *number > last)
                refuse("--pass: there is no data point " + std::string(part) +
                       "; the last one is " + std::to_string(last));
            const int turns = static_cast<int>(*number) / request.points.points();
            const int i = static_cast<int>(*number) % request.points.points();
            const DoubleVec point(request.points.point(i));
            const auto dimension = static_cast<std::size_t>(request.points.size());
            std::vector<double> value(dimension);
            for (std::size_t k = 0; k < dimension; ++k) value[k] = point(static_cast<int>(k));
            request.asked.constraints.push_back(
                {request.parameters(i) + turns * request.period, 0, value});
        }
}

}  // namespace

TableSamples samplesOf(const SampleOptions& options, CsvTable table)
{
    TableSamples samples;
    samples.weights.reference(takeWeights(options.weights, table));
    placePoints(options.parameter, table, samples);
    return samples;
}

CurveRequest makeCurveRequest(const CurveOptions& options, CsvTable table)
{
    CurveRequest request{samplesOf(options, std::move(table)), {}, {}};
    if (!options.period.empty() && request.spread)
        refuse("--period: goes with --parameter column; spread parameters have a period of 1");
    checkWhole(request);
    const int equations = static_cast<int>(options.values.size() + options.slopes.size());
    double first = minValue(request.parameters);
    double last = maxValue(request.parameters);
    if (options.closed) {
        closeSamples(options, periodOf(options), request);
        first = startOf(options).value_or(request.parameters(0));
        last = first + request.period;
    }
    BasisRequest basis = {options.degree, options.spans, options.knots, "--knots", first, last};
    if (options.smooth.empty()) basis.lines = request.points.points();
    basis.equations = equations;
    basis.closed = options.closed;
    basis.wayOut = ", which smoothing may make up for: --smooth auto";
    request.basis = basisFor(basis);
    addPasses(options.pass, request);
    addAsked(options, request.basis, request.points.size(), request.asked);
    return request;
}

}  // namespace knotfit
