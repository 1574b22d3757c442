// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveProblem.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

CurveProblem::CurveProblem(const CurveState& state,
                           const std::vector<PlacedConstraint>& constraints)
    : state_(state),
      order_(state.basis()),
      scales_(state.scales()),
      constraintRhs_(static_cast<int>(constraints.size()), state.dimension(), false),
      triangles_(state.triangles())
{
    for (const PlacedConstraint& constraint : constraints) {
        const double t = std::ldexp(constraint.parameter, -scales_.parameter);
        constraintRows_.push_back(
            constraintRow(scaledBasis(), scales_.parameter, t, constraint.asked->derivative));
        constraintRows_.back().number = constraint.number;
    }
    chooseScales(constraints);
    triangles_ = state.scaledTo(scales_.coordinates);
    figureExponent_ = *std::max_element(scales_.coordinates.begin(), scales_.coordinates.end());
    for (const int exponent : scales_.coordinates)
        figureFactors_.push_back(std::ldexp(1.0, exponent - figureExponent_));
}

/// Each coordinate by the larger of its samples and what constraints ask of it.
void CurveProblem::chooseScales(const std::vector<PlacedConstraint>& constraints)
{
    for (int k = 0; k < state_.dimension(); ++k) {
        const auto at = static_cast<std::size_t>(k);
        double largest = state_.largest(k);
        for (std::size_t c = 0; c < constraints.size(); ++c)
            largest = std::max(largest, std::fabs(std::ldexp(constraints[c].asked->value[at],
                                                             constraintRows_[c].exponent)));
        scales_.coordinates[at] = std::isfinite(largest) ? exponentOf(largest) : 0;
        for (std::size_t c = 0; c < constraints.size(); ++c)
            constraintRhs_.high[constraintRhs_.at(static_cast<int>(c), k)] =
                std::isfinite(largest)
                    ? std::ldexp(constraints[c].asked->value[at],
                                 constraintRows_[c].exponent - scales_.coordinates[at])
                    : largest;
    }
}

std::vector<char> CurveProblem::spansWithData() const
{
    std::vector<char> holds;
    for (int span = 0; span < triangles_.spans(); ++span)
        holds.push_back(triangles_.empty(span) ? 0 : 1);
    return holds;
}

double CurveProblem::constraintWeight() const
{
    return std::ldexp(1.0, -2 * scales_.weightRoot);
}

bool CurveProblem::finite() const
{
    return std::all_of(constraintRhs_.high.begin(), constraintRhs_.high.end(),
                       [](double x) { return std::isfinite(x); });
}

std::vector<double> CurveProblem::controlPoints(const NumberBlock& x) const
{
    std::vector<double> points(x.high);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = std::ldexp(points[i], scales_.coordinates[i % scales_.coordinates.size()]);
    return points;
}

NumberBlock CurveProblem::scaled(const std::vector<double>& controlPoints) const
{
    NumberBlock x(basis().count(), state_.dimension(), false);
    for (std::size_t i = 0; i < controlPoints.size(); ++i)
        x.high[i] =
            std::ldexp(controlPoints[i], -scales_.coordinates[i % scales_.coordinates.size()]);
    return x;
}

CurveProblem::Deviation CurveProblem::constraintDeviation(const NumberBlock& x) const
{
    std::vector<double> sizes(scales_.coordinates.size(), 1.0);  // the right-hand sides'
    for (std::size_t i = 0; i < x.high.size(); ++i)
        sizes[i % sizes.size()] = std::max(sizes[i % sizes.size()], std::fabs(x.high[i]));
    Deviation worst;
    for (int c = 0; c < static_cast<int>(constraintRows_.size()); ++c)
        for (int k = 0; k < x.width; ++k) {
            const auto at = static_cast<std::size_t>(k);
            const double left = std::fabs(residualOf(constraintRows_[static_cast<std::size_t>(c)],
                                                     constraintRhs_.number(c, k), x, k)
                                              .high);
            worst.share = std::max(worst.share, left / sizes[at]);
            worst.inUnits = std::max(worst.inUnits, std::ldexp(left, scales_.coordinates[at]));
        }
    return worst;
}

double CurveProblem::largestTerm(const NumberBlock& x) const
{
    double largest = 0.0;
    for (std::size_t i = 0; i < x.high.size(); ++i)
        largest =
            std::max(largest, std::fabs(x.high[i]) * figureFactors_[i % figureFactors_.size()]);
    return largest;
}

double CurveProblem::rmsFromTriangles(const NumberBlock& x) const
{
    const ResidualSums sums = TriangleRows(triangles_, sampleCount()).exactResidualSums(x);
    double total = 0.0;
    for (std::size_t k = 0; k < sums.squares.size(); ++k)
        total += sums.squares[k] * figureFactors_[k] * figureFactors_[k];
    return std::ldexp(std::sqrt(total / state_.weights()), figureExponent_);
}

}  // namespace knotwork
