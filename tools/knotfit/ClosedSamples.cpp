// SPDX-License-Identifier: MIT
#include "tools/knotfit/ClosedSamples.h"

#include <string>

#include "knotwork/fit/ClosedSamples.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::ClosedSamples;

bool allEqual(const TtupleVector& points)
{
    const DoubleVec numbers(points.numbers());
    for (int i = 0; i < static_cast<int>(numbers.length()); ++i)
        if (numbers(i) != numbers(i % points.size())) return false;
    return true;
}

[[noreturn]] void refusePeriod(const SampleOptions& options, const ClosedSamples& closed,
                               const DoubleVec& parameters)
{
    const std::string hint =
        options.parameter.empty() ? "; --parameter chord takes both columns for coordinates" : "";
    if (closed.period == 0.0 && !closed.repeated)
        refuse("--closed: the last point does not repeat the first, and no --period is given" +
               hint);
    refuse((options.period.empty() ? "--closed" : "--period") + std::string(": the period, ") +
           shortest(closed.period) + ", is shorter than the range of the parameters, " +
           shortest(maxValue(parameters) - minValue(parameters)) + hint);
}

}  // namespace

std::optional<double> periodOf(const SampleOptions& options)
{
    if (options.period.empty()) return {};
    const std::optional<double> period = parseNumber(options.period);
    if (!period || !(*period > 0.0)) refuse("--period: must be a finite number above 0");
    return period;
}

std::optional<double> startOf(const SampleOptions& options)
{
    if (options.start.empty()) return {};
    const std::optional<double> start = parseNumber(options.start);
    if (!start) refuse("--start: must be a finite number");
    return start;
}

void closeSamples(const SampleOptions& options, std::optional<double> period, TableSamples& samples)
{
    if (samples.spread && allEqual(samples.points)) refuse("all points are equal");
    const ClosedSamples closed =
        samples.spread ? knotwork::closedSamples(samples.points, *samples.spread, samples.weights)
                       : knotwork::closedSamples(samples.points, samples.parameters,
                                                 period.value_or(0.0), samples.weights);
    if (closed.parameters.length() == 0) {
        if (samples.spread) refuse("one point alone is no curve");
        refusePeriod(options, closed, samples.parameters);
    }
    samples.points.reference(closed.points);
    samples.parameters.reference(closed.parameters);
    samples.weights.reference(closed.weights);
    samples.period = closed.period;
    samples.firstRepeated = closed.repeated;
    samples.lastNearFirst = closed.almostRepeated;
}

}  // namespace knotfit
