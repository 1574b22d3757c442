// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/SurfaceFit.h"
#include "knotwork/picture/SvgPlot.h"

namespace knotwork {

/// Draws the residuals of a surface fit over the rectangle of its parameters: a coloured cell a
/// sample, from half-way to one neighbour to half-way to the other, and a scale at the right.
void drawResiduals(SvgCanvas& canvas, const PlotFrame& room, const FittedSurface& surface,
                   const TtupleMatrix& points, const DoubleVec& uParameters,
                   const DoubleVec& vParameters);

}  // namespace knotwork
