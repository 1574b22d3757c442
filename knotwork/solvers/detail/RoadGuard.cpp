// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/RoadGuard.h"

#include <algorithm>

namespace knotwork {

namespace {

constexpr double kRankMargin = 1e-10;   // times the largest squared norm; the rank test has 1e-13
constexpr double kSkipLimit = 1e-8;     // what is negligible stays below this part of the smallest
                                        // diagonal entry
constexpr double kSkipEffect = 1e-9;    // part of the solution that skipped updates may change
constexpr double kMostCondition = 1e3;  // eps times its square is what rounding may change

/// How far the solution may move, in parts of its own size, for each unit of what is negligible.
/// A skipped update of a row moves it by as much over the diagonal entry of its reflection; the
/// triangle's inverse says what that does to the unknowns, and those which the constraints fix
/// take the free ones along.
double skipEffect(const RoadMeasures& m)
{
    const double drag = 1.0 + m.fixedNorm * m.inverseNorm;
    return m.freeSkips * m.pivotInverse * m.inverseNorm +
           m.sampleSkips * m.inverseNorm * m.constraintPivotInverse +
           m.constraintSkips * drag * m.constraintPivotInverse * m.constraintInverseNorm;
}

}  // namespace

bool sameVerdict(const RoadMeasures& m, double negligible)
{
    const double smallest = 1.0 / std::max(m.inverseNorm, m.constraintInverseNorm);
    const double big = std::max(m.norm, m.longestConstraint);
    return smallest >= kRankMargin * big * big && negligible <= kSkipLimit * smallest &&
           negligible * skipEffect(m) <= kSkipEffect && m.norm * m.inverseNorm <= kMostCondition &&
           m.constraintCondition <= kMostCondition;
}

/// Reflections of the right-hand side, then those that restore the unknowns.
double leastAnswer(const RoadMeasures& m, double negligible)
{
    return negligible / kSkipEffect *
           std::max(m.inverseNorm * std::max(1.0, m.inverseNorm), m.constraintInverseNorm);
}

}  // namespace knotwork
