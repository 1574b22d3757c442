// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/RoadGuard.h"

#include <algorithm>

namespace knotwork {

namespace {

constexpr double kRankMargin = 1e-10;   // times the largest squared norm; the rank test has 1e-13
constexpr double kSkipLimit = 1e-8;     // what is negligible stays below this part of the smallest
constexpr double kSkipEffect = 1e-9;    // diagonal entry, and below this part of its square: an
                                        // update that is skipped moves the solution by about that
constexpr double kMostCondition = 1e3;  // eps times its square is what rounding may change
constexpr double kRhsMargin = 1e7;      // of right-hand sides, times what is negligible

double smallestDiagonal(const RoadMeasures& m)
{
    return 1.0 / std::max(m.inverseNorm, m.constraintInverseNorm);
}

}  // namespace

bool sameVerdict(const RoadMeasures& m, double negligible)
{
    const double smallest = smallestDiagonal(m);
    const double big = std::max(m.norm, m.longestConstraint);
    return smallest >= kRankMargin * big * big && negligible <= kSkipLimit * smallest &&
           negligible <= kSkipEffect * smallest * smallest &&
           m.norm * m.inverseNorm <= kMostCondition && m.constraintCondition <= kMostCondition;
}

double leastRhs(const RoadMeasures& m, double negligible)
{
    return kRhsMargin * negligible / std::min(smallestDiagonal(m), 1.0);
}

}  // namespace knotwork
