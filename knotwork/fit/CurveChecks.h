// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"

namespace knotwork {

/// What is wrong with a request, as a sentence's end; empty when nothing is. Points, parameters,
/// weights and constraints are counted from 0.
std::string curveInputFault(const TtupleVector& points, const DoubleVec& parameters,
                            const BsplineBasis& basis,
                            const std::vector<CurveConstraint>& constraints,
                            const CurveFitOptions& options);

/// The first parameter that is no finite number or lies outside the knots, as a sentence's end.
std::string parameterFault(const DoubleVec& parameters, const BsplineBasis& basis);

/// What is wrong with the place and the order of constraint c, in general words or empty.
std::string constraintFault(int c, double parameter, int derivative, const BsplineBasis& basis);

}  // namespace knotwork
