// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/CurveFit.h"

namespace knotwork {

/// A constraint as it was asked for, and the parameter that the basis takes its own for.
struct PlacedConstraint {
    const CurveConstraint* asked;
    int number;  ///< as it was asked for, from 0
    double parameter;
};

/// In the order in which they were asked for. On a periodic basis one that repeats another some
/// periods away is left out, and parameters that are a number of periods apart but for rounding are
/// one; so is the seam one with what lies before it by no more than the knots' own rounding.
std::vector<PlacedConstraint> placedConstraints(const BsplineBasis& basis,
                                                const std::vector<CurveConstraint>& constraints);

}  // namespace knotwork
