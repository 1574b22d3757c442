// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/CurveFit.h"

namespace knotwork {

/// One thing that a curve is asked for, whatever its kind, its parameters where the basis takes
/// them.
struct CurveCondition {
    const char* noun;  ///< its kind, and its number there as it was asked for, from 0
    int number;
    std::vector<LinearConstraint::Term> terms;  ///< none: a control point is held
    int function;                               ///< that one
    std::vector<double> value;                  ///< or the direction
    std::vector<char> mask;                     ///< one flag a coordinate
    bool isDirection;
    double askedAt;  ///< of a single term: its parameter as it was asked for
};

/// In the order in which they were asked for, kind after kind. On a periodic basis values,
/// derivatives and directions that repeat others some periods away are left out, and parameters
/// that are a number of periods apart but for rounding are one.
std::vector<CurveCondition> conditionsOf(const BsplineBasis& basis, int dimension,
                                         const std::vector<CurveConstraint>& constraints,
                                         const CurveFitOptions& options);

}  // namespace knotwork
