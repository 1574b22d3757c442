// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/SurfaceFit.h"
#include "knotwork/picture/SvgPlot.h"

namespace knotwork {

/// Width to height of the rectangle that stands for the parameters: their own, unless that would
/// leave one side too thin to see anything.
double parameterAspect(const FittedSurface& surface);

/// Draws the surface, seen from above and aside, as shaded quadrangles from back to front with its
/// knot lines on them. Both sides are visible, in two colours.
void drawSurface(SvgCanvas& canvas, const PlotFrame& frame, const FittedSurface& surface);

}  // namespace knotwork
