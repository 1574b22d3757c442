// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// One equation that is to hold, without its zeros, in doubled precision.
struct ConstraintRow {
    int first = 0;  ///< column of the first entry
    std::vector<DoubleDouble> entries;
    /// What it asks for has to be multiplied by 2^exponent.
    int exponent = 0;
    int number = 0;  ///< of the constraint, as they were asked for
};

/// The value of a curve at t, or a derivative. By the chain rule a derivative grows with the
/// parameter's scale, and its row is brought to about unit length; a value's row is like a data
/// row. scaledBasis: over parameters divided by 2^parameterExponent, t too.
ConstraintRow constraintRow(const BsplineBasis& scaledBasis, int parameterExponent, double t,
                            int derivative);

/// What column `column` of unknowns, of `width` numbers a row, leaves of a right-hand side.
template <class Unknowns>
DoubleDouble residualOf(const ConstraintRow& row, DoubleDouble right, const Unknowns& x, int column)
{
    int at = row.first;
    for (const DoubleDouble& entry : row.entries) right += -(entry * x.number(at++, column));
    return right;
}

}  // namespace knotwork
