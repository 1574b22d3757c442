// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "knotwork/factor/DoubleLeastSqCh.h"
#include "knotwork/factor/DoubleLeastSqInc.h"
#include "knotwork/factor/DoubleSVDecomp.h"
#include "tests/factor/MatrixChecks.h"
#include "tests/support/Arrays.h"
#include "tests/support/Dice.h"

namespace {

using checks::frobeniusNorm;
using checks::kEps;
using checks::ratioOf;
using checks::Worst;
using knotwork_test::Dice;
using knotwork_test::elements;
using knotwork_test::mat;
using knotwork_test::vec;
using testing::DoubleEq;
using testing::DoubleNear;
using testing::ElementsAre;

constexpr int kTrials = 21000;

DoubleVec randomVector(unsigned n, Dice& dice)
{
    DoubleVec v(n);
    for (int i = 0; i < static_cast<int>(n); ++i) v(i) = 2.0 * dice.unit() - 1.0;
    return v;
}

/// Two right-hand sides: y, and one that ones for unknowns fit but for rounding.
DoubleVec valuesFor(const DoubleVec& row, double y)
{
    return vec({y, sum(row)});
}

/// A fit of every row of x.
DoubleLeastSqInc fitOf(const DoubleGenMat& x, const DoubleVec& y)
{
    DoubleLeastSqInc fit(x.cols(), 2);
    for (int i = 0; i < static_cast<int>(x.rows()); ++i) {
        DoubleVec row = x.row(i);
        fit.addEquation(row, valuesFor(row, y(i)));
    }
    return fit;
}

/// |X^T (y - X b)|, 0 for the exact solution, in units of what rounding may do to it.
double normalResidual(const DoubleGenMat& x, const DoubleVec& y, const DoubleVec& b)
{
    const DoubleVec gradient = product(product(x, b) + -y, x);
    const double size = frobeniusNorm(x) * (frobeniusNorm(x) * b.vecLen() + y.vecLen());
    return ratioOf(gradient.vecLen(), size * std::max(x.rows(), x.cols()) * kEps);
}

}  // namespace

TEST(LeastSquaresTest, EquationsOneByOneGiveTheBatchSolution)
{
    Worst batchError, error, difference, norm, withdrawn;
    for (int trial = 0; trial < kTrials; ++trial) {
        SCOPED_TRACE(trial);
        Dice dice(static_cast<unsigned>(trial));
        const unsigned p = 1 + dice.below(1 + dice.below(60));
        const unsigned n = p + 1 + dice.below(p + 1);
        const double scale = std::pow(10.0, 140 * (trial % 3 - 1));
        const DoubleGenMat x(randomVector(n * p, dice) * scale, n, p);
        const DoubleVec y = randomVector(n, dice);
        const DoubleLeastSqCh batch(x);
        if (batch.numFreeCols() != 0) continue;  // too close to dependent for the normal equations
        const DoubleVec b = batch.solve(y);
        batchError.see(normalResidual(x, y, b), trial);

        DoubleLeastSqInc fit(fitOf(x, y));
        ASSERT_EQ(fit.good(), 1);
        const DoubleVec c = fit.solve(0);
        error.see(normalResidual(x, y, c), trial);
        const double rest = (product(x, c) + -y).vecLen();
        const double size = (y.vecLen() + frobeniusNorm(x) * c.vecLen()) * n * kEps;
        norm.see(std::fabs(rest - fit.residualNorm(0)) / size, trial);
        DoubleSVDecomp values;
        values.computeLeftVecs(0);
        values.computeRightVecs(0);
        values.factor(x);
        const DoubleVec s = values.singularValues();
        const double condition = std::pow(s(0) / s(static_cast<int>(p) - 1), 2.0);
        difference.see((b + -c).vecLen() * frobeniusNorm(x) / (size * condition), trial);

        // One more, which one right-hand side does not fit at all and the other fits exactly.
        DoubleVec row = x.row(0).copy() + x.row(static_cast<int>(p)) * 0.5;
        fit.addEquation(row, valuesFor(row, 3.0));
        EXPECT_EQ(fit.deleteEquation(row, valuesFor(row, 3.0)), 0);
        withdrawn.see(normalResidual(x, y, fit.solve(0)), trial);
        if (HasFailure()) return;
    }
    EXPECT_GE(error.count(), 20000);
    batchError.expectBelow(10, "batch, normal equations");
    error.expectBelow(10, "one by one, normal equations");
    norm.expectBelow(10, "residual norm");
    difference.expectBelow(10, "one by one against batch, times cond(X)^2");
    withdrawn.expectBelow(1e3, "one more added and withdrawn, normal equations");
}

TEST(LeastSquaresTest, AThousandEquationsAddedAndWithdrawnLeaveTheSolution)
{
    Dice dice(5);
    const DoubleGenMat x(randomVector(40 * 20, dice), 40, 20);
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
