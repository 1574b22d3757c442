// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveProblem.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

namespace {

ConstraintRow rowOf(const CurveCondition& condition, const BsplineBasis& basis, int exponent)
{
    ConstraintRow row;
    if (condition.terms.empty()) {
        row.first = condition.function;
        row.entries = {DoubleDouble(1.0)};
    } else if (condition.terms.size() == 1 && condition.terms.front().factor == 1.0) {
        const LinearConstraint::Term& term = condition.terms.front();
        row =
            constraintRow(basis, exponent, std::ldexp(term.parameter, -exponent), term.derivative);
    } else {
        row = sumOfTerms(basis, exponent, condition.terms);
    }
    row.noun = condition.noun;
    row.number = condition.number;
    return row;
}

/// A row over control points as one over their numbers, for coordinate k of d.
ConstraintRow spread(const ConstraintRow& row, int d, int k)
{
    ConstraintRow wide = row;
    wide.first = row.first * d;
    wide.entries.assign(row.entries.size() * static_cast<std::size_t>(d), DoubleDouble());
    for (std::size_t i = 0; i < row.entries.size(); ++i)
        wide.entries[i * static_cast<std::size_t>(d) + static_cast<std::size_t>(k)] =
            row.entries[i];
    return wide;
}

}  // namespace

CurveProblem::CurveProblem(const CurveState& state, const std::vector<CurveCondition>& conditions)
    : state_(state), order_(state.basis()), scales_(state.scales()), triangles_(state.triangles())
{
    std::vector<Equation> equations;
    bool coupled = false;
    for (const CurveCondition& condition : conditions) {
        equations.push_back({&condition, rowOf(condition, scaledBasis(), scales_.parameter), {}});
        coupled = coupled || condition.isDirection;
    }
    chooseScales(equations, coupled);
    triangles_ = state.scaledTo(scales_.coordinates);
    figureExponent_ = *std::max_element(scales_.coordinates.begin(), scales_.coordinates.end());
    for (const int exponent : scales_.coordinates)
        figureFactors_.push_back(std::ldexp(1.0, exponent - figureExponent_));
    if (coupled)
        couple(equations);
    else
        separate(equations);
}

/// Each coordinate by the larger of its samples and what constraints ask of it; all by the largest
/// where they are one system, whose residuals add up.
void CurveProblem::chooseScales(std::vector<Equation>& equations, bool coupled)
{
    const auto asks = [](const Equation& e, std::size_t k) {
        return !e.condition->isDirection && e.condition->mask[k] != 0;
    };
    bool finite = true;
    for (std::size_t k = 0; k < scales_.coordinates.size(); ++k) {
        double largest = state_.largest(static_cast<int>(k));
        for (const Equation& e : equations)
            if (asks(e, k))
                largest =
                    std::max(largest, std::fabs(std::ldexp(e.condition->value[k], e.row.exponent)));
        finite = finite && std::isfinite(largest);
        scales_.coordinates[k] = std::isfinite(largest) ? exponentOf(largest) : 0;
    }
    if (coupled)
        std::fill(scales_.coordinates.begin(), scales_.coordinates.end(),
                  *std::max_element(scales_.coordinates.begin(), scales_.coordinates.end()));
    for (Equation& e : equations)
        for (std::size_t k = 0; k < scales_.coordinates.size(); ++k)
            e.right.push_back(!finite      ? std::numeric_limits<double>::infinity()
                              : asks(e, k) ? std::ldexp(e.condition->value[k],
                                                        e.row.exponent - scales_.coordinates[k])
                                           : 0.0);
}

/// A system for each set of coordinates that share their constraints.
void CurveProblem::separate(const std::vector<Equation>& equations)
{
    const int d = state_.dimension();
    std::map<std::vector<char>, std::vector<int>> groups;
    for (int k = 0; k < d; ++k) {
        std::vector<char> holds;
        for (const Equation& e : equations)
            holds.push_back(e.condition->mask[static_cast<std::size_t>(k)] != 0 ? 1 : 0);
        groups[holds].push_back(k);
    }
    for (const auto& [holds, coordinates] : groups) {
        CurveSystem system{d, coordinates};
        std::vector<double> right;
        for (std::size_t i = 0; i < equations.size(); ++i) {
            if (holds[i] == 0) continue;
            system.rows.push_back(equations[i].row);
            for (const int k : coordinates)
                right.push_back(equations[i].right[static_cast<std::size_t>(k)]);
        }
        system.rhs = NumberBlock(system.equations(), static_cast<int>(coordinates.size()), false);
        system.rhs.high = std::move(right);
        systems_.push_back(std::move(system));
    }
}

/// One system of all coordinates, whose rows have an entry for each of a control point's numbers.
void CurveProblem::couple(const std::vector<Equation>& equations)
{
    const int d = state_.dimension();
    CurveSystem system{d, {}};
    system.coupled = true;
    for (int k = 0; k < d; ++k) system.coordinates.push_back(k);
    system.rhs = NumberBlock(0, 1, false);
    for (const Equation& e : equations) {
        if (e.condition->isDirection) {
            addDirection(e, system);
            continue;
        }
        for (int k = 0; k < d; ++k) {
            if (e.condition->mask[static_cast<std::size_t>(k)] == 0) continue;
            system.rows.push_back(spread(e.row, d, k));
            system.rowCoordinates.push_back(k);
            system.rhs.high.push_back(e.right[static_cast<std::size_t>(k)]);
        }
    }
    systems_.push_back(std::move(system));
}

/// Every coordinate of the tangent but the one where the direction is largest is that one's times a
/// ratio of at most 1; coordinates have one scale here.
void CurveProblem::addDirection(const Equation& equation, CurveSystem& system)
{
    const std::vector<double>& direction = equation.condition->value;
    const int main = static_cast<int>(
        std::max_element(direction.begin(), direction.end(),
                         [](double a, double b) { return std::fabs(a) < std::fabs(b); }) -
        direction.begin());
    const int size = std::ilogb(direction[static_cast<std::size_t>(main)]);
    const auto scaled = [&](int k) {
        return DoubleDouble(std::scalbn(direction[static_cast<std::size_t>(k)], -size));
    };
    const ConstraintRow other = spread(equation.row, system.dimension, main);
    for (int k = 0; k < system.dimension; ++k) {
        if (k == main) continue;
        const DoubleDouble ratio = scaled(k) / scaled(main);
        system.rows.push_back(spread(equation.row, system.dimension, k));
        for (std::size_t i = 0; i < other.entries.size(); ++i)
            system.rows.back().entries[i] += -(other.entries[i] * ratio);
        system.rowCoordinates.push_back(k);
        system.rhs.high.push_back(0.0);
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
    for (const CurveSystem& system : systems_)
        if (!std::all_of(system.rhs.high.begin(), system.rhs.high.end(),
                         [](double x) { return std::isfinite(x); }))
            return false;
    return true;
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
    for (const CurveSystem& system : systems_)
        for (int row = 0; row < system.equations(); ++row)
            for (int c = 0; c < system.rhs.width; ++c) {
                const auto at = static_cast<std::size_t>(system.coordinateOf(row, c));
                const double left = std::fabs(system.residual(row, c, x).high);
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
