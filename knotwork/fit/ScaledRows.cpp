// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledRows.h"

#include <cmath>
#include <utility>

namespace knotwork {

namespace {

BsplineBasis scaledBasis(const BsplineBasis& basis, int exponent)
{
    std::vector<double> knots = basis.knots();
    for (double& knot : knots) knot = std::ldexp(knot, -exponent);
    return BsplineBasis(basis.degree(), std::move(knots));
}

}  // namespace

int exponentOf(double magnitude)
{
    return magnitude > 0.0 ? std::ilogb(magnitude) : 0;
}

ScaledRows::ScaledRows(const BsplineBasis& basis)
    : basis_(scaledBasis(basis, exponentOf(basis.last() - basis.first()))),
      parameterExponent_(exponentOf(basis.last() - basis.first())),
      rows_(basis_)
{
}

void ScaledRows::addData(double t, double factor)
{
    rows_.append(std::ldexp(t, -parameterExponent_), 0);
    if (factor != 1.0) rows_.scaleLast(factor);
    ++dataRows_;
}

int ScaledRows::addConstraint(double t, int derivative)
{
    rows_.append(std::ldexp(t, -parameterExponent_), derivative);
    if (derivative == 0) return 0;  // a value weighs what a data point weighs
    const int shrink = exponentOf(rows_.lastLength());
    rows_.scaleLast(std::ldexp(1.0, -shrink));
    return parameterExponent_ * derivative - shrink;
}

}  // namespace knotwork
