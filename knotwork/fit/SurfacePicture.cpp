// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfacePicture.h"

#include <cstdio>

#include "knotwork/fit/ResidualMap.h"
#include "knotwork/fit/SurfaceView.h"

namespace knotwork {

namespace {

constexpr double kWidth = 1200.0;
constexpr double kHeight = 640.0;
constexpr double kLeft = 40.0;
constexpr PlotFrame kViewFrame{kLeft, 70.0, 680.0, 590.0};
constexpr PlotFrame kMapRoom{780.0, 90.0, kWidth - 20.0, 550.0};

std::string figures(const FittedSurface& surface)
{
    const SurfaceFitReport& r = surface.report;
    char text[300];
    std::snprintf(text, sizeof text,
                  "%d points, %d x %d control points, %d %s equations: RMS %.3g, "
                  "largest residual %.3g at (%.5g, %.5g), constraint residual %.2g",
                  r.dataPoints, surface.u.count(), surface.v.count(), r.constraints,
                  r.verdict == FitVerdict::kCompromise ? "fitted" : "exact", r.rms, r.maxResidual,
                  r.maxResidualAtU, r.maxResidualAtV, r.constraintResidual);
    return text;
}

}  // namespace

void writeSurfaceSvg(std::ostream& os, const FittedSurface& surface, const TtupleMatrix& points,
                     const DoubleVec& uParameters, const DoubleVec& vParameters,
                     const std::string& title)
{
    if (!surface.fits() || surface.surface == nullptr) return;
    SvgCanvas canvas(os, kWidth, kHeight);
    canvas.title(kLeft, title, figures(surface));
    drawSurface(canvas, kViewFrame, surface);
    drawResiduals(canvas, kMapRoom, surface, points, uParameters, vParameters);
}

}  // namespace knotwork
