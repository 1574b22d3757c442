// SPDX-License-Identifier: MIT
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"

namespace {

using knotwork::FittedCurve;
using namespace knotwork_test;

FitProblem constrainedProblem()
{
    knotwork_measures::Dice dice(20270114);
    FitProblem p = noisyProblem(4, 7, 3, dice);
    addConstraints(p, 6, dice);
    return p;
}

struct ScaleCase {
    const char* name;
    Numbers coordinates;
    double parameter;
    double offset;
};

const ScaleCase kUnits[] = {{"AsItIs", {1}, 1, 0},
                            {"SmallCoordinates", {1e-9}, 1, 0},
                            {"LargeCoordinates", {1e9}, 1, 0},
                            {"SmallParameters", {1}, 1e-9, 0},
                            {"LargeParameters", {1}, 1e9, 0},
                            {"BothSmall", {1e-9}, 1e-9, 0},
                            {"BothLarge", {1e9}, 1e9, 0},
                            {"SmallOverLarge", {1e-9}, 1e9, 0},
                            {"LargeOverSmall", {1e9}, 1e-9, 0},
                            {"EachCoordinateItsOwn", {1e-9, 1, 1e9}, 1, 0},
                            {"FarApart", {1e-120, 1e40, 1e120}, 1e-12, 0},
                            {"SecondsOfAnEpoch", {1}, 600, 1.7e9},
                            {"MillisecondsOfAnEpoch", {1}, 0.5, 1.7e9},
                            {"BelowZero", {1}, 3, -1e6}};

}  // namespace

TEST(CurveScaleTest, SameFitInOtherUnits)
{
    for (const ScaleCase& c : kUnits) {
        SCOPED_TRACE(c.name);
        constexpr double kControlBound = 1e-12;
        const FitProblem p = scaled(constrainedProblem(), c.coordinates, c.parameter, c.offset);
        const FittedCurve curve = p.fit();
        ASSERT_TRUE(curve.met()) << curve.report.reason;
        EXPECT_LE(deviationFromReference(p, curve), kControlBound);
        double size = 0.0;
        for (const double x : p.points) size = std::max(size, std::fabs(x));
        EXPECT_LE(curve.report.constraintResidual, 1e-13 * size);
        EXPECT_GT(curve.report.rms, 0.0);
    }
}

TEST(CurveScaleTest, PowersOfTwoGiveTheSameBits)
{
    const FitProblem p = constrainedProblem();
    const FittedCurve expected = p.fit();
    ASSERT_TRUE(expected.met());
    const struct {
        Numbers exponents;
        int parameter;
    } cases[] = {{{0, 0, 0}, 30},         {{-30, -30, -30}, 0},     {{30, -7, 0}, -30},
                 {{800, -800, 0}, 40},    {{-500, -500, 500}, -40}, {{0, 0, 0}, 150},
                 {{1000, 1000, 1000}, 0}, {{-900, -960, -900}, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE("parameters times 2^" + std::to_string(c.parameter) +
                     ", coordinate 0 times 2^" + std::to_string(c.exponents[0]));
        Numbers factors;
        for (const double e : c.exponents) factors.push_back(std::ldexp(1.0, static_cast<int>(e)));
        const FitProblem q = scaled(p, factors, std::ldexp(1.0, c.parameter));
        const FittedCurve curve = q.fit();
        ASSERT_TRUE(curve.met()) << curve.report.reason;
        ASSERT_EQ(curve.controlPoints.size(), expected.controlPoints.size());
        for (std::size_t i = 0; i < curve.controlPoints.size(); ++i)
            EXPECT_EQ(curve.controlPoints[i], expected.controlPoints[i] * factors[i % 3]) << i;
        EXPECT_EQ(curve.report.constraintResidual == 0.0,
                  expected.report.constraintResidual == 0.0);
        if (c.exponents[0] != c.exponents[1] || c.exponents[1] != c.exponents[2]) continue;
        EXPECT_EQ(curve.report.rms, expected.report.rms * factors[0]);
        EXPECT_EQ(curve.report.maxResidual, expected.report.maxResidual * factors[0]);
        EXPECT_EQ(curve.report.maxResidualAt,
                  std::ldexp(expected.report.maxResidualAt, c.parameter));
    }
}

/// Coordinates near the ends of the range: a fit that stands is the scaled one, and nothing in it
/// or in its report has overflowed.
TEST(CurveScaleTest, NothingOverflowsUnderAGoodVerdict)
{
    for (const double factor : {1e-320, 1e-308, 1e300, 0.7e308, 1.2e308, 1.45e308}) {
        SCOPED_TRACE(factor);
        FitProblem p = scaled(constrainedProblem(), {factor}, 1.0);
        p.constraints.clear();
        const FittedCurve curve = p.fit();
        if (!curve.fits()) {
            EXPECT_FALSE(curve.report.reason.empty());
            continue;
        }
        for (const double x : curve.controlPoints) EXPECT_TRUE(std::isfinite(x));
        EXPECT_TRUE(std::isfinite(curve.report.rms));
        EXPECT_TRUE(std::isfinite(curve.report.maxResidual));
        if (factor > 1e-300) {
            EXPECT_LE(deviationFromReference(p, curve), 1e-12);
        }
    }
}
