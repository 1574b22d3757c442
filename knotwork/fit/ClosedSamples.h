// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/fit/Parameters.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork {

/// The points of a closed curve with their parameters, each of them once. Copies share the numbers;
/// vectors being what they are, there is no assignment.
struct ClosedSamples {
    ClosedSamples() = default;
    ClosedSamples(const ClosedSamples&) = default;
    ClosedSamples& operator=(const ClosedSamples&) = delete;

    TtupleVector points;
    DoubleVec parameters;  ///< one a point; empty where points and period make no closed curve
    DoubleVec weights;     ///< one a point, or empty
    double period = 0.0;
    /// The first point came again at the end, but for rounding, and counts once, as the mean.
    bool repeated = false;
    /// The last point is another one, but nearer to the first than half the median step.
    bool almostRepeated = false;
};

/// Spreads parameters over a period of 1 from the first point on, the way back from the last point
/// to the first included. Parameters are empty for fewer than two points, for points that all
/// coincide (unless uniform) and for numbers that are not finite. weights: one a point, or empty;
/// parameters are empty for any other number of them.
KNOTWORK_EXPORT ClosedSamples closedSamples(const TtupleVector& points, Parameterisation mode,
                                            const DoubleVec& weights = {});

/// Points with parameters of their own. period: 0 where the last point repeats the first, a period
/// later. Parameters are empty where it does not, and for a period that is negative, not finite or
/// shorter than the range of the parameters, and for parameters that are not finite.
KNOTWORK_EXPORT ClosedSamples closedSamples(const TtupleVector& points, const DoubleVec& parameters,
                                            double period, const DoubleVec& weights = {});

}  // namespace knotwork
