// SPDX-License-Identifier: MIT
#include "knotwork/fit/Refine.h"

#include "knotwork/fit/KernelBuild.h"
#include "tests/fit/HandMadeSurface.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;

/// A curve of random control points within (-1, 1).
FittedCurve randomCurve(const BsplineBasis& basis, int dimension, unsigned seed)
{
    Dice dice(seed);
    FittedCurve curve;
    curve.basis = basis;
    curve.dimension = dimension;
    for (int i = 0; i < basis.count() * dimension; ++i)
        curve.controlPoints.push_back(2.0 * dice.unit() - 1.0);
    curve.spline = knotwork::makeSpline(basis, dimension, curve.controlPoints);
    return curve;
}

struct CurveCase {
    const char* name;
    BsplineBasis basis;
    std::vector<double> knots;
};

TEST(RefineTest, CurvesKeepTheirShape)
{
    const CurveCase cases[] = {
        {"one knot", BsplineBasis::uniform(3, 0.0, 1.0, 4), {0.3}},
        {"of full multiplicity", BsplineBasis::uniform(3, 0.0, 1.0, 4), {0.6, 0.6, 0.6}},
        {"on knots that are there", BsplineBasis::clamped(4, -1.0, 2.0, {0.5, 0.5}), {0.5, 0.5}},
        {"out of order", BsplineBasis::uniform(2, 0.0, 8.0, 8), {7.5, 0.25, 3.0, 0.125}},
        {"lines", BsplineBasis::uniform(1, 0.0, 1.0, 3), {0.1, 0.2, 0.9}},
        {"ends that are not repeated",
         BsplineBasis(3, {0, 1, 2, 3, 4, 5, 6, 7, 8}),
         {4.5, 4.0, 4.5, 3.25}},
        {"none", BsplineBasis::uniform(3, 0.0, 1.0, 2), {}},
    };
    for (const CurveCase& c : cases) {
        SCOPED_TRACE(c.name);
        const FittedCurve curve = randomCurve(c.basis, 3, 7);
        FittedCurve refined = curve;
        ASSERT_TRUE(refine(refined, c.knots));
        ASSERT_EQ(refined.basis.count(), c.basis.count() + static_cast<int>(c.knots.size()));
        const int steps = 40;
        for (int i = 0; i <= steps; ++i) {
            const double t = c.basis.first() + (c.basis.last() - c.basis.first()) * i / steps;
            const std::vector<double> before = curve.at(t);
            const std::vector<double> after = refined.at(t);
            for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(after[k], before[k], 16 * kEps) << t;
        }
    }
}

TEST(RefineTest, SurfacesKeepTheirShapeInBothDirections)
{
    Dice dice(3);
    const auto u = BsplineBasis::uniform(3, 0.0, 1.0, 3);
    const auto v = BsplineBasis::uniform(2, -2.0, 2.0, 4);
    const FittedSurface surface = handMade(u, v, [&dice](double, double) {
        return std::vector{2.0 * dice.unit() - 1.0, 2.0 * dice.unit() - 1.0};
    });
    FittedSurface refined = surface;
    ASSERT_TRUE(refine(refined, {0.5, 0.5, 0.25}, {-1.5, 0.0}));
    EXPECT_EQ(refined.u.count(), u.count() + 3);
    EXPECT_EQ(refined.v.count(), v.count() + 2);
    for (double a : {0.0, 0.2, 0.5, 1.0})
        for (double b : {-2.0, -1.5, 0.1, 2.0}) {
            const std::vector<double> before = surface.at(a, b);
            const std::vector<double> after = refined.at(a, b);
            for (std::size_t k = 0; k < 2; ++k) EXPECT_NEAR(after[k], before[k], 16 * kEps);
        }
}

TEST(RefineTest, KnotsThatCannotBeAreRefusedAndNothingChanges)
{
    const auto basis = BsplineBasis::clamped(2, 0.0, 1.0, {0.5});
    for (const std::vector<double>& knots : {std::vector{1.5},
                                             {-0.1},
                                             {kNaN},
                                             {0.2, 0.5, 0.5},  // three times with the one there
                                             {0.3, 0.3, 0.3},
                                             {0.0},
                                             {1.0}}) {
        FittedCurve curve = randomCurve(basis, 2, 1);
        const FittedCurve before = curve;
        EXPECT_FALSE(refine(curve, knots)) << knots.front();
        EXPECT_EQ(curve.basis.knots(), before.basis.knots());
        EXPECT_EQ(curve.controlPoints, before.controlPoints);
        EXPECT_EQ(curve.spline, before.spline);

        FittedSurface surface =
            handMade(basis, basis, [](double a, double b) { return std::vector{a * b}; });
        const auto points = surface.controlPoints;
        EXPECT_FALSE(refine(surface, {0.2}, knots));
        EXPECT_FALSE(refine(surface, knots, {0.2}));
        EXPECT_EQ(surface.controlPoints, points);
        EXPECT_EQ(surface.u.count(), basis.count());
    }
    BsplineBasis bare = basis;
    std::vector<double> tooFew(static_cast<std::size_t>(basis.count()) * 2 - 1, 0.0);
    EXPECT_FALSE(knotwork::refine(bare, 2, tooFew, {0.2}));
    FittedCurve none;
    EXPECT_FALSE(refine(none, {}));
}

TEST(RefineTest, BasesOfCurvesAndSurfacesBringThemBack)
{
    const auto u = BsplineBasis::clamped(3, 0.0, 2.0, {0.5, 0.5, 1.0});
    const auto v = BsplineBasis::uniform(2, -1.0, 1.0, 3);
    const FittedCurve curve = randomCurve(u, 2, 5);
    AP_SPLINE spline(*curve.spline);
    spline.insert(1.5, 1);
    const BsplineBasis grown = knotwork::basisOf(spline);
    EXPECT_EQ(grown.knots(), BsplineBasis::clamped(3, 0.0, 2.0, {0.5, 0.5, 1.0, 1.5}).knots());
    std::vector<double> points(spline.CV(), spline.CV() + 2 * grown.count());
    BsplineBasis basis = grown;
    ASSERT_TRUE(knotwork::refine(basis, 2, points, {1.5, 1.5}));
    const auto again = knotwork::makeSpline(basis, 2, points);
    double before[2], after[2];
    for (const double t : {0.1, 1.4, 1.5, 1.6, 2.0}) {
        spline.eval(before, t, 0);
        again->eval(after, t, 0);
        for (int k = 0; k < 2; ++k) EXPECT_NEAR(after[k], before[k], 16 * kEps) << t;
    }

    const FittedSurface surface =
        handMade(u, v, [](double a, double b) { return std::vector{a + b}; });
    EXPECT_EQ(knotwork::basisInU(*surface.surface).knots(), u.knots());
    EXPECT_EQ(knotwork::basisInV(*surface.surface).knots(), v.knots());
}

}  // namespace
