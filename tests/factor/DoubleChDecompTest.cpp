// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleChDecomp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <limits>

#include "knotwork/factor/DoubleLeastSqCh.h"
#include "knotwork/factor/DoubleLeastSqInc.h"
#include "knotwork/factor/TriangularSolve.h"
#include "tests/factor/MatrixChecks.h"
#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"

namespace {

using checks::kEps;
using knotwork_test::elements;
using knotwork_test::mat;
using knotwork_test::RecordingHandler;
using knotwork_test::vec;
using testing::DoubleEq;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::IsNan;

DoubleChDecomp factored(unsigned p = 3)
{
    return DoubleChDecomp(checks::identity(p));
}

/// A shift of three columns that must be refused and change nothing.
void shift(int first, int last, int direction, unsigned zRows, unsigned c, unsigned s)
{
    DoubleChDecomp d = factored();
    DoubleGenMat Z(zRows, 2, 1.0);
    DoubleVec cosines(c, 0.0);
    DoubleVec sines(s, 0.0);
    d.shift(first, last, direction, &Z, &cosines, &sines);
    EXPECT_TRUE(Z == DoubleGenMat(zRows, 2, 1.0));
    EXPECT_TRUE(cosines.isZero(0.0));
}

/// A downdate and an update of three columns and two right-hand sides, likewise.
void change(unsigned zRows, unsigned c, unsigned s, const DoubleVec* y, DoubleVec* rho)
{
    DoubleChDecomp d = factored();
    DoubleGenMat Z(zRows, 2, 1.0);
    DoubleVec cosines(c, 0.0);
    DoubleVec sines(s, 0.0);
    const DoubleVec x(3, 0.1);
    EXPECT_EQ(d.downdate(x, &Z, y, rho, &cosines, &sines), -1);
    d.update(x, &Z, y, rho, &cosines, &sines);
    EXPECT_TRUE(Z == DoubleGenMat(zRows, 2, 1.0));
    EXPECT_TRUE(d.solve(DoubleVec(3, 1.0)) == DoubleVec(3, 1.0)) << "the factor is as it was";
}

struct Misuse {
    unsigned code;
    const char* message;
    std::function<void()> commit;
};

std::vector<Misuse> misuses()
{
    static const char* const kUnsolvable =
        "Can't solve system of equations, matrix not successfully factorized";
    static const DoubleVec one(1, 1.0);
    static const DoubleVec two(2, 1.0);
    static const DoubleVec three(3, 1.0);
    static DoubleVec rho1(1, 1.0);
    static DoubleVec rho2(2, 1.0);
    static const DoubleVec reversed = reverse(two);
    return {
        {0x5010, "Matrix must have more rows than cols to be factorizable, but 2<3",
         [] {
             DoubleChDecomp d(checks::identity(4));
             d.factor(DoubleGenMat(2, 3, 1.0));
             EXPECT_EQ(d.lastPosFactor(), -2);  // as if new
             EXPECT_EQ(d.fail(), 0);
         }},
        {0x5012, "Pivoting position specifier must be INITIAL,FREE, or FINAL, not 2",
         [] { DoubleChDecomp().setPivoting(5, 2); }},
        {0x5001, "Condition number not calculated",
         [] {
             DoubleChDecomp d = factored();
             EXPECT_EQ(d.doPivoting(0), 1);
             EXPECT_EQ(d.condition(), -1.0);
         }},
        {0x5004, "vector wrong length to permute (2!=3)", [] { factored().permute(two); }},
        {0x5004, "vector wrong length to permute (5!=3)",
         [] { factored().unpermute(DoubleVec(5, 1.0)); }},
        {0x5002, "b vector length wrong (2!=3)", [] { factored().partialSolve(two, 3); }},
        {0x5002, "b vector length wrong (2!=4294967295)", [] { factored().partialSolve(two, -1); }},
        {0x5011, kUnsolvable,
         [] {
             DoubleChDecomp(mat({{1, 2}, {2, 1}})).partialSolve(two, 2);
         }},
        {0x5011, kUnsolvable, [] { DoubleChDecomp().solve(DoubleVec()); }},
        {0x5005, "Invalid Cholesky shift direction", [] { shift(1, 2, 2, 3, 1, 1); }},
        {0x5005, "Invalid Cholesky shift direction", [] { shift(2, 1, -1, 2, 7, 7); }},
        {0x5006, "Invalid Cholesky shift columns (2,1)", [] { shift(2, 1, 0, 2, 7, 7); }},
        {0x5006, "Invalid Cholesky shift columns (0,2)", [] { shift(0, 2, 1, 3, 2, 2); }},
        {0x5006, "Invalid Cholesky shift columns (1,3)", [] { shift(1, 3, 1, 3, 2, 2); }},
        {0x5007, "Data matrix wrong height (2!=3)", [] { shift(1, 2, 1, 2, 7, 7); }},
        {0x5008, "Vector to hold sines or cosines wrong length (3!=1)",
         [] { shift(1, 2, 1, 3, 1, 3); }},
        {0x5007, "Data matrix wrong height (4!=3)", [] { change(4, 7, 7, &reversed, nullptr); }},
        {0x5008, "Vector to hold sines or cosines wrong length (7!=3)",
         [] { change(3, 7, 6, &reversed, nullptr); }},
        {0x5008, "Vector to hold sines or cosines wrong length (6!=3)",
         [] { change(3, 3, 6, &reversed, nullptr); }},
        {0x500C, "vec pointers must have stride == 1", [] { change(3, 3, 3, &reversed, nullptr); }},
        {0x5009, "Different number of residuals than data columns (1!=2)",
         [] { change(3, 3, 3, &three, &rho1); }},
        {0x5009, "Different number of residuals than data columns (2!=2)",
         [] { change(3, 3, 3, nullptr, &rho2); }},
        {0x5009, "Different number of residuals than data columns (0!=2)",
         [] { change(3, 3, 3, &two, nullptr); }},
        {0x5009, "Different number of residuals than data columns (0!=0)",
         [] { factored().update(three, nullptr, &one); }},
        {0x5002, "b vector length wrong (2!=3)",
         [] { DoubleLeastSqCh(checks::identity(3)).solve(two); }},
        {0x5011, kUnsolvable, [] { EXPECT_EQ(DoubleLeastSqInc(2, 1).solve(0).length(), 0u); }},
        {0x5011, kUnsolvable, [] { DoubleLeastSqInc(0, 1).solve(0); }},
        {0x500B, "Data 1 doesn't exist, only 1 data columns",
         [] { EXPECT_THAT(DoubleLeastSqInc(2, 1).residualNorm(1), IsNan()); }},
        {0x500B, "Data -1 doesn't exist, only 2 data columns",
         [] {
             DoubleLeastSqInc fit(1, 2);
             DoubleVec x(1, 1.0);
             fit.addEquation(x, two);
             EXPECT_THAT(elements(fit.solve(-1)), ElementsAre(IsNan()));
         }},
        {0x5009, "Different number of residuals than data columns (1!=1)",
         [] {
             DoubleVec x(2, 1.0);
             DoubleLeastSqInc(2, 1).addEquation(x, two);
         }},
        {0x5002, "b vector length wrong (3!=2)",
         [] { knotwork::upperTriSolve(checks::identity(2), three); }},
        {0x5002, "b vector length wrong (1!=2)",
         [] { knotwork::lowerTriSolve(DoubleGenMat(5, 2, 1.0), one); }},
        {0x5011, kUnsolvable,
         [] {
             const DoubleGenMat t = mat({{1, 0}, {0, -0.0}});
             EXPECT_TRUE(knotwork::lowerTriTransposeSolve(t, two) == two);
         }},
    };
}

}  // namespace

TEST(CholeskyMisuseTest, RaisesItsErrorAndStaysInItsMemoryWhenTheHandlerReturns)
{
    RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
    for (const Misuse& misuse : misuses()) {
        SCOPED_TRACE(misuse.message);
        handler.forget();
        misuse.commit();
        ASSERT_FALSE(handler.raised().empty());
        EXPECT_EQ(handler.raised()[0].code, misuse.code);
        EXPECT_EQ(handler.raised()[0].message, misuse.message);
    }
}

TEST(CholeskyMisuseDeathTest, EndsTheProcess)
{
    EXPECT_EXIT(factored().shift(2, 1, 0), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr("** Invalid Cholesky shift columns (2,1).\n"));
}

TEST(DoubleChDecompTest, JudgesAFactorByWhatItsRulesSay)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        const char* name;
        DoubleGenMat a;
        int isPD, last, good;
        double condition;
    } const cases[] = {
        {"identity", checks::identity(3), 1, 2, 1, 0.0},  // all positive has none
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
