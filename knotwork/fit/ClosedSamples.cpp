// SPDX-License-Identifier: MIT
#include "knotwork/fit/ClosedSamples.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace knotwork {

namespace {

constexpr double kRoundings = 8 * 0x1p-52;  // of the largest number, between a point and its repeat
constexpr double kNear = 0.5;               // of the median step

double number(const TtupleVector& points, int i, int k)
{
    return points.numbers()(i * points.size() + k);
}

double distanceBetween(const TtupleVector& points, int a, int b)
{
    double distance = 0.0;
    for (int k = 0; k < points.size(); ++k)
        distance = std::hypot(distance, number(points, a, k) - number(points, b, k));
    return distance;
}

bool allFinite(const DoubleVec& values)
{
    for (int i = 0, n = static_cast<int>(values.length()); i < n; ++i)
        if (!std::isfinite(values(i))) return false;
    return true;
}

/// One a point, or none.
bool countsFit(const DoubleVec& weights, const TtupleVector& points)
{
    return weights.length() == 0 || weights.length() == static_cast<unsigned>(points.points());
}

bool lastRepeatsFirst(const TtupleVector& points)
{
    const int last = points.points() - 1;
    if (last < 1) return false;
    for (int k = 0; k < points.size(); ++k) {
        double largest = 0.0;
        for (int i = 0; i <= last; ++i)
            largest = std::fmax(largest, std::fabs(number(points, i, k)));
        if (!(std::fabs(number(points, last, k) - number(points, 0, k)) <= kRoundings * largest))
            return false;
    }
    return true;
}

bool lastIsNearFirst(const TtupleVector& points)
{
    std::vector<double> steps;
    for (int i = 1; i < points.points(); ++i) steps.push_back(distanceBetween(points, i - 1, i));
    if (steps.size() < 2) return false;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return distanceBetween(points, points.points() - 1, 0) < kNear * *middle;
}

/// Copies, without the last point where that repeats the first.
ClosedSamples withoutRepeat(const TtupleVector& points, const DoubleVec& weights, bool repeated)
{
    ClosedSamples samples;
    const int last = points.points() - 1;
    const int count = repeated ? last : last + 1;
    samples.repeated = repeated;
    samples.almostRepeated = !repeated && lastIsNearFirst(points);
    samples.points.reference(points.rPoints(0, count));
    DoubleVec numbers = samples.points.data();
    for (int k = 0; repeated && k < points.size(); ++k)
        numbers(k) += 0.5 * (number(points, last, k) - number(points, 0, k));
    if (weights.length() > 0)
        samples.weights.reference(weights.slice(0, static_cast<unsigned>(count), 1).copy());
    return samples;
}

}  // namespace

ClosedSamples closedSamples(const TtupleVector& points, Parameterisation mode,
                            const DoubleVec& weights)
{
    if (!countsFit(weights, points)) return {};
    const bool repeated = lastRepeatsFirst(points);
    ClosedSamples samples = withoutRepeat(points, weights, repeated);
    const int count = samples.points.points();
    if (count < 2) return samples;
    TtupleVector round(samples.points.rPoints(0, count));
    round.resize(count + 1);
    round.setPoints(count, 1, samples.points);
    const DoubleVec parameters = parameterValues(round, mode);
    if (parameters.length() == 0) return samples;
    samples.parameters.reference(parameters.slice(0, static_cast<unsigned>(count), 1).copy());
    samples.period = 1.0;
    return samples;
}

ClosedSamples closedSamples(const TtupleVector& points, const DoubleVec& parameters, double period,
                            const DoubleVec& weights)
{
    const int last = points.points() - 1;
    if (last < 0 || parameters.length() != static_cast<unsigned>(points.points())) return {};
    if (!countsFit(weights, points) || !allFinite(parameters)) return {};
    const double range = parameters(last) - parameters(0);
    const bool later = period == 0.0 || std::fabs(range - period) <= kRoundings * period;
    const bool repeated = later && lastRepeatsFirst(points);
    ClosedSamples samples = withoutRepeat(points, weights, repeated);
    samples.period = period == 0.0 && repeated ? range : period;
    const auto count = static_cast<unsigned>(samples.points.points());
    const double longest = maxValue(parameters) - minValue(parameters);
    const bool fits = std::isfinite(samples.period) && samples.period > 0.0 &&
                      longest <= samples.period * (1.0 + kRoundings);
    if (fits) samples.parameters.reference(parameters.slice(0, count, 1).copy());
    return samples;
}

}  // namespace knotwork
