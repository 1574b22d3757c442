// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledCurve.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ParameterRange.h"

namespace knotwork {

namespace {

/// Weights are divided by 4 to this power; constraints that are fitted weigh 1 before that.
int weightExponent(const DoubleVec& weights)
{
    return weights.length() == 0 ? 0 : exponentOf(std::sqrt(largestMagnitude(weights)));
}

}  // namespace

ScaledCurve::ScaledCurve(const TtupleVector& points, const DoubleVec& parameters,
                         const DoubleVec& weights, const BsplineBasis& basis,
                         const std::vector<CurveConstraint>& constraints)
    : rows_(basis),
      rhs_(points.points() + static_cast<int>(constraints.size()), points.size(), false)
{
    rows_.reserve(static_cast<std::size_t>(points.points()) + constraints.size());
    const ParameterRange range(basis);
    addData(points, parameters, weights, range);
    const double weight = std::ldexp(1.0, -2 * weightExponent(weights));
    int row = points.points();
    for (const CurveConstraint& constraint : constraints) {
        const int exponent =
            rows_.addConstraint(range.clamped(constraint.parameter), constraint.derivative, weight);
        for (int k = 0; k < dimension(); ++k)
            rhs_.high[rhs_.at(row, k)] =
                std::ldexp(constraint.value[static_cast<std::size_t>(k)], exponent);
        ++row;
    }
    scaleCoordinates();
}

void ScaledCurve::addData(const TtupleVector& points, const DoubleVec& parameters,
                          const DoubleVec& weights, const ParameterRange& range)
{
    const int exponent = weightExponent(weights);
    for (int i = 0; i < points.points(); ++i)
        rows_.addData(range.clamped(parameters(i)),
                      weights.length() == 0 ? 1.0 : std::ldexp(weights(i), -2 * exponent));
    for (int i = 0, n = points.points() * points.size(); i < n; ++i)
        rhs_.high[static_cast<std::size_t>(i)] = points.numbers()(i);
}

void ScaledCurve::scaleCoordinates()
{
    const auto d = static_cast<std::size_t>(dimension());
    std::vector<double> largest(d, 0.0);
    for (std::size_t i = 0; i < rhs_.high.size(); ++i)
        largest[i % d] = std::max(largest[i % d], std::fabs(rhs_.high[i]));
    for (const double size : largest) coordinateExponents_.push_back(exponentOf(size));
    for (std::size_t i = 0; i < rhs_.high.size(); ++i)
        rhs_.high[i] = std::ldexp(rhs_.high[i], -coordinateExponents_[i % d]);
    figureExponent_ = *std::max_element(coordinateExponents_.begin(), coordinateExponents_.end());
    for (const int exponent : coordinateExponents_)
        figureFactors_.push_back(std::ldexp(1.0, exponent - figureExponent_));
}

std::vector<double> ScaledCurve::controlPoints(const NumberBlock& x) const
{
    std::vector<double> points(x.high);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = std::ldexp(points[i], coordinateExponents_[i % coordinateExponents_.size()]);
    return points;
}

NumberBlock ScaledCurve::scaled(const std::vector<double>& controlPoints) const
{
    NumberBlock x(rows_.cols(), dimension(), false);
    for (std::size_t i = 0; i < controlPoints.size(); ++i)
        x.high[i] =
            std::ldexp(controlPoints[i], -coordinateExponents_[i % coordinateExponents_.size()]);
    return x;
}

ScaledCurve::Deviation ScaledCurve::constraintDeviation(const NumberBlock& x) const
{
    const int d = dimension();
    std::vector<double> sizes(static_cast<std::size_t>(d), 1.0);  // the right-hand sides'
    for (std::size_t i = 0; i < x.high.size(); ++i)
        sizes[i % sizes.size()] = std::max(sizes[i % sizes.size()], std::fabs(x.high[i]));
    Deviation worst;
    for (int row = rows_.dataRows(); row < rows_.count(); ++row)
        for (int k = 0; k < d; ++k) {
            const double left = std::fabs(exactResidual(rows_, row, rhs_, x, k).high);
            const auto at = static_cast<std::size_t>(k);
            worst.share = std::max(worst.share, left / sizes[at]);
            worst.inUnits = std::max(worst.inUnits, std::ldexp(left, coordinateExponents_[at]));
        }
    return worst;
}

double ScaledCurve::largestTerm(const NumberBlock& x) const
{
    double largest = 0.0;
    for (std::size_t i = 0; i < x.high.size(); ++i)
        largest =
            std::max(largest, std::fabs(x.high[i]) * figureFactors_[i % figureFactors_.size()]);
    return largest;
}

double ScaledCurve::squaredDistance(int i, const NumberBlock& x) const
{
    const double* entries = rows_.entries(i);
    double squares = 0.0;
    for (int k = 0; k < dimension(); ++k) {
        const double* unknown = x.high.data() + x.at(rows_.firstColumn(i), k);
        double left = rhs_.high[rhs_.at(i, k)];
        for (int j = 0; j < rows_.width(); ++j) left -= entries[j] * unknown[x.width * j];
        left *= figureFactors_[static_cast<std::size_t>(k)];
        squares += left * left;
    }
    return squares;
}

double ScaledCurve::squaredDistanceExactly(int i, const NumberBlock& x) const
{
    double squares = 0.0;
    for (int k = 0; k < dimension(); ++k) {
        const double left =
            exactResidual(rows_, i, rhs_, x, k).high * figureFactors_[static_cast<std::size_t>(k)];
        squares += left * left;
    }
    return squares;
}

}  // namespace knotwork
