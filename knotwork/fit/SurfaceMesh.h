// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>

#include "knotwork/export.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork {

/// Writes the surface as triangles with a normal at each vertex, in the Wavefront OBJ format.
/// Shapes    stepsPerSpan (at least 1) steps in each non-empty span of both directions; vertices
///           line by line of constant v. One coordinate is a height over (u, v), two lie in the
///           plane, of more the first three are written.
/// Normals   unit, along Su x Sv, which is also the side that the triangles turn to. Where Su and
///           Sv do not span a plane, the nearest vertex with a normal lends its own; if there is
///           none anywhere, (0, 0, 1). Triangles with two equal corners are left out.
/// Nothing is written without a surface.
KNOTWORK_EXPORT void writeSurfaceObj(std::ostream& os, const FittedSurface& surface,
                                     int stepsPerSpan);

}  // namespace knotwork
