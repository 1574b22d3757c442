// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TtupleVector.h"

#include <climits>
#include <utility>

#include "knotwork/platform/base.h"
#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// n points of d coordinates, numbered on from 0.
TtupleVector counted(int d, int n)
{
    return TtupleVector(d, DoubleVec(static_cast<unsigned>(d * n), 0.0, 1.0));
}

std::vector<double> numbers(TtupleVector t)
{
    return elements(t.data());
}

TEST(TtupleVectorTest, CountsAreMagnitudesAndOddOnesMakeTuplesOfOne)
{
    struct Case {
        int d, n;
        unsigned length;
        int size, points;
    };
    for (const Case& c : {Case{3, 2, 6, 3, 2}, Case{0, 5, 0, 1, 0}, Case{-3, 2, 6, 1, 6},
                          Case{3, -2, 6, 1, 6}, Case{4, 0, 0, 4, 0}, Case{INT_MIN, 0, 0, 1, 0}}) {
        SCOPED_TRACE(testing::Message() << c.d << " x " << c.n);
        const std::vector<double> flat(c.length, 1.5);
        for (TtupleVector t : {TtupleVector(c.d, c.n, 1.5), TtupleVector(c.d, c.n, flat.data())}) {
            EXPECT_EQ(t.data().length(), c.length);
            EXPECT_EQ(t.size(), c.size);
            EXPECT_EQ(t.points(), c.points);
            EXPECT_THAT(numbers(t), Each(1.5));
        }
    }
    for (const int d : {65536, INT_MIN, INT_MAX}) {
        TtupleVector t;
        EXPECT_THAT(codesRaisedBy([&] { t.reference(TtupleVector(d, 65536, 0.0)); }),
                    ElementsAre(0x3008));
        EXPECT_EQ(t.points(), 0);
    }
}

TEST(TtupleVectorTest, RowPointersFillNumbersWithLastCoordinates)
{
    const double a[] = {1, 2};
    const double b[] = {3, 4};
    const double* const rows[] = {a, b};
    TtupleVector t(2, 2, rows);
    EXPECT_EQ(t.points(), 2);
    EXPECT_THAT(elements(t.data().slice(0, 2, 1)), ElementsAre(2, 4));
    TtupleVector negative(-2, 2, rows);
    EXPECT_EQ(negative.data().length(), 4u);
    EXPECT_THAT(elements(negative.data().slice(0, 2, 1)), ElementsAre(1, 3));
    for (TtupleVector odd : {negative, TtupleVector(0, 2, rows)}) {  // the latter has no numbers
        EXPECT_EQ(odd.points(), 0);
        EXPECT_EQ(odd.point(0).length() + odd.component(0).length(), 0u);
        odd.resize(3);
        EXPECT_EQ(odd.data().length(), 0u);
    }
}

TEST(TtupleVectorTest, MutableAccessWritesThroughAndConstantAccessCopies)
{
    DoubleVec every(12, 0.0, 1.0);
    TtupleVector t(2, reverse(every).slice(0, 6, 2));  // 11 9 7 5 3 1
    const TtupleVector& constant = t;
    constant.point(0) = -1.0;
    EXPECT_THAT(numbers(t), ElementsAre(11, 9, 7, 5, 3, 1));
    t.point(0) = vec({20, 21});
    t(1)(0) = 22;
    t[2](1) = 25;
    t.component(1)(1) = 23;
    EXPECT_THAT(elements(every), ElementsAre(0, 25, 2, 3, 4, 23, 6, 22, 8, 21, 10, 20));
    EXPECT_EQ(t.component(2).length() + t.component(-1).length(), 0u);
}

TEST(TtupleVectorTest, SharingAndSeparating)
{
    TtupleVector t = counted(2, 2);
    TtupleVector shared(t);
    TtupleVector referenced(5, 1, 0.0);
    referenced.reference(t);
    TtupleVector apart = t.copy();
    t.data()(0) = 9;
    shared.deepenShallowCopy();
    t = apart;
    EXPECT_EQ(shared.data()(0), 9);
    EXPECT_EQ(referenced.point(0)(0), 0) << "assignment writes into the storage that is there";
    EXPECT_THAT(codesRaisedBy([&] { t = TtupleVector(1, 4, 5.0); }), IsEmpty());
    EXPECT_THAT(codesRaisedBy([&] { t = TtupleVector(2, 3, 5.0); }), IsEmpty());
    EXPECT_THAT(numbers(t), ElementsAre(0, 1, 2, 3)) << "another shape does nothing";
    DoubleVec before = t.point(1);
    t.resize(3);
    EXPECT_THAT(numbers(t), ElementsAre(0, 1, 2, 3, 0, 0));
    t.resize(-1);
    EXPECT_EQ(t.data().length(), 0u);
    EXPECT_THAT(elements(before), ElementsAre(2, 3));
}

