// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"

namespace knotwork {

/// What is wrong with a request, as a sentence's end; empty when nothing is. Parameters and
/// constraints are counted from 0.

/// The shapes of points, parameters and weights; what they hold is looked at when they are read.
std::string arrayFault(const TtupleVector& points, const DoubleVec& parameters,
                       const DoubleVec& weights);
/// Everything but the samples.
std::string requestFault(int dimension, const BsplineBasis& basis,
                         const std::vector<CurveConstraint>& constraints,
                         const CurveFitOptions& options);

/// The first parameter that is no finite number or lies outside the knots.
std::string parameterFault(const DoubleVec& parameters, const BsplineBasis& basis);

/// What counts as zero, as asked for.
std::string zeroFault(double zero);

/// The place and the order of constraint c.
std::string constraintFault(int c, double parameter, int derivative, const BsplineBasis& basis);

}  // namespace knotwork
