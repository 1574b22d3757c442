// SPDX-License-Identifier: MIT
#include <cmath>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SurfaceFit.h"
#include "tests/survival/Sweep.h"

namespace survival {

namespace {

using knotwork::BsplineBasis;

constexpr double kTolerance = 1e-6;

void fitsCurves(Trial& trial)
{
    const auto basis = BsplineBasis::uniform(3, 0.0, 1.0, 8);
    DoubleVec parameters(40, 0.0, 1.0);
    parameters *= 1.0 / 40.0;
    TtupleVector points(2, 40, 0.0);
    for (int i = 0; i < 40; ++i) points.point(i) = parameters(i);
    const std::vector<knotwork::CurveConstraint> constraints = {{0.0, 0, {0.0, 0.0}},
                                                                {0.5, 1, {1.0, 1.0}}};
    for (const auto method : {knotwork::FitMethod::kHouseholder, knotwork::FitMethod::kQr}) {
        knotwork::CurveFitOptions options;
        options.method = method;
        knotwork::FittedCurve curve;
        trial.attempt(
            [&] { curve = knotwork::fitCurve(points, parameters, basis, constraints, options); });
        trial.expect(!curve.fits() || std::fabs(curve.at(0.7)[1] - 0.7) <= kTolerance);
    }
}

void fitsSurfaces(Trial& trial)
{
    const auto u = BsplineBasis::uniform(3, 0.0, 1.0, 3);
    const auto v = BsplineBasis::uniform(2, 0.0, 1.0, 4);
    DoubleVec parameters(12, 0.0, 1.0);
    parameters *= 1.0 / 11.0;
    TtupleMatrix points(1, 12, 12, 0.0);
    for (int i = 0; i < 12; ++i)
        for (int j = 0; j < 12; ++j) points.point(i, j) = parameters(i) + 2.0 * parameters(j);
    const auto right = [](const knotwork::FittedSurface& surface) {
        return !surface.fits() || std::fabs(surface.at(0.3, 0.7)[0] - 1.7) <= kTolerance;
    };
    knotwork::SurfaceFitOptions options;
    options.acrossU.push_back({0.0, 0, {}});
    for (int j = 0; j < 12; ++j) options.acrossU[0].values.push_back(2.0 * parameters(j));
    options.uWeights.reference(DoubleVec(12, 1.0, 1.0));
    options.zero = 1e-12;  // so that dense solvers are asked too
    knotwork::FittedSurface surface;
    trial.attempt(
        [&] { surface = knotwork::fitSurface(points, parameters, parameters, u, v, options); });
    trial.expect(right(surface));

    knotwork::FittedSurface whole = knotwork::fitSurface(points, parameters, parameters, u, v);
    IntGenMat mask(6u, 6u, 0);
    mask(2, 3) = 1;
    const TtupleMatrix held(1, 6, 6, DoubleVec(whole.controlPoints.data(), 36));
    knotwork::SurfaceFitOptions asking;
    asking.zero = 1e-12;
    knotwork::FittedSurface around;
    trial.attempt([&] {
        around =
            knotwork::fitSurfaceAround(points, parameters, parameters, u, v, mask, held, asking);
    });
    trial.expect(right(around));
}

}  // namespace

const std::vector<Subject>& fitSubjects()
{
    static const std::vector<Subject> subjects = {{"fitCurve", fitsCurves},
                                                  {"fitSurface", fitsSurfaces}};
    return subjects;
}

}  // namespace survival