TEST(TtupleVectorTest, RunsOfPointsAreViewsOrCopies)
{
    TtupleVector t = counted(2, 4);
    TtupleVector copied = t.rPoints(1, 2);
    t.lPoints(1, 2).point(0) = -1.0;
    EXPECT_THAT(numbers(t), ElementsAre(0, 1, -1, -1, 4, 5, 6, 7));
    EXPECT_THAT(numbers(copied), ElementsAre(2, 3, 4, 5));
    using Range = std::pair<int, int>;
    for (const auto& [first, count] :
         {Range{3, 2}, Range{-1, 2}, Range{1, 0}, Range{3, -1}, Range{2, INT_MAX}}) {
        SCOPED_TRACE(testing::Message() << first << ", " << count);
        for (TtupleVector found : {t.lPoints(first, count), t.rPoints(first, count)}) {
            EXPECT_EQ(found.size(), 2);
            EXPECT_EQ(found.data().length(), 0u);
        }
    }
    EXPECT_THAT(numbers(t.rPoints(intVec({3, 0, 3}))), ElementsAre(6, 7, 0, 1, 6, 7));
    EXPECT_EQ(t.rPoints(intVec({0, 4})).size(), 1);
}

TEST(TtupleVectorTest, ComponentsAreCopiesInTheAskedOrder)
{
    const TtupleVector t = counted(3, 2);
    EXPECT_THAT(numbers(t.components(intVec({2, 0}))), ElementsAre(2, 0, 5, 3));
    EXPECT_THAT(numbers(t.components(1, 2)), ElementsAre(1, 2, 4, 5));
    for (const TtupleVector& bad :
         {t.components(intVec({0, 3})), t.components(intVec({-1})), t.components(IntVec()),
          t.components(2, 2), t.components(-1, 2), t.components(1, 0), t.components(1, INT_MAX)}) {
        EXPECT_EQ(bad.size(), 1);
        EXPECT_EQ(bad.points(), 0);
    }
}

TEST(TtupleVectorTest, SetPointsStopsAtTheFirstPointThatIsNotThere)
{
    TtupleVector t(3, 3, 0.0);
    EXPECT_TRUE(t.setPoints(intVec({2, 0, 2}), counted(2, 3)));
    EXPECT_THAT(numbers(t), ElementsAre(2, 3, 0, 0, 0, 0, 4, 5, 0));
    EXPECT_FALSE(t.setPoints(intVec({1, 3, 0}), TtupleVector(3, 3, 9.0)));
    EXPECT_FALSE(t.setPoints(intVec({0, 1}), TtupleVector(1, 1, 8.0)));
    EXPECT_THAT(numbers(t), ElementsAre(8, 3, 0, 9, 9, 9, 4, 5, 0));
    EXPECT_FALSE(t.setPoints(IntVec(), TtupleVector(4, 1, 0.0)));
    EXPECT_TRUE(t.setPoints(9, 0, TtupleVector(4, 1, 0.0)));

    TtupleVector run = counted(2, 4);
    EXPECT_TRUE(run.setPoints(1, 3, run)) << "overlapping";
    EXPECT_THAT(numbers(run), ElementsAre(0, 1, 0, 1, 2, 3, 4, 5));
    EXPECT_TRUE(run.setPoints(0, 2, TtupleVector(1, 5, -1.0)));
    EXPECT_FALSE(run.setPoints(0, 3, TtupleVector(2, 1, 7.0)));
    for (const int first : {-1, 3, INT_MAX})
        EXPECT_FALSE(run.setPoints(first, 2, TtupleVector(2, 2, 8.0)));
    EXPECT_FALSE(run.setPoints(0, 1, TtupleVector(3, 1, 8.0)));
    EXPECT_THAT(numbers(run), ElementsAre(7, 7, -1, 1, 2, 3, 4, 5));
}

TEST(TtupleVectorTest, TransformationCarriesTheWeight)
{
    T4dDblMatrix m;
    m(3, 0) = 10;  // moves x
    m(0, 3) = 1;   // and lets x into w
    TxformMatrix xf(m);
    using Numbers = std::vector<double>;
    for (const auto& [d, expected] : {std::pair{2, Numbers{0, 1, 2, 3}},
                                      {3, {10, 1, 2, 13, 4, 5}},
                                      {5, {30, 1, 2, 3, 4, 85, 6, 7, 13, 9}}}) {
        TtupleVector t = counted(d, 2);
        t.applyTransformation(xf);
        EXPECT_EQ(numbers(t), expected);
    }
    EXPECT_THAT(elements(TtupleVector(2, vec({3, 4, -5, 12})).vecLen()), ElementsAre(5, 13));
}

}  // namespace
