// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledRows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

namespace {

BsplineBasis scaledBasis(const BsplineBasis& basis, int exponent)
{
    std::vector<double> knots = basis.knots();
    for (double& knot : knots) knot = std::ldexp(knot, -exponent);
    return BsplineBasis(basis.degree(), std::move(knots));
}

double lengthOf(const double* entries, int count)
{
    double squares = 0.0;
    for (int k = 0; k < count; ++k) squares += entries[k] * entries[k];
    return std::sqrt(squares);
}

}  // namespace

int exponentOf(double magnitude)
{
    return magnitude > 0.0 ? std::ilogb(magnitude) : 0;
}

ScaledRows::ScaledRows(const BsplineBasis& basis)
    : basis_(scaledBasis(basis, exponentOf(basis.last() - basis.first()))),
      parameterExponent_(exponentOf(basis.last() - basis.first()))
{
}

void ScaledRows::reserve(std::size_t rows)
{
    parameters_.reserve(rows);
    firstColumn_.reserve(rows);
    entries_.reserve(rows * static_cast<std::size_t>(width()));
}

void ScaledRows::append(double t, int derivative, double weight)
{
    if (weight != 1.0 && weights_.empty()) {
        weights_.reserve(parameters_.capacity());
        weights_.assign(parameters_.size(), 1.0);
    }
    if (weight != 1.0 || !weights_.empty()) weights_.push_back(weight);
    parameters_.push_back(std::ldexp(t, -parameterExponent_));
    entries_.resize(entries_.size() + static_cast<std::size_t>(width()));
    double* row = entries_.data() + entries_.size() - width();
    firstColumn_.push_back(basis_.row(parameters_.back(), derivative, row));
}

void ScaledRows::addData(double t, double weight)
{
    append(t, 0, weight);
}

int ScaledRows::addConstraint(double t, int derivative, double weight)
{
    append(t, derivative, weight);
    double* row = entries_.data() + entries_.size() - width();
    // A value weighs what a data point weighs.
    const int shrink = derivative == 0 ? 0 : exponentOf(lengthOf(row, width()));
    std::for_each(row, row + width(), [shrink](double& x) { x = std::ldexp(x, -shrink); });
    constraints_.push_back({derivative, shrink});
    return parameterExponent_ * derivative - shrink;
}

void ScaledRows::exactEntries(int row, DoubleDouble* entries) const
{
    const int p = basis_.degree();
    const Constraint asked = row < dataRows()
                                 ? Constraint{0, 0}
                                 : constraints_[static_cast<std::size_t>(row - dataRows())];
    basisRow(basis_.knots().data(), p, firstColumn(row) + p,
             parameters_[static_cast<std::size_t>(row)], asked.derivative, entries);
    for (int k = 0; asked.shrink != 0 && k <= p; ++k)
        entries[k] = {std::ldexp(entries[k].high, -asked.shrink),
                      std::ldexp(entries[k].low, -asked.shrink)};
}

}  // namespace knotwork
