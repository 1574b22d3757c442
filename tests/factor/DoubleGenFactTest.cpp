// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleGenFact.h"

#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

const DoubleGenMat kRegular = mat({{0, 2, 1}, {1, 0, 0}, {0, 0, 4}});  // determinant -8
const DoubleGenMat kSingular = mat({{1, 2}, {2, 4}});

TEST(DoubleGenFactTest, StatusFollowsTheEstimate)
{
    struct {
        const char* name;
        DoubleGenFact fact;
        double condition;  // 2.0: anything in (0, 1]
        int singular, fail;
        std::vector<unsigned> raised;  // by condition()
        double determinant;
    } const cases[] = {
        {"never factored", DoubleGenFact(), -1.0, 0, 1, {0x5001}, 0.0},
        {"empty", DoubleGenFact(DoubleGenMat(), 1), -1.0, 0, 1, {0x5001}, 0.0},
        {"regular, no estimate", DoubleGenFact(kRegular, 0), -1.0, 0, 0, {0x5001}, -8.0},
        {"regular, estimate", DoubleGenFact(kRegular, 7), 2.0, 0, 0, {}, -8.0},
        {"singular, no estimate", DoubleGenFact(kSingular, 0), 0.0, 1, 1, {}, 0.0},
        {"singular, estimate", DoubleGenFact(kSingular, 1), 0.0, 1, 1, {}, 0.0},
        {"zero", DoubleGenFact(DoubleGenMat(2u, 2u, 0.0), 1), 0.0, 1, 1, {}, 0.0},
        {"exchange", DoubleGenFact(mat({{0, 1}, {1, 0}}), 1), 1.0, 0, 0, {}, -1.0},
        {"scalar", DoubleGenFact(mat({{-0.25}}), 1), 1.0, 0, 0, {}, -0.25},
        {"near singular, no estimate",
         DoubleGenFact(mat({{1, 1}, {1, 1 + 0x1p-52}}), 0),
         -1.0,
         0,
         0,
         {0x5001},
         0x1p-52},
        {"empty after singular",
         [] {
             DoubleGenFact f(kSingular, 0);
             f.factor(DoubleGenMat(), 1);
             return f;
         }(),
         0.0,
         1,
         1,
         {},
         0.0},
        {"infinite", DoubleGenFact(mat({{kInf}}), 0), -1.0, 0, 0, {0x5001}, kInf},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        double condition = 0.0;
        EXPECT_EQ(codesRaisedBy([&] { condition = c.fact.condition(); }), c.raised);
        if (c.condition == 2.0)
            EXPECT_TRUE(condition > 0.0 && condition <= 1.0) << condition;
        else
            EXPECT_EQ(condition, c.condition);
        EXPECT_EQ(c.fact.isSingular(), c.singular);
        EXPECT_EQ(c.fact.fail(), c.fail);
        EXPECT_EQ(c.fact.good(), 1 - c.fail);
        EXPECT_DOUBLE_EQ(c.fact.determinant(), c.determinant);
    }
    for (const int estimate : {0, 1})
        for (const DoubleGenMat& a : {mat({{kNaN}}), mat({{1, 0}, {kNaN, 1}})}) {
            const DoubleGenFact f(a, estimate);
            EXPECT_EQ(f.good(), 0);
            EXPECT_EQ(f.condition(), 0.0);
        }
    EXPECT_TRUE(std::isnan(DoubleGenFact(mat({{kNaN}}), 0).determinant()));
}

TEST(DoubleGenFactTest, EstimateFindsWhatPivotsDoNot)
{
    const DoubleGenMat magic = mat({{16, 2, 3, 13}, {5, 11, 10, 8}, {9, 7, 6, 12}, {4, 14, 15, 1}});
    EXPECT_EQ(DoubleGenFact(magic, 1).isSingular(), 1) << "rank 3, but no pivot is exactly 0";
    EXPECT_EQ(DoubleGenFact(magic * 1e140, 1).isSingular(), 1);
}

TEST(DoubleGenFactTest, SolvesViewsAndLeavesItsInputsAlone)
{
    const DoubleGenMat everySecond(strided<double>({0, 1, 0, 2, 0, 0, 1, 0, 4}, 2), 3, 3);
    const DoubleGenFact f(everySecond, 0);
    EXPECT_TRUE(everySecond == kRegular);
    const DoubleVec b = strided<double>({9, 1, 8}, -3);
    EXPECT_THAT(elements(f.solve(b)), ElementsAre(1, 3.5, 2));
    EXPECT_THAT(elements(b), ElementsAre(9, 1, 8));
    const DoubleGenMat inverse = f.inverse();
    EXPECT_THAT(rowsOf(inverse), ElementsAre(ElementsAre(0, 1, 0), ElementsAre(0.5, 0, -0.125),
                                             ElementsAre(0, 0, 0.25)));
    EXPECT_EQ(f.determinant(), -8.0) << "the factors are still there";
}

TEST(DoubleGenFactTest, CopiesShareAndOutliveTheNextFactor)
{
    DoubleGenFact f(kRegular, 1);
    const DoubleGenFact copy(f);
    for (const DoubleGenMat& next : {mat({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), kSingular}) {
        f.factor(next, 0);
        EXPECT_EQ(copy.determinant(), -8.0);
        EXPECT_THAT(elements(copy.solve(vec({9, 1, 8}))), ElementsAre(1, 3.5, 2));
    }
    DoubleGenFact target(mat({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), 0);
    const DoubleGenFact sharer(target);
    target = copy;
    EXPECT_EQ(target.condition(), copy.condition());
    EXPECT_EQ(sharer.determinant(), -8.0) << "elements go into the storage that is there";
}

/// A class with a step of its own between holding the matrix and factoring it.
class ScaledFact : public DoubleGenFact {
  public:
    void factorScaled(const DoubleGenMat& a, double scale)
    {
        hold(a);
        DoubleGenMat held(factored());
        held *= scale;
        dofactor(0);
    }
    double lastPivot() const
    {
        const int n = static_cast<int>(factored().rows());
        return factored()(n - 1, n - 1);
    }
    int firstPivotRow() const { return pivots()(0); }
    double scaledDeterminant() const
    {
        double det[2] = {};
        calldi(factored(), 10, det, nullptr);
        return det[0] * std::pow(10.0, det[1]);
    }
};

TEST(DoubleGenFactTest, DerivedClassesWorkOnTheHeldMatrixAndItsPivots)
{
    const DoubleGenMat a = mat({{1, 2}, {4, 4}});
    ScaledFact f;
    f.factorScaled(a, 2.0);  // [2 4; 8 8] = P^T [1 0; 1/4 1] [8 8; 0 2]
    EXPECT_EQ(f.firstPivotRow(), 2);
    EXPECT_EQ(f.lastPivot(), 2.0);
    EXPECT_DOUBLE_EQ(f.scaledDeterminant(), -16.0);
    EXPECT_EQ(a(1, 0), 4.0) << "held is a copy";
}

}  // namespace
