// SPDX-License-Identifier: MIT
// Hosts that trap floating-point faults: a fit that goes well raises none.
#include <fenv.h>

#include <cstdlib>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SurfaceFit.h"
#include "tests/support/Testing.h"

namespace {

constexpr int kTraps = FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW;

void fitAndEvaluateCurve()
{
    const int count = 200;
    TtupleVector points(2, count, 0.0);
    const DoubleVec t(count, 0.0, 1.0 / (count - 1));
    for (int i = 0; i < count; ++i) {
        points(i)(0) = t(i);
        points(i)(1) = std::sin(6.0 * t(i));
    }
    // A knot of full multiplicity leaves spans empty.
    const auto basis = knotwork::BsplineBasis::clamped(3, 0.0, t(count - 1), {0.3, 0.5, 0.5, 0.5});
    const auto curve = knotwork::fitCurve(points, t, basis, {{0.0, 0, {0.0, 0.0}}});
    if (!curve.fits()) std::abort();
    AP_SPLINE spline(*curve.spline);
    spline.insert(0.4, 1);
    double row[8];
    for (double at : {0.0, 0.4, 0.5, 0.7}) spline.eval(row, at, 3);
    spline.Box(1);
}

void fitAndEvaluateSurface()
{
    const int count = 12;
    TtupleMatrix points(3, count, count, 0.0);
    const DoubleVec t(count, 0.0, 1.0 / count);
    for (int i = 0; i < count; ++i)
        for (int j = 0; j < count; ++j) {
            points(i, j)(0) = t(i);
            points(i, j)(1) = t(j);
            points(i, j)(2) = t(i) * t(j);
        }
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, t(count - 1), 3);
    const auto fitted = knotwork::fitSurface(points, t, t, basis, basis);
    if (!fitted.fits()) std::abort();
    AP_SURFACE surface(*fitted.surface);
    surface.uinsert(0.4, 1);
    double p[3], n[3];
    surface.normal(0.4, 0.2, p, n);
}

TEST(TrappingHostDeathTest, NoFaultIsRaised)
{
    struct Case {
        const char* name;
        void (*work)();
    };
    for (const Case& c : {Case{"curve", fitAndEvaluateCurve}, {"surface", fitAndEvaluateSurface}}) {
        SCOPED_TRACE(c.name);
        EXPECT_EXIT(
            {
                feenableexcept(kTraps);
                c.work();
                std::_Exit(0);
            },
            testing::ExitedWithCode(0), "");
    }
}

}  // namespace
