// SPDX-License-Identifier: MIT
#include "knotwork/fit/ConstraintRow.h"

#include <cmath>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

ConstraintRow constraintRow(const BsplineBasis& scaledBasis, int parameterExponent, double t,
                            int derivative)
{
    const int p = scaledBasis.degree();
    const int s = scaledBasis.span(t);
    ConstraintRow row;
    row.first = s - p;
    row.entries.resize(static_cast<std::size_t>(p) + 1);
    basisRow(scaledBasis.knots().data(), p, s, t, derivative, row.entries.data());
    if (derivative == 0) return row;
    double squares = 0.0;
    for (const DoubleDouble& x : row.entries) squares += x.high * x.high;
    const int shrink = squares > 0.0 ? std::ilogb(std::sqrt(squares)) : 0;
    for (DoubleDouble& x : row.entries)
        x = {std::ldexp(x.high, -shrink), std::ldexp(x.low, -shrink)};
    row.exponent = parameterExponent * derivative - shrink;
    return row;
}

}  // namespace knotwork
