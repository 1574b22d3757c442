// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveConstraints.h"
#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// One equation that is to hold, from its first entry that is not 0 to its last, in doubled
/// precision.
struct ConstraintRow {
    int first = 0;  ///< column of the first entry
    std::vector<DoubleDouble> entries;
    /// What it asks for has to be multiplied by 2^exponent.
    int exponent = 0;
    const char* noun = "constraint";  ///< what asked for it, and which of its kind
    int number = 0;
};

/// The value of a curve at t, or a derivative. By the chain rule a derivative grows with the
/// parameter's scale, and its row is brought to about unit length; a value's row is like a data
/// row. scaledBasis: over parameters divided by 2^parameterExponent, t too.
ConstraintRow constraintRow(const BsplineBasis& scaledBasis, int parameterExponent, double t,
                            int derivative);

/// The sum of several, each times its factor, brought to about unit length; parameters in the
/// basis's units.
ConstraintRow sumOfTerms(const BsplineBasis& scaledBasis, int parameterExponent,
                         const std::vector<LinearConstraint::Term>& terms);

/// What column `column` of unknowns, of `width` numbers a row, leaves of a right-hand side.
template <class Unknowns>
DoubleDouble residualOf(const ConstraintRow& row, DoubleDouble right, const Unknowns& x, int column)
{
    int at = row.first;
    for (const DoubleDouble& entry : row.entries) right += -(entry * x.number(at++, column));
    return right;
}

}  // namespace knotwork
