// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TnumberSequence.h"

#include <climits>
#include <csignal>

#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

TnumberSequence knots(const Numbers& values)
{
    return TnumberSequence(DoubleVec(values.data(), static_cast<unsigned>(values.size())));
}

TEST(TnumberSequenceTest, FindIntervalCountsUpToTheNumberAndStepsLeftOverWholeRuns)
{
    const TnumberSequence s = knots({0, 0, 0, 1, 2, 2, 2});
    struct Case {
        double x;
        int right, left;
    };
    for (const Case& c : {Case{-1, -1, -1}, Case{0, 2, 0}, Case{0.5, 2, 0}, Case{1, 3, 2},
                          Case{1.5, 3, 2}, Case{2, 6, 3}, Case{5, 6, 3}}) {
        SCOPED_TRACE(c.x);
        EXPECT_EQ(s.findInterval(c.x, false), c.right);
        EXPECT_EQ(s.findInterval(c.x, true), c.left);
    }
    EXPECT_EQ(TnumberSequence().findInterval(0, true), -1);
    EXPECT_EQ(knots({3}).findInterval(3, true), 0);
}

TEST(TnumberSequenceTest, AddInsertsBehindEqualsAndLeavesEarlierData)
{
    struct Case {
        const char* name;
        Numbers before;
        double x;
        int multiplicity;
        Numbers after;
    };
    for (const Case& c :
         {Case{"to empty", {}, 4, 2, {4, 4}}, Case{"below all", {1, 2}, 0, 1, {0, 1, 2}},
          Case{"between", {0, 0, 1}, 0.5, 2, {0, 0, 0.5, 0.5, 1}},
          Case{"above all", {0, 1}, 7, 1, {0, 1, 7}}, Case{"no times", {0, 1}, 0, 0, {0, 1}},
          Case{"negative times", {0, 1}, 0, -2, {0, 1}}}) {
        SCOPED_TRACE(c.name);
        TnumberSequence s = knots(c.before);
        const DoubleVec earlier = s.data();
        s.add(c.x, c.multiplicity);
        EXPECT_EQ(elements(s.data()), c.after);
        EXPECT_EQ(elements(earlier), c.before);
    }
}

TEST(TnumberSequenceTest, AddingEqualsKeepsThePresentOnesFirst)
{
    TnumberSequence one = knots({-0.0, 1});
    TnumberSequence several(one);
    one.add(0.0, 1);  // equal to -0.0, told apart by the sign
    several.add(vec({0.0, 1}));
    for (const TnumberSequence& s : {one, several})
        EXPECT_TRUE(std::signbit(s(0)) && !std::signbit(s(1)));
}

TEST(TnumberSequenceTest, AddMergesVectorsAsTheyAre)
{
    TnumberSequence s;
    s.add(DoubleVec());
    EXPECT_EQ(s.length(), 0);
    DoubleVec source = vec({1, 9, 3, 9, 5, 9});
    s.add(source.slice(0, 3, 2));  // strided, into an empty sequence: a private copy
    source(0) = 100;
    EXPECT_THAT(elements(s.data()), ElementsAre(1, 3, 5));
    s.add(s.data());
    EXPECT_THAT(elements(s.data()), ElementsAre(1, 1, 3, 3, 5, 5));
    s.add(vec({4}));
    EXPECT_THAT(elements(s.data()), ElementsAre(1, 1, 3, 3, 4, 5, 5));
    TnumberSequence t = knots({0, 10});
    t.add(vec({7, 2, 12}));  // out of order and left so
    EXPECT_THAT(codesRaisedBy([&] { t.add(1, INT_MAX); }), ElementsAre(0x3008));
    EXPECT_THAT(elements(t.data()), ElementsAre(0, 7, 2, 10, 12));
}

TEST(TnumberSequenceTest, BreakpointsAreTheRunsOfExactlyEqualNumbers)
{
    const double above = std::nextafter(0.3, 1);
    struct Case {
        Numbers numbers, breakpoints;
        std::vector<int> multiplicities, which;  // which: from knot -1 to the one past the end
    };
    for (const Case& c : {Case{{}, {}, {}, {0, -1}}, Case{{3}, {3}, {1}, {0, 0, -1}},
                          Case{{0, 0, 1, 1, 2}, {0, 1, 2}, {2, 2, 1}, {0, 0, 0, 1, 1, 2, -1}},
                          Case{{0.3, above}, {0.3, above}, {1, 1}, {0, 0, 1, -1}}}) {
        SCOPED_TRACE(testing::PrintToString(c.numbers));
        const TnumberSequence s = knots(c.numbers);
        EXPECT_EQ(elements(s.breakpoints()), c.breakpoints);
        EXPECT_EQ(elements(s.multiplicities()), c.multiplicities);
        for (int i = -1; i <= s.length(); ++i)
            EXPECT_EQ(s.whichBreakpoint(i), c.which[static_cast<std::size_t>(i + 1)]) << i;
    }
}

