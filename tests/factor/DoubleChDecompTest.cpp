// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleChDecomp.h"

#include "measures/MatrixChecks.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;
using testing::DoubleEq;
using testing::DoubleNear;

DoubleChDecomp factored(unsigned p = 3)
{
    return DoubleChDecomp(knotwork_measures::identity(p));
}

}  // namespace

TEST(DoubleChDecompTest, JudgesAFactorByWhatItsRulesSay)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        const char* name;
        DoubleGenMat a;
        int isPD, last, good;
        double condition;
    } const cases[] = {
        {"identity", knotwork_measures::identity(3), 1, 2, 1, 0.0},  // all positive has none
        {"empty", DoubleGenMat(), 1, -1, 1, 0.0},
        {"semidefinite", mat({{4, 0}, {0, 0}}), 0, 0, 1, 0.0},
        {"indefinite", mat({{4, 0}, {0, -1}}), 0, 0, 0, 0.25},
        {"negative zero", mat({{4, 0}, {0, -0.0}}), 0, 0, 1, 0.0},
        {"two lost", mat({{4, 0, 0}, {0, 0, 0}, {0, 0, 0}}), 0, 0, 1, 0.0},
        {"negative first", mat({{-1}}), 0, -1, 0, 1.0},
        {"NaN", mat({{nan, 0}, {0, 1}}), 0, -1, 1, 0.0},
        {"tall, cut", mat({{1, 0}, {9, 4}, {9, 9}}), 1, 1, 1, 0.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const DoubleChDecomp d(c.a);
        EXPECT_EQ(d.isPD(), c.isPD);
        EXPECT_EQ(d.lastPosFactor(), c.last);
        EXPECT_EQ(d.good(), c.good);
        EXPECT_EQ(d.condition(), c.condition);
    }
    const DoubleChDecomp unused;
    EXPECT_EQ(unused.isPD(), 0);
    EXPECT_EQ(unused.good(), 1);
}

TEST(DoubleChDecompTest, PivotsAreSpecifiersForTheNextFactorOfTheSameSize)
{
    const DoubleGenMat a = mat({{1, 0, 0}, {0, 9, 0}, {0, 0, 4}});
    DoubleChDecomp d;
    EXPECT_EQ(d.setPivoting(2, DoubleChDecomp::FINAL), 0);
    EXPECT_EQ(d.pivots().length(), 3u);
    EXPECT_EQ(d.setPivoting(2, DoubleChDecomp::INITIAL), -1);
    EXPECT_EQ(d.setPivoting(-1, DoubleChDecomp::INITIAL), 0);
    EXPECT_EQ(d.setPivoting(5, DoubleChDecomp::FREE), 0);  // beyond the matrix to come
    d.factor(a);
    EXPECT_THAT(elements(d.pivots()), ElementsAre(2, 1, 0));
    const DoubleChDecomp copy(d);
    d.factor(a);  // columns 0 and 1 are initial now
    EXPECT_THAT(elements(d.pivots()), ElementsAre(0, 1, 2));
    d.factor(a);  // columns 1 and 2
    EXPECT_THAT(elements(d.pivots()), ElementsAre(1, 2, 0));
    d.doPivoting(0);
    d.factor(a);
    EXPECT_THAT(elements(d.pivots()), ElementsAre(0, 1, -1)) << "counted down all the same";
    EXPECT_EQ(d.permute(DoubleVec(7, 1.0)).length(), 7u);
    d.doPivoting(1);
    EXPECT_THAT(elements(d.permute(vec({5, 6, 7}))), ElementsAre(5, 6, 0));
    EXPECT_THAT(elements(d.unpermute(vec({5, 6, 7}))), ElementsAre(5, 6, 0));

    EXPECT_THAT(elements(copy.pivots()), ElementsAre(2, 1, 0)) << "copies keep their own";
    EXPECT_THAT(elements(copy.permute(vec({5, 6, 7}))), ElementsAre(7, 6, 5));
    EXPECT_THAT(elements(copy.solve(vec({1, 9, 8}))), ElementsAre(1, 1, 2));
    copy.pivots() = 7;
    EXPECT_THAT(elements(copy.solve(vec({1, 9, 8}))), ElementsAre(1, 1, 2));
}

TEST(DoubleChDecompTest, UpdatesWriteWhatIsAskedForAndShareR)
{
    DoubleChDecomp d = factored();
    const DoubleChDecomp copy(d);
    DoubleVec buffer(12, 0.0);
    DoubleGenMat Z(buffer.slice(11, 6, -2), 3, 2);  // reversed, with gaps
    const DoubleVec y = vec({5, 0});
    DoubleVec rho = vec({0, -1});
    DoubleVec c(3, 0.0);
    DoubleVec s(3, 0.0);
    d.update(vec({0, 0.75}), &Z, &y, &rho, &c, &s);  // R(1,1) becomes 1.25; x is padded
    EXPECT_THAT(elements(copy.solve(vec({1, 25, 1}))), ElementsAre(1, DoubleEq(16), 1));
    EXPECT_THAT(elements(c), ElementsAre(1, DoubleEq(0.8), 1));
    EXPECT_THAT(elements(s), ElementsAre(0, DoubleEq(0.6), 0));
    EXPECT_THAT(elements(Z.col(0)), ElementsAre(0, DoubleEq(3), 0));
    EXPECT_THAT(elements(rho), ElementsAre(DoubleEq(4), -1)) << "a lost norm stays lost";
    EXPECT_EQ(d.downdate(vec({0, 0.75}), &Z, &y, &rho), 1) << "because of the lost one";
    EXPECT_THAT(elements(rho), ElementsAre(DoubleNear(0, 1e-6), -1)) << "half the digits";
    EXPECT_THAT(elements(Z.col(0)), ElementsAre(0, DoubleNear(0, 10 * kEps), 0));
    EXPECT_EQ(d.downdate(vec({2, 0, 0})), -1);
    EXPECT_EQ(d.downdate(vec({std::numeric_limits<double>::quiet_NaN()})), -1);
    EXPECT_THAT(elements(d.solve(vec({1, 1, 1}))), ElementsAre(1, DoubleNear(1, 10 * kEps), 1));

    DoubleChDecomp negative = factored(1);
    negative.update(vec({-3}));  // R becomes -sqrt(10)
    EXPECT_EQ(negative.isPD(), 1);
    EXPECT_EQ(negative.fail(), 1) << "the diagonal counts with its sign";
}

TEST(DoubleChDecompTest, ShiftsCountColumnsFromOneAndLeaveThePivots)
{
    for (const int direction : {0, 1}) {
        DoubleChDecomp d = factored(4);
        DoubleGenMat Z(vec({1, 2, 3, 4}), 4, 1);
        DoubleVec c(1, 7.0);
        DoubleVec s = DoubleVec(2, 7.0).slice(1, 1, -1);
        d.shift(2, 3, direction, &Z, &c, &s);
        EXPECT_THAT(elements(Z.col(0)), ElementsAre(1, 3, -2, 4)) << "a row of R is negative now";
        EXPECT_EQ(d.fail(), 0) << "seen from the last positive pivot only, the fourth";
        EXPECT_THAT(elements(c), ElementsAre(0));
        EXPECT_THAT(elements(s), ElementsAre(1));
        EXPECT_THAT(elements(d.pivots()), ElementsAre(0, 1, 2, 3));
    }
}
