// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// What a short road found out about a system: estimates of 1-norms, bounds of 2-norms.
struct RoadMeasures {
    double norm;                   // of the least-squares rows in the free unknowns, or more
    double inverseNorm;            // of their triangle
    double longestConstraint;      // length of a row
    double constraintInverseNorm;  // of the triangle of the constraints
    double constraintCondition;    // the same with their rows scaled to length 1
};

/// Whether the short road leads where the literal one does. Every diagonal entry that pivoting on
/// the literal road can meet is at least as large as the smallest singular value of its triangle,
/// whatever the order of pivots: that is what the inverse norms bound. With the bound well above
/// what the rank test and the skip rule look at, both roads find the system solvable, and what the
/// skip rule may leave out, and what rounding may change, stays below 1e-9 of the solution.
bool sameVerdict(const RoadMeasures& measures, double negligible);

/// A right-hand side whose largest number is below this has inner products that the literal road
/// may skip.
double leastRhs(const RoadMeasures& measures, double negligible);

}  // namespace knotwork
