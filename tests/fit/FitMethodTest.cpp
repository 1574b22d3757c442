// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceFit.h"
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"

using namespace knotwork;
using namespace knotwork_test;

namespace {

constexpr double kControlBound = 1e-11;

FittedCurve byQr(const FitProblem& p)
{
    CurveFitOptions options;
    options.method = FitMethod::kQr;
    return p.fit(options);
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size()) return HUGE_VAL;
    double worst = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::fabs(a[i] - b[i]));
    return worst;
}

/// The same with values to be met as data points.
FitProblem asData(FitProblem p)
{
    for (const knotwork::CurveConstraint& c : p.constraints) {
        p.parameters.push_back(c.parameter);
        p.points.insert(p.points.end(), c.value.begin(), c.value.end());
    }
    p.constraints.clear();
    return p;
}

}  // namespace

TEST(FitMethodTest, ByQrAValueIsOneMoreDataPoint)
{
    knotwork_measures::Dice dice(71);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        FitProblem p = noisyProblem(1 + round % 4, 3 + round % 3, 1 + round % 2, dice);
        addConstraints(p, 3, dice);
        for (auto& constraint : p.constraints) constraint.derivative = 0;
        p.constraints.push_back(p.constraints[0]);  // one that is asked for twice, differently
        p.constraints.back().value[0] += 1.0;
        const FittedCurve curve = byQr(p);
        ASSERT_EQ(curve.report.verdict, FitVerdict::kCompromise) << curve.report.reason;
        EXPECT_TRUE(curve.fits() && !curve.met());
        EXPECT_LE(largestDifference(curve.controlPoints, asData(p).fit().controlPoints),
                  kControlBound);
        double worst = 0.0;
        for (const auto& c : p.constraints)
            worst = std::max(worst, largestDifference(curve.at(c.parameter), c.value));
        EXPECT_NEAR(curve.report.constraintResidual, worst, 1e-13);
        EXPECT_EQ(p.fit().report.verdict, FitVerdict::kDependentConstraints);
    }
}

TEST(FitMethodTest, ByQrMetIsSaidOnlyOfConstraintsThatAre)
{
    knotwork_measures::Dice dice(72);
    FitProblem p = noisyProblem(3, 5, 2, dice);
    const FittedCurve free = p.fit();
    EXPECT_EQ(byQr(p).report.verdict, FitVerdict::kFitted) << "there are none";
    EXPECT_LE(largestDifference(byQr(p).controlPoints, free.controlPoints), kControlBound);
    for (const int derivative : {0, 1, 2})  // what the free curve has anyway
        p.constraints.push_back({0.37, derivative, free.at(0.37, derivative)});
    EXPECT_EQ(byQr(p).report.verdict, FitVerdict::kMet) << byQr(p).report.reason;
    EXPECT_LE(largestDifference(byQr(p).controlPoints, free.controlPoints), kControlBound);
    p.constraints[1].value[0] += 1.0;
    EXPECT_EQ(byQr(p).report.verdict, FitVerdict::kCompromise);
    EXPECT_GT(byQr(p).report.constraintResidual, 1e-3);
}

TEST(FitMethodTest, ByQrRefusalsAreThoseOfTheData)
{
    knotwork_measures::Dice dice(73);
    FitProblem p = noisyProblem(2, 4, 1, dice);
    for (int c = 0; c <= p.basis.count(); ++c) p.constraints.push_back({0.5, 0, {1.0 * c}});
    EXPECT_EQ(byQr(p).report.verdict, FitVerdict::kCompromise) << "more constraints than unknowns";
    for (double& t : p.parameters) t *= 0.4;  // the spans from 0.5 on have but the constraints
    const FittedCurve curve = byQr(p);
    EXPECT_EQ(curve.report.verdict, FitVerdict::kUndetermined);
    EXPECT_EQ(curve.report.reason, "spans 2 to 3 hold no data, which smoothing may make up for");
    EXPECT_TRUE(curve.controlPoints.empty() && !curve.fits());
}

TEST(FitMethodTest, ByQrALineIsOneMoreLineOfSamples)
{
    constexpr int kRows = 13;
    constexpr int kCols = 11;
    knotwork_measures::Dice dice(74);
    TtupleMatrix points(2, kRows, kCols, 0.0);
    TtupleMatrix doubled(2, kRows + 2, kCols, 0.0);
    for (int j = 0; j < kCols; ++j)
        for (int i = 0; i < kRows; ++i)
            for (int k = 0; k < 2; ++k) points.point(i, j)(k) = dice.unit();
    DoubleVec u(kRows, 0.0, 1.0);
    DoubleVec v(kCols, 0.0, 1.0);
    DoubleVec more(u.copy());
    more.resize(kRows + 2);
    more(kRows + 1) = kRows - 1;  // the first line again, and the last
    for (int j = 0; j < kCols; ++j)
        for (int i = 0; i < kRows + 2; ++i)
            doubled.point(i, j) = points.point(i < kRows ? i : i == kRows ? 0 : kRows - 1, j);
    const BsplineBasis uBasis = BsplineBasis::uniform(3, 0.0, kRows - 1, 4);
    const BsplineBasis vBasis = BsplineBasis::uniform(2, 0.0, kCols - 1, 3);

    SurfaceFitOptions options;
    options.method = FitMethod::kQr;
    options.acrossU = knotwork::endLinesInU(points, u);
    const FittedSurface surface = knotwork::fitSurface(points, u, v, uBasis, vBasis, options);
    ASSERT_EQ(surface.report.verdict, FitVerdict::kCompromise) << surface.report.reason;
    EXPECT_GT(surface.report.constraintResidual, 1e-2);
    const FittedSurface expected = knotwork::fitSurface(doubled, more, v, uBasis, vBasis);
    EXPECT_LE(largestDifference(surface.controlPoints, expected.controlPoints), kControlBound);

    options.acrossU.clear();
    const FittedSurface free = knotwork::fitSurface(points, u, v, uBasis, vBasis, options);
    EXPECT_EQ(free.report.verdict, FitVerdict::kFitted);
    EXPECT_LE(largestDifference(free.controlPoints,
                                knotwork::fitSurface(points, u, v, uBasis, vBasis).controlPoints),
              kControlBound);
}
