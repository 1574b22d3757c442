// SPDX-License-Identifier: MIT
#include <array>

#include "measures/LeastSquaresChecks.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_measures;
using namespace knotwork_test;
using testing::DoubleEq;
using testing::DoubleNear;

}  // namespace

TEST(LeastSquaresTest, EquationsOneByOneGiveTheBatchSolution)
{
    LeastSquaresRatios ratios;
    for (unsigned trial = 0; trial < kTrials; ++trial)
        ASSERT_TRUE(ratios.see(TallSystem(trial), trial)) << trial;
    EXPECT_GE(ratios.oneByOne.count(), 20000);
    expectBounds(ratios);
}

TEST(LeastSquaresTest, AThousandEquationsAddedAndWithdrawnLeaveTheSolution)
{
    Dice dice(5);
    const DoubleGenMat x = randomRows(40, 20, dice);
    const DoubleVec y = randomVector(40, dice);
    DoubleLeastSqInc fit(fitOf(x, y));
    const DoubleVec before = fit.solve(0);
    const double norm = fit.residualNorm(0);
    for (int pair = 0; pair < 1000; ++pair) {
        DoubleVec row = randomVector(20, dice);
        const DoubleVec values = valuesFor(row, dice.unit());
        fit.addEquation(row, values);
        ASSERT_EQ(fit.deleteEquation(row, values), 0);
    }
    EXPECT_LE((fit.solve(0) + -before).vecLen(), 1e-10 * before.vecLen());
    EXPECT_NEAR(fit.residualNorm(0), norm, 1e-10 * norm);
}

TEST(DoubleLeastSqIncTest, FollowsTheWorkedExample)
{
    DoubleLeastSqInc fit(2, 1);
    EXPECT_EQ(fit.fail(), 1);
    DoubleVec first = vec({1, 0}), second = vec({0, 1}), third = vec({1, 1});
    fit.addEquation(first, 3.0);
    EXPECT_EQ(fit.isUnderDetermined(), 1);
    fit.addEquation(second, 4.0);
    EXPECT_EQ(fit.good(), 1);
    EXPECT_EQ(fit.isPD(), 0) << "the base knows nothing of it";
    EXPECT_THAT(elements(fit.solve(0)), ElementsAre(3, 4));
    EXPECT_EQ(fit.residualNorm(0), 0.0);
    EXPECT_EQ(fit.deleteEquation(first, 3.0), -1) << "it would not be determined without";
    EXPECT_THAT(elements(fit.solve(0)), ElementsAre(3, 4));

    fit.addEquation(third, 8.0);
    EXPECT_THAT(elements(fit.solve(0)),
                ElementsAre(DoubleNear(10.0 / 3, 1e-14), DoubleNear(13.0 / 3, 1e-14)));
    EXPECT_THAT(fit.residualNorm(0), DoubleNear(1 / std::sqrt(3.0), 10 * kEps));
    EXPECT_EQ(fit.deleteEquation(third, 8.0), 0);
    EXPECT_THAT(elements(fit.solve(0)), ElementsAre(DoubleNear(3, 1e-14), DoubleNear(4, 1e-14)));

    for (const double y : {7.0, 7.5}) {
        fit.addEquation(third, 7.0);  // fits what is there: what it leaves over is rounding alone
        EXPECT_EQ(fit.deleteEquation(third, y), y == 7.0 ? 0 : 1);
        EXPECT_EQ(fit.residualNorm(0), y == 7.0 ? 0.0 : -1.0);
    }
}

TEST(DoubleLeastSqIncTest, EquationsMayBeTinyOrHuge)
{
    for (const double scale : {1e-200, 1e-160, 1e160, 1e200}) {
        DoubleLeastSqInc fit(2, 1);
        for (const auto& [a, b, y] :
             {std::array{3.0, 1.0, 5.0}, {4.0, 2.0, 8.0}, {0.0, 1.0, 2.0}}) {
            DoubleVec x = vec({a * scale, b * scale});
            fit.addEquation(x, y);
        }
        EXPECT_THAT(elements(fit.solve(0) * scale),
                    ElementsAre(DoubleNear(1, 1e-14), DoubleNear(2, 1e-14)));
    }
}

TEST(DoubleLeastSqIncTest, CopiesSeparateAllButR)
{
    DoubleLeastSqInc fit(1, 2);
    DoubleVec x = vec({3});
    fit.addEquation(x, vec({3, 6}));
    DoubleLeastSqInc copy = fit.copy();
    DoubleLeastSqInc sharer(fit);
    x(0) = 4;
    copy.addEquation(x, vec({4, 8}));  // the shared R becomes 5
    EXPECT_THAT(elements(copy.solve(1)), ElementsAre(DoubleEq(2)));
    EXPECT_THAT(elements(fit.solve(1)), ElementsAre(DoubleEq(6.0 / 5)))
        << "its column is for R = 3";
    sharer.addEquation(x, vec({0, 0}));
    EXPECT_TRUE(sharer.solve(1) == fit.solve(1));
    EXPECT_EQ(fit.residualNorm(1), sharer.residualNorm(1));
    EXPECT_NE(fit.residualNorm(1), copy.residualNorm(1));
}

TEST(DoubleLeastSqChTest, TrailingColumnsAreFreeByRankAndTolerance)
{
    DoubleLeastSqCh fit;
    EXPECT_EQ(fit.numFreeCols(), 1u) << "0 columns less the -1 of a new object";
    EXPECT_EQ(fit.solve(vec({1, 2})).length(), 0u);
    EXPECT_EQ(fit.setTolerance(0.25), 0.0);
    fit.factor(mat({{1, 0, 0}, {0, 1, 0}, {1, 1, 0}}));
    EXPECT_EQ(fit.numEquations(), 3u);
    EXPECT_EQ(fit.numFreeCols(), 1u);
    EXPECT_THAT(elements(fit.solve(vec({3, 4, 8}))),
                ElementsAre(DoubleNear(10.0 / 3, 1e-14), DoubleNear(13.0 / 3, 1e-14), 0));
    EXPECT_NEAR(fit.residual(vec({3, 4, 8})).vecLen(), 1 / std::sqrt(3.0), 10 * kEps);

    fit.factor(mat({{0.25, 0}, {0, 2}, {0, 0}}));  // pivoting takes the second column first
    EXPECT_EQ(fit.numFreeCols(), 1u) << "the tolerance is kept, and a diagonal equal to it is free";
    EXPECT_THAT(elements(fit.solve(vec({1, 2, 3}))), ElementsAre(0, 1));
    EXPECT_EQ(fit.setTolerance(0.0), 0.25);
    EXPECT_EQ(fit.isUnderDetermined(), 0);
    EXPECT_THAT(elements(fit.solve(vec({1, 2, 3}))), ElementsAre(4, 1));
    fit.update(vec({0, -1}));  // in pivoted order: the first column's diagonal turns negative
    EXPECT_EQ(fit.numFreeCols(), 1u) << "compared with its sign";

    fit.factor(DoubleGenMat(2, 2, 0.0));
    EXPECT_EQ(fit.numFreeCols(), 2u);
    EXPECT_THAT(elements(fit.solve(vec({1, 2}))), ElementsAre(0, 0));
    EXPECT_TRUE(fit.residual(vec({1, 2})) == vec({1, 2}));
}
