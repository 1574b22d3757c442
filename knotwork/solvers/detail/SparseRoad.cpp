// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/SparseRoad.h"

#include <cmath>
#include <limits>

namespace knotwork {

namespace {

// Entries in this range, and their squares, need no scaling.
constexpr double kLeastEntry = 1e-100;
constexpr double kMostEntry = 1e100;

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

SparseRoad::SparseRoad(const SpanRows& rows, int constraints)
    : rows_(rows.rows()),
      first_(rows, rows.rows() - constraints),
      basis_(rows, rows.rows() - constraints)
{
    if (constraints > 0 && basis_.sound())
        second_ = RowCompression(basis_.freePart(first_.triangle()));
}

RoadMeasures SparseRoad::measures() const
{
    const double infinity = std::numeric_limits<double>::infinity();
    const BandTriangle& free = constraints() > 0 ? second_.triangle() : first_.triangle();
    return {first_.triangle().normBound(), basis_.sound() ? free.inverseNorm() : infinity,
            basis_.largestLength(), basis_.inverseNorm(), basis_.condition()};
}

std::unique_ptr<SparseRoad> SparseRoad::find(const SpanRows& rows, int constraints,
                                             double negligible)
{
    if (rows.rows() < rows.cols() || !inRange(rows)) return nullptr;
    std::unique_ptr<SparseRoad> road(new SparseRoad(rows, constraints));
    const RoadMeasures found = road->measures();
    if (!sameVerdict(found, negligible)) return nullptr;
    road->leastRhs_ = knotwork::leastRhs(found, negligible);
    return road;
}

}  // namespace knotwork
