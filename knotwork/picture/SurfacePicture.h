// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>
#include <string>

#include "knotwork/export.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork {

/// Writes a picture of a fit as SVG: the shaded surface in a fixed oblique view with the iso-curves
/// of its knots, beside it a map of the residuals over the parameters with a scale in numbers, and
/// the figures of the report below the title.
/// Space      one coordinate is a height over (u, v), drawn in a fixed proportion to them; two lie
///            in the plane; of more the first three are drawn, all in equal units.
/// Residuals  data - surface for heights, distances otherwise; a cell a sample. Of very many
///            samples a cell shows the worst of several, and of very many knots some are drawn.
/// points     rows in u, columns in v, as for the fit. Nothing is written without a surface.
KNOTWORK_EXPORT void writeSurfaceSvg(std::ostream& os, const FittedSurface& surface,
                                     const TtupleMatrix& points, const DoubleVec& uParameters,
                                     const DoubleVec& vParameters, const std::string& title);

}  // namespace knotwork
