// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/ShortRoad.h"

#include <cmath>

namespace knotwork {

namespace {

// Entries in this range, and their squares, need no scaling.
constexpr double kLeastEntry = 1e-100;
constexpr double kMostEntry = 1e100;

// Against a lower bound of every diagonal entry that the literal road can meet:
constexpr double kRankMargin = 1e-10;   // times the largest squared norm; its rank test has 1e-13
constexpr double kSkipLimit = 1e-8;     // what is negligible stays below this part of the bound
constexpr double kSkipEffect = 1e-9;    // and below this part of its square
constexpr double kMostCondition = 1e3;  // eps times its square is what rounding may change
constexpr double kRhsMargin = 1e7;      // of right-hand sides, times what is negligible

bool inRange(const SpanRows& rows)
{
    double least = 1.0;
    double most = 1.0;
    for (const double v : rows.numbers()) {
        const double magnitude = std::fabs(v);
        most = std::max(most, magnitude);
        if (magnitude != 0.0) least = std::min(least, magnitude);
    }
    return least >= kLeastEntry && most <= kMostEntry;
}

}  // namespace

ShortRoad::ShortRoad(const SpanRows& rows, int constraints)
    : rows_(rows.rows()),
      first_(rows, rows.rows() - constraints),
      basis_(rows, rows.rows() - constraints)
{
    if (constraints > 0 && basis_.sound())
        second_ = RowCompression(basis_.freePart(first_.triangle()));
}

/// Every diagonal entry that pivoting on the literal road can meet is at least as large as the
/// smallest singular value of T or F, whatever its order: that is what the estimates bound. With
/// the bound well above what the rank test and the skip rule look at, both roads find the system
/// solvable, and what the skip rule may leave out is below what is promised.
bool ShortRoad::sameVerdict(double negligible)
{
    if (!basis_.sound()) return false;
    const BandTriangle& free = constraints() > 0 ? second_.triangle() : first_.triangle();
    const double norm = first_.triangle().normBound();
    const double big = std::max(norm, basis_.largestLength());
    const double inverseNorm = free.inverseNorm();
    const double smallest = 1.0 / std::max(basis_.inverseNorm(), inverseNorm);
    leastRhs_ = kRhsMargin * negligible / std::min(smallest, 1.0);
    return smallest >= kRankMargin * big * big && negligible <= kSkipLimit * smallest &&
           negligible <= kSkipEffect * smallest * smallest &&
           norm * inverseNorm <= kMostCondition && basis_.condition() <= kMostCondition;
}

std::unique_ptr<ShortRoad> ShortRoad::find(const SpanRows& rows, int constraints, double negligible)
{
    if (rows.rows() < rows.cols() || !inRange(rows)) return nullptr;
    std::unique_ptr<ShortRoad> road(new ShortRoad(rows, constraints));
    if (!road->sameVerdict(negligible)) return nullptr;
    return road;
}

}  // namespace knotwork
