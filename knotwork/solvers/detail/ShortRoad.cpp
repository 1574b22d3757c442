// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/ShortRoad.h"

namespace knotwork {

std::unique_ptr<const Road> findShortRoad(const WorkingMatrix& system, int constraints,
                                          double negligible)
{
    if (system.rows() < system.cols()) return nullptr;
    auto road = system.spans() != nullptr ? spanRoad(*system.spans(), constraints)
                                          : blockRoad(system.dense(), constraints);
    if (!road) return nullptr;
    const RoadMeasures measures = road->measures();
    if (!sameVerdict(measures, negligible)) return nullptr;
    road->setLeastAnswer(leastAnswer(measures, negligible));
    return road;
}

}  // namespace knotwork