TEST(TnumberSequenceTest, ExtraIsWhatOneSequenceHasBeyondTheOther)
{
    struct Case {
        const char* name;
        Numbers a, b;
        double tol;
        Numbers expected;
    };
    for (const Case& c :
         {Case{"one to one", {0, 1}, {0, 0, 1, 1, 1}, 0, {0, 1, 1}},
          Case{"bound inclusive", {0, 2}, {0.5, 2.75}, 0.5, {2.75}},
          Case{"skips what only a has", {0, 1, 2, 3}, {2.5, 4}, 0, {2.5, 4}},
          Case{"a empty", {}, {1, 2}, 1, {1, 2}}, Case{"b empty", {1, 2}, {}, 1, {}}}) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(elements(TnumberSequence::extra(knots(c.a), knots(c.b), c.tol)), c.expected);
    }
}

TEST(TnumberSequenceTest, CopiesArePrivateWhileReferenceAndDataShare)
{
    DoubleVec source = vec({2, 1});
    const TnumberSequence first(source);
    source(0) = 50;
    const TnumberSequence second(first);
    TnumberSequence third;
    EXPECT_EQ(&third.reference(first), &third);
    first.data()(0) = -5;
    EXPECT_THAT(elements(first.data()), ElementsAre(-5, 2));
    EXPECT_THAT(elements(second.data()), ElementsAre(1, 2));
    EXPECT_THAT(elements(third.data()), ElementsAre(-5, 2));
    third.deepenShallowCopy();
    third = second;
    EXPECT_THAT(elements(third.data()), ElementsAre(1, 2));
    EXPECT_EQ(first(0), -5);
}

TEST(TnumberSequenceDeathTest, AssigningAnotherLengthAborts)
{
    TnumberSequence s = knots({1, 2, 3});
    EXPECT_EXIT(s = knots({1}), testing::KilledBySignal(SIGABRT), "do not match \\(3 vs 1\\)");
}

TEST(TnumberSequenceTest, SteppingAccumulates)
{
    const TnumberSequence s(0.0, 0.1, 11);
    ASSERT_EQ(s.length(), 11);
    EXPECT_EQ(s(10), 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1);
    EXPECT_NE(s(10), 1.0);
    EXPECT_EQ(TnumberSequence(1, 1, -3).length(), 0);
}

TEST(TnumberSequenceTest, RemoveTakesOneNumberAndRefusesBadIndices)
{
    TnumberSequence s = knots({1, 2, 3});
    const DoubleVec earlier = s.data();
    EXPECT_FALSE(s.remove(-1));
    EXPECT_FALSE(s.remove(3));
    EXPECT_TRUE(s.remove(1));
    EXPECT_THAT(elements(s.data()), ElementsAre(1, 3));
    EXPECT_TRUE(s.remove(1) && s.remove(0));
    EXPECT_FALSE(s.remove(0));
    EXPECT_THAT(elements(earlier), ElementsAre(1, 2, 3));
}

TEST(TnumberSequenceTest, SortsHonourStridesAndKeepEqualsInOrder)
{
    DoubleVec v = vec({3, -7, 1, -8, 2, -9});
    DoubleVec even = v.slice(0, 3, 2);
    TnumberSequence::sortDoubleVecInPlace(even);
    EXPECT_THAT(elements(v), ElementsAre(1, -7, 2, -8, 3, -9));
    IntVec w = intVec({1, 3, 2, 3});
    IntVec backwards = reverse(w);
    TnumberSequence::sortIntVecInPlace(backwards);
    EXPECT_THAT(elements(w), ElementsAre(3, 3, 2, 1));
    DoubleVec zeros = vec({0.0, -0.0, -1});
    TnumberSequence::sortDoubleVecInPlace(zeros);
    EXPECT_EQ(zeros(0), -1);
    EXPECT_TRUE(!std::signbit(zeros(1)) && std::signbit(zeros(2)));
}

}  // namespace
