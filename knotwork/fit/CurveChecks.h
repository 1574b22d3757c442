// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/ScaledCurve.h"

namespace knotwork {

/// What is wrong with a request, as a sentence's end; empty when nothing is.
std::string curveInputFault(const TtupleVector& points, const DoubleVec& parameters,
                            const BsplineBasis& basis,
                            const std::vector<CurveConstraint>& constraints,
                            const CurveFitOptions& options);

/// What the residuals still pull at the unknowns where the constraints let them give way, as a
/// share of what residuals of their size could pull. A solver that skips small updates does not
/// see this in its own second pass. residuals: what x leaves of the problem.
double pullLeft(const ScaledCurve& problem, const TtupleVector& x, TtupleVector residuals,
                FitMethod method);

}  // namespace knotwork
