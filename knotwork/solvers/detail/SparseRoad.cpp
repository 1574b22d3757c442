// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/SparseRoad.h"

#include <cmath>
#include <limits>

namespace knotwork {

namespace {

// The squares of smaller entries may vanish. Large ones stop at the guard's rank margin.
constexpr double kLeastEntry = 1e-100;

bool inRange(const SpanRows& rows)
{
    double least = kLeastEntry;
    for (const double v : rows.numbers())
        if (v != 0.0) least = std::min(least, std::fabs(v));
    return least == kLeastEntry;
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
    return {first_.triangle().normBound(),
            basis_.sound() ? free.inverseNorm() : infinity,
            basis_.largestLength(),
            basis_.inverseNorm(),
            basis_.condition(),
            free.mostEntries(),
            sampleSkips(rows() - constraints(), cols(), constraints()),
            basis_.mostCoupled()};
}

std::unique_ptr<SparseRoad> SparseRoad::find(const SpanRows& rows, int constraints,
                                             double negligible)
{
    if (rows.rows() < rows.cols() || !inRange(rows)) return nullptr;
    std::unique_ptr<SparseRoad> road(new SparseRoad(rows, constraints));
    const RoadMeasures found = road->measures();
    if (!sameVerdict(found, negligible)) return nullptr;
    road->leastAnswer_ = knotwork::leastAnswer(found, negligible);
    return road;
}

}  // namespace knotwork
