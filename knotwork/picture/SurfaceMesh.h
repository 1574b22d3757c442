// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork {

/// A mesh is held as a whole before it is written; this many vertices take about 150 MB.
constexpr std::uint64_t kMostMeshVertices = 2000000;

/// How many vertices a mesh of these steps would have.
KNOTWORK_EXPORT std::uint64_t meshVertices(const BsplineBasis& u, const BsplineBasis& v,
                                           int stepsPerSpan);

/// Writes the surface as triangles with a normal at each vertex, in the Wavefront OBJ format.
/// Shapes    stepsPerSpan (at least 1) steps in each non-empty span of both directions; vertices
///           line by line of constant v. One coordinate is a height over (u, v), two lie in the
///           plane, of more the first three are written.
/// Normals   unit, along Su x Sv, which is also the side that the triangles turn to. Where Su and
///           Sv do not span a plane, the nearest vertex with a normal lends its own; if there is
///           none anywhere, (0, 0, 1). Triangles with two equal corners are left out.
/// Nothing is written without a surface, or beyond kMostMeshVertices.
KNOTWORK_EXPORT void writeSurfaceObj(std::ostream& os, const FittedSurface& surface,
                                     int stepsPerSpan);

}  // namespace knotwork
