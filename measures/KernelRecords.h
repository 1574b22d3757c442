// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <memory>

#include "knotwork/platform/kernel.h"

/// Records of the kernel that own themselves.
namespace knotwork_measures {

template <class Record, void (*kFree)(Record*)>
struct Freer {
    void operator()(Record* record) const { kFree(record); }
};
using SplineRecord = std::unique_ptr<nk_spline, Freer<nk_spline, nk_free_bs>>;
using SurfaceRecord = std::unique_ptr<nk_surface, Freer<nk_surface, nk_free_srf>>;

/// Puts the values of both knot vectors into a record's own cells, and points of so many numbers in
/// rows of constant v.
inline void fillRecord(nk_surface* record, const double* uKnots, const double* vKnots,
                       const double* points, int coords)
{
    for (nk_srf_node* row = NKI_getFirstSurfaceNode(record); row != nullptr;
         row = row->nextV, ++vKnots) {
        const double* uKnot = uKnots;
        for (nk_srf_node* node = row; node != nullptr; node = node->nextU) {
            *node->uKnot = *uKnot++;
            *node->vKnot = *vKnots;
            if (node->point == nullptr) continue;
            std::copy_n(points, coords, node->point);
            points += coords;
        }
    }
}

}  // namespace knotwork_measures
