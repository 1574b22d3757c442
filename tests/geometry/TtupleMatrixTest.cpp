// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TtupleMatrix.h"

#include <climits>

#include "knotwork/platform/base.h"
#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// A grid whose numbers count on from 0.
TtupleMatrix counted(int d, int rows, int cols)
{
    return TtupleMatrix(d, rows, cols, DoubleVec(static_cast<unsigned>(d * rows * cols), 0.0, 1.0));
}

std::vector<double> numbers(TtupleMatrix m)
{
    return elements(m.data());
}

TEST(TtupleMatrixTest, ShapesAreMagnitudesAndOddOnesMakeTuplesOfOne)
{
    using Shape = std::vector<int>;  // tuple size, rows, columns, numbers
    for (const Shape& c : {Shape{-3, 2, 1, 6}, Shape{3, -2, 1, 6}, Shape{3, 2, -1, 6}}) {
        TtupleMatrix m(c[0], c[1], c[2], 1.0);
        EXPECT_EQ((Shape{m.size(), m.rows(), m.cols(), static_cast<int>(m.data().length())}),
                  (Shape{1, 2, 1, c[3]}));
    }
    EXPECT_EQ(TtupleMatrix(1, INT_MIN, 0, 0.0).rows(), INT_MAX);
    for (const int extent : {INT_MAX, INT_MIN}) {
        TtupleMatrix m;
        EXPECT_THAT(codesRaisedBy([&] { m.reference(TtupleMatrix(extent, extent, extent, 0.0)); }),
                    ElementsAre(0x3008));
        EXPECT_EQ(m.rows() + m.cols(), 0);
    }
}

TEST(TtupleMatrixTest, TooFewNumbersAnswerLikeBadIndices)
{
    TxformMatrix xf;
    for (TtupleMatrix m : {TtupleMatrix(0, 2, 3, 1.0), TtupleMatrix(3, 2, 3, DoubleVec(17, 1.0)),
                           TtupleMatrix(1, INT_MAX, INT_MAX, DoubleVec(2, 1.0))}) {
        EXPECT_EQ(m.column(0).length() + m.row(0).length(), 0u);
        EXPECT_EQ(m.component(0).rows() + m.vecLen().rows(), 0u);
        EXPECT_EQ(m.cols(intVec({0})).cols() + m.rows(intVec({0})).rows(), 0);
        m.applyTransformation(xf);
    }
}

TEST(TtupleMatrixTest, ColumnsAreViewsAndRowsAreCopies)
{
    TtupleMatrix m = counted(2, 2, 3);
    const TtupleMatrix& constant = m;
    EXPECT_THAT(elements(m.row(1)), ElementsAre(2, 3, 6, 7, 10, 11));
    m.row(0) = -1.0;
    m.rowVector(0).point(1) = -1.0;
    constant.column(0) = -1.0;
    constant.columnVector(0).point(0) = -1.0;
    constant.point(0, 0) = -1.0;
    EXPECT_EQ(numbers(m), numbers(counted(2, 2, 3)));
    m.point(1, 0) = vec({20, 21});
    m.column(1)(0) = 22;
    m.columnVector(2).point(0)(1) = 23;
    m(1, 2)(1) = 24;
    EXPECT_THAT(numbers(m), ElementsAre(0, 1, 20, 21, 22, 5, 6, 7, 8, 23, 10, 24));
    for (const int bad : {-1, 3}) {
        EXPECT_EQ(m.column(bad).length() + m.row(bad).length(), 0u);
        EXPECT_EQ(m.columnVector(bad).size(), 2);
    }
}

TEST(TtupleMatrixTest, AssignmentWritesIntoSharedStorageOrNotAtAll)
{
    TtupleMatrix m = counted(1, 2, 3);
    TtupleMatrix referenced;
    referenced.reference(m);
    TtupleMatrix apart = m.copy();
    m = TtupleMatrix(1, 2, 3, 7.0);
    EXPECT_EQ(referenced.point(1, 2)(0), 7);
    EXPECT_EQ(apart.point(1, 2)(0), 5);
    for (const TtupleMatrix& other : {counted(1, 3, 2), counted(2, 1, 3), counted(1, 2, 2)})
        EXPECT_THAT(codesRaisedBy([&] { apart = other; }), IsEmpty());
    EXPECT_THAT(numbers(apart), ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(TtupleMatrixTest, ComponentsAreStridedViews)
{
    TtupleMatrix m = counted(3, 2, 2);
    DoubleGenMat z = m.component(2);
    EXPECT_EQ(z.dataVec().stride(), 3);
    z(1, 0) = -5;
    EXPECT_EQ(m.component(3).cols(), 0u);
    m.setComponent(-1, z);
    m.setComponent(3, z);
    m.setComponent(0, DoubleGenMat(2, 3, 1.0));  // a column more than needed
    EXPECT_THAT(numbers(m), ElementsAre(1, 1, 2, 1, 4, -5, 1, 7, 8, 1, 10, 11));
    EXPECT_THAT(codesRaisedBy([&] { m.setComponent(0, DoubleGenMat(3, 2, 2.0)); }),
                ElementsAre(0x300F, 0x300F));
    EXPECT_THAT(codesRaisedBy([&] { m.setComponent(0, DoubleGenMat(2, 1, 3.0)); }),
                ElementsAre(0x4007, 0x300F));
}

TEST(TtupleMatrixTest, PicksColumnsOfPointsAndRowsOfNumbers)
{
    const TtupleMatrix m = counted(2, 1, 3);
    EXPECT_THAT(numbers(m.cols(intVec({2, 0, 2}))), ElementsAre(4, 5, 0, 1, 4, 5));
    EXPECT_EQ(m.cols(intVec({0, 3})).size(), 1);
    const TtupleMatrix single = counted(1, 3, 2);
    EXPECT_THAT(numbers(single.rows(intVec({2, 0}))), ElementsAre(2, 0, 5, 3));
    for (const int bad : {-1, 3})
        EXPECT_THAT(codesRaisedBy([&] { single.rows(intVec({0, bad})); }), ElementsAre(0x3005));
    EXPECT_THAT(codesRaisedBy([&] { m.rows(intVec({0})); }), ElementsAre(0x300F, 0x300F, 0x300F));
}

/// Moves every point it is asked for one unit further in x than the one before.
class Marching : public TxformMatrix {
  public:
    T4dDblMatrix matrix() const override
    {
        T4dDblMatrix m;
        m(3, 0) = ++asked_;
        return m;
    }

  private:
    mutable int asked_ = 0;
};

TEST(TtupleMatrixTest, TransformationWalksRowByRow)
{
    Marching xf;
    TtupleMatrix m(3, 2, 2, 0.0);
    m.applyTransformation(xf);
    EXPECT_THAT(elements(m.vecLen().dataVec()), ElementsAre(1, 3, 2, 4));
}

}  // namespace
