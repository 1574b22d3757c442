// SPDX-License-Identifier: MIT
// A host outside the project: fits noisy points of a parabola with both ends and a slope held.
#include <knotwork/knotwork.h>
#include <cmath>
#include <cstdio>

#ifdef __STRICT_ANSI__
#error "this host is meant to build in GNU mode"
#endif

namespace {

int failures = 0;

void check(bool holds, const char* what)
{
    if (holds) return;
    std::printf("failed: %s\n", what);
    ++failures;
}

}  // namespace

int main()
{
    const int count = 41;
    TtupleVector points(2, count, 0.0);
    for (int i = 0; i < count; ++i) {
        const double t = i / 40.0;
        points(i)(0) = t;
        points(i)(1) = t * t + (i % 2 == 0 ? 0.01 : -0.01);
    }
    const DoubleVec t = knotwork::parameterValues(points, knotwork::Parameterisation::kUniform);
    const knotwork::BsplineBasis basis = knotwork::BsplineBasis::uniform(3, 0.0, 1.0, 4);
    const knotwork::FittedCurve curve = knotwork::fitCurve(
        points, t, basis, {{0.0, 0, {0.0, 0.0}}, {1.0, 0, {1.0, 1.0}}, {0.5, 1, {1.0, 1.0}}});
    check(curve.met(), "a fit that stands");
    check(curve.report.constraintResidual < 1e-14, "constraints at rounding level");
    check(curve.at(0.0) == std::vector<double>({0.0, 0.0}), "the first end");
    check(std::fabs(curve.at(1.0)[1] - 1.0) < 1e-14, "the last end");
    check(std::fabs(curve.at(0.5, 1)[1] - 1.0) < 1e-13, "the slope");
    check(std::fabs(curve.at(0.3)[1] - 0.09) < 0.01, "the parabola in between");

    // The solver itself, a system of two equations held and one that is not.
    Thouseholder solver(1e-12, 0, false);
    DoubleGenMat rows(3, 2, 0.0);
    rows(0, 0) = rows(1, 0) = rows(2, 1) = 1.0;
    DoubleVec rhs(3, 4.0);
    rhs(0) = 9.0;
    check(solver.setMatrix(rows, 2, false, false, false) == 0, "an independent system");
    const DoubleVec x = solver.solve(rhs);
    check(std::fabs(x(0) - 4.0) < 1e-14 && std::fabs(x(1) - 4.0) < 1e-14, "its solution");
    if (failures == 0) std::printf("constraint residual %.3g\n", curve.report.constraintResidual);
    return failures == 0 ? 0 : 1;
}
