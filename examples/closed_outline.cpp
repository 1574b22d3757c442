// SPDX-License-Identifier: MIT
// An outline whose points a machine took one after the other, the first one not again: fitted by a
// closed cubic that passes through the first point exactly, smooth there as everywhere, and written
// as an open curve for a host that knows no other.
#include <cmath>
#include <cstdio>

#include "knotwork/knotwork.h"

int main()
{
    constexpr int kCount = 120;
    TtupleVector outline(2, kCount, 0.0);
    for (int i = 0; i < kCount; ++i) {
        const double angle = 2.0 * 3.14159265358979 * i / kCount;
        const double radius = 10.0 + 2.0 * std::cos(3.0 * angle) + 0.05 * std::sin(900.0 * i);
        outline.point(i)(0) = radius * std::cos(angle);
        outline.point(i)(1) = radius * std::sin(angle);
    }

    const knotwork::ClosedSamples samples =
        knotwork::closedSamples(outline, knotwork::Parameterisation::kChord);
    const auto basis = knotwork::BsplineBasis::periodicUniform(3, 0.0, samples.period, 18);
    const knotwork::FittedCurve curve =
        knotwork::fitCurve(samples.points, samples.parameters, basis,
                           {{0.0, 0, {outline.point(0)(0), outline.point(0)(1)}}});
    if (!curve.met()) {
        std::printf("no fit: %s\n", curve.report.reason.c_str());
        return 1;
    }
    const knotwork::FittedCurve open = knotwork::clampedForm(curve);
    const double end = open.basis.last();
    double gap = 0.0;
    for (int order = 0; order < 3; ++order)
        for (int k = 0; k < 2; ++k) {
            const auto at = static_cast<std::size_t>(k);
            const double step = open.at(end, order)[at] - open.at(0.0, order)[at];
            gap = std::fmax(gap, std::fabs(step) / std::pow(18.0, order));
        }
    std::printf("RMS residual            %.3g\n", curve.report.rms);
    std::printf("largest gap at the seam %.3g\n", gap);
    return gap < 1e-12 ? 0 : 1;
}
