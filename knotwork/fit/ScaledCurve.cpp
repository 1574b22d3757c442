// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledCurve.h"

#include <cmath>

#include "knotwork/fit/Numbers.h"

namespace knotwork {

namespace {

/// A power of two that the square roots of weights are divided by, to be of unit size.
int rootExponent(const DoubleVec& weights)
{
    return exponentOf(std::sqrt(maxValue(weights)));
}

}  // namespace

/// Rows of constraints are of unit length, and so are the heaviest data's.
void ScaledCurve::addData(const TtupleVector& points, const DoubleVec& parameters,
                          const DoubleVec& weights)
{
    rhs_.setPoints(0, points.points(), points);
    const bool weighted = weights.length() > 0;
    const int exponent = weighted ? rootExponent(weights) : 0;
    for (int i = 0; i < points.points(); ++i) {
        const double factor = weighted ? std::ldexp(std::sqrt(weights(i)), -exponent) : 1.0;
        system_.addData(parameters(i), factor);
        if (weighted) rhs_.point(i) *= factor;
    }
}

ScaledCurve::ScaledCurve(const TtupleVector& points, const DoubleVec& parameters,
                         const DoubleVec& weights, const BsplineBasis& basis,
                         const std::vector<CurveConstraint>& constraints)
    : system_(basis),
      rhs_(points.size(), points.points() + static_cast<int>(constraints.size()), 0.0)
{
    system_.reserve(static_cast<std::size_t>(rhs_.points()));
    addData(points, parameters, weights);
    int row = points.points();
    for (const CurveConstraint& constraint : constraints) {
        const int exponent = system_.addConstraint(constraint.parameter, constraint.derivative);
        constraintExponents_.push_back(exponent);
        for (int k = 0; k < rhs_.size(); ++k)
            rhs_.point(row)(k) =
                std::ldexp(constraint.value[static_cast<std::size_t>(k)], exponent);
        ++row;
    }
    for (int k = 0; k < rhs_.size(); ++k) {
        DoubleVec coordinate(rhs_.component(k));
        coordinateExponents_.push_back(exponentOf(largestMagnitude(coordinate)));
        for (int i = 0; i < rhs_.points(); ++i)
            coordinate(i) = std::ldexp(coordinate(i), -coordinateExponents_.back());
    }
}

TtupleVector ScaledCurve::residuals(const TtupleVector& x) const
{
    const BasisRows& rows = system_.rows();
    TtupleVector unknowns(x);
    TtupleVector target(rhs_);
    TtupleVector left(x.size(), rows.count(), 0.0);
    const double* numbers = unknowns.data().data();
    for (int k = 0; k < x.size(); ++k) {
        const DoubleVec wanted(target.component(k));
        DoubleVec coordinate(left.component(k));
        for (int i = 0; i < rows.count(); ++i)
            coordinate(i) = static_cast<double>(wanted(i) - rows.times(i, numbers + k, x.size()));
    }
    return left;
}

DoubleVec ScaledCurve::combined(int first, const DoubleVec& factors) const
{
    const int columns = system_.basis().count();
    std::vector<long double> totals(static_cast<std::size_t>(columns));
    for (int i = 0; i < static_cast<int>(factors.length()); ++i)
        system_.rows().addTo(totals, first + i, factors(i));
    DoubleVec sums(static_cast<unsigned>(columns));
    for (int j = 0; j < columns; ++j)
        sums(j) = static_cast<double>(totals[static_cast<std::size_t>(j)]);
    return sums;
}

std::vector<double> ScaledCurve::controlPoints(const TtupleVector& x) const
{
    std::vector<double> points;
    points.reserve(static_cast<std::size_t>(x.points()) * static_cast<std::size_t>(x.size()));
    for (int i = 0; i < x.points(); ++i)
        for (int k = 0; k < x.size(); ++k)
            points.push_back(
                std::ldexp(x.point(i)(k), coordinateExponents_[static_cast<std::size_t>(k)]));
    return points;
}

double ScaledCurve::constraintInUnits(int c, double deviation) const
{
    return std::ldexp(deviation, constraintExponents_[static_cast<std::size_t>(c)]);
}

}  // namespace knotwork
