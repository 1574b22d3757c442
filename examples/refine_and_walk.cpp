// SPDX-License-Identifier: MIT
// Refines a fitted curve by knot insertion until its control polygon lies within a tolerance of it,
// walks a surface along lines of constant v, and prints both.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "knotwork/knotwork.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

/// Where control point i pulls the most: the mean of the knots between its own outer two.
double greville(const std::vector<double>& knots, int degree, int i)
{
    double mean = 0.0;
    for (int k = 1; k <= degree; ++k) mean += knots[static_cast<std::size_t>(i + k)] / degree;
    return mean;
}

/// The largest distance of a control point from the curve's point at its own parameter.
double polygonDistance(AP_SPLINE& curve, const std::vector<double>& knots)
{
    double most = 0.0;
    for (int i = 0; i < curve.Count(); ++i) {
        double point[2];
        curve.eval(point, greville(knots, curve.Degree(), i), 0);
        most = std::max(most, std::hypot(curve[i][0] - point[0], curve[i][1] - point[1]));
    }
    return most;
}

/// Halves every span of the curve.
void refine(AP_SPLINE& curve, std::vector<double>& knots)
{
    const std::vector<double> before = knots;
    for (std::size_t s = 0; s + 1 < before.size(); ++s) {
        if (before[s] == before[s + 1]) continue;
        const double middle = (before[s] + before[s + 1]) / 2;
        curve.insert(middle, 1);
        knots.insert(std::upper_bound(knots.begin(), knots.end(), middle), middle);
    }
}

knotwork::FittedCurve fittedArc()
{
    constexpr int kCount = 61;
    TtupleVector points(2, kCount, 0.0);
    const DoubleVec parameters(kCount, 0.0, 1.0 / (kCount - 1));
    for (int i = 0; i < kCount; ++i) {
        points.point(i)(0) = std::cos(kPi * parameters(i));
        points.point(i)(1) = std::sin(kPi * parameters(i));
    }
    return knotwork::fitCurve(points, parameters,
                              knotwork::BsplineBasis::uniform(3, 0.0, parameters(kCount - 1), 4));
}

knotwork::FittedSurface fittedDome()
{
    constexpr int kCount = 21;
    TtupleMatrix points(3, kCount, kCount, 0.0);
    const DoubleVec parameters(kCount, 0.0, 1.0);
    for (int j = 0; j < kCount; ++j)
        for (int i = 0; i < kCount; ++i) {
            points.point(i, j)(0) = i;
            points.point(i, j)(1) = j;
            points.point(i, j)(2) = 4.0 * std::sin(kPi * i / 20.0) * std::sin(kPi * j / 20.0);
        }
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, 20.0, 4);
    return knotwork::fitSurface(points, parameters, parameters, basis, basis);
}

/// The length of the surface's line of constant v, as a chain of chords.
double lineLength(AP_SURFACE& surface, double v)
{
    constexpr int kSteps = 200;
    AP_EVAL_CONST_PARM line(surface);
    line.setv(v);
    double length = 0.0;
    double before[3] = {};
    for (int i = 0; i <= kSteps; ++i) {
        line.eval(20.0 * i / kSteps);
        const double* p = line();
        if (i > 0) length += std::hypot(p[0] - before[0], p[1] - before[1], p[2] - before[2]);
        std::copy_n(p, 3, before);
    }
    return length;
}

}  // namespace

int main()
{
    const knotwork::FittedCurve arc = fittedArc();
    const knotwork::FittedSurface dome = fittedDome();
    if (!arc.fits() || !dome.fits()) return 1;

    AP_SPLINE curve(*arc.spline);
    std::vector<double> knots = arc.basis.knots();
    double distance = polygonDistance(curve, knots);
    std::printf("%3d control points: polygon within %.2e of the curve\n", curve.Count(), distance);
    while (distance > 1e-3) {
        refine(curve, knots);
        distance = polygonDistance(curve, knots);
        std::printf("%3d control points: polygon within %.2e of the curve\n", curve.Count(),
                    distance);
    }
    double fitted[2];
    double refined[2];
    arc.spline->eval(fitted, 0.3, 0);
    curve.eval(refined, 0.3, 0);
    const double moved = std::hypot(fitted[0] - refined[0], fitted[1] - refined[1]);
    std::printf("refining moved the curve by %.1e\n\n", moved);

    AP_SURFACE surface(*dome.surface);
    const double flank = lineLength(surface, 0.0);
    const double crest = lineLength(surface, 10.0);
    std::printf("the line v = 0 is %.4f long, v = 10 is %.4f\n\n", flank, crest);

    std::printf("The fitted curve:\n");
    AP_SPLINE(*arc.spline).print(stdout);
    std::printf("The fitted surface:\n");
    surface.print(stdout);
    return moved < 1e-14 && crest > flank ? 0 : 1;
}
