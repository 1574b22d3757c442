// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork_test {

/// A surface that no fit made: control points are what `place` says at their Greville parameters,
/// so that planes come out exactly.
template <class Place>
knotwork::FittedSurface handMade(const knotwork::BsplineBasis& u, const knotwork::BsplineBasis& v,
                                 Place place)
{
    knotwork::FittedSurface s;
    s.u = u;
    s.v = v;
    for (int j = 0; j < v.count(); ++j)
        for (int i = 0; i < u.count(); ++i) {
            const std::vector<double> point = place(u.greville(i), v.greville(j));
            s.dimension = static_cast<int>(point.size());
            s.controlPoints.insert(s.controlPoints.end(), point.begin(), point.end());
        }
    s.surface = knotwork::makeSurface(u, v, s.dimension, s.controlPoints);
    s.report.verdict = knotwork::FitVerdict::kMet;
    return s;
}

inline std::size_t count(const std::string& text, const std::string& what)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++found;
    return found;
}

}  // namespace knotwork_test
