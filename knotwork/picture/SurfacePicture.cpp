// SPDX-License-Identifier: MIT
#include "knotwork/picture/SurfacePicture.h"

#include "knotwork/fit/NumberText.h"
#include "knotwork/picture/ResidualMap.h"
#include "knotwork/picture/SurfaceView.h"

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
    return std::to_string(r.dataPoints) + " points, " + std::to_string(surface.u.count()) + " x " +
           std::to_string(surface.v.count()) + " control points, " + std::to_string(r.constraints) +
           (r.verdict == FitVerdict::kCompromise ? " fitted" : " exact") + " equations: RMS " +
           generalText(r.rms, 3) + ", largest residual " + generalText(r.maxResidual, 3) + " at (" +
           generalText(r.maxResidualAtU, 5) + ", " + generalText(r.maxResidualAtV, 5) +
           "), constraint residual " + generalText(r.constraintResidual, 2);
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
