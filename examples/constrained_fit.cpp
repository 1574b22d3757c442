// SPDX-License-Identifier: MIT
// A noisy half wave, fitted by a cubic curve that must start and end on the axis and be level at
// its crest.
#include <cmath>
#include <cstdio>

#include "knotwork/knotwork.h"

int main()
{
    constexpr int kCount = 200;
    TtupleVector points(1, kCount, 0.0);
    DoubleVec parameters(kCount, 0.0, 1.0 / (kCount - 1));
    for (int i = 0; i < kCount; ++i)
        points.point(i)(0) =
            std::sin(3.14159265358979 * parameters(i)) + 0.02 * std::sin(900.0 * i);

    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, parameters(kCount - 1), 6);
    const knotwork::FittedCurve curve =
        knotwork::fitCurve(points, parameters, basis,
                           {{basis.first(), 0, {0.0}}, {basis.last(), 0, {0.0}}, {0.5, 1, {0.0}}});
    if (!curve.met()) {
        std::printf("no fit: %s\n", curve.report.reason.c_str());
        return 1;
    }
    std::printf("RMS residual        %.3g\n", curve.report.rms);
    std::printf("constraint residual %.3g\n", curve.report.constraintResidual);
    std::printf("slope at the crest  %.3g\n", curve.at(0.5, 1)[0]);
    return curve.report.constraintResidual < 1e-14 ? 0 : 1;
}
