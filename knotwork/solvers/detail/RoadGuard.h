// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

namespace knotwork {

/// What a short road found out about a system: estimates of norms of inverses, the larger one of
/// the 1-norm and the 2-norm (InverseNorm.h), bounds of other norms, and how many updates of one
/// row the literal road may skip.
struct RoadMeasures {
    // Of the least-squares rows, and of what they have of the unknowns that constraints fix.
    double norm = 0.0;
    double fixedNorm = 0.0;
    // Of their triangle S in the free unknowns; in the 2-norm alone, or more: no pivot is below its
    // reciprocal.
    double inverseNorm = 0.0;
    double pivotInverse = 0.0;
    // Of the constraints: the length of a row, then their triangle T, last with rows of length 1.
    double longestConstraint = 0.0;
    double constraintInverseNorm = 0.0;
    double constraintPivotInverse = 0.0;
    double constraintCondition = 0.0;
    // Entries in a row of S, reflections of constraints that a sample goes through, and entries in
    // a row of T beside the diagonal.
    double freeSkips = 0.0;
    double sampleSkips = 0.0;
    double constraintSkips = 0.0;
};

/// RoadMeasures::sampleSkips, as root mean squares over all that is known of an unknown.
inline double sampleSkips(int samples, int cols, int constraints)
{
    return std::sqrt(static_cast<double>(samples) * constraints / cols);
}

/// Whether the short road leads where the literal one does. Every diagonal entry that pivoting on
/// the literal road can meet is at least as large as the smallest singular value of its triangle,
/// whatever the order of pivots: that is what the inverse norms bound. With the bound well above
/// what the rank test and the skip rule look at, both roads find the system solvable, and what the
/// skip rule may leave out, and what rounding may change, stays below 1e-9 of the solution.
bool sameVerdict(const RoadMeasures& measures, double negligible);

/// A solution whose largest number is below this may differ by more than 1e-9 of it for inner
/// products with the right-hand side that the literal road skips.
double leastAnswer(const RoadMeasures& measures, double negligible);

}  // namespace knotwork
