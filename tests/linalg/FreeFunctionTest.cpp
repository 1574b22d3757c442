// SPDX-License-Identifier: MIT
// Free functions as hosts write them: on picks and on matrices that convert, qualified, and by
// address. That a line compiles is half of its test.

#include "knotwork/knotwork.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

TEST(FreeFunctionTest, VectorPicksTakeThePlaceOfVectors)
{
    const DoubleVec v = vec({1, -2, 4, 8});
    const DoubleVecPick p = v.vecPick(intVec({3, 1}));
    const DoubleVecPick q = v.vecPick(intVec({0, 2}));
    EXPECT_EQ(sum(v.vecPick(intVec({3, 0}))), 9.0);
    EXPECT_EQ(prod(p), -16.0);
    EXPECT_EQ(dot(p, q), 0.0);
    EXPECT_EQ(dot(p, vec({1, 1})), 6.0);
    EXPECT_EQ(maxIndex(p), 0);
    EXPECT_EQ(minValue(p), -2.0);
    EXPECT_THAT(elements(p + q), ElementsAre(9, 2));
    EXPECT_THAT(elements(p - q), ElementsAre(7, -6));
    EXPECT_THAT(elements(p * vec({2, 3})), ElementsAre(16, -6));
    EXPECT_THAT(elements(-p), ElementsAre(-8, 2));
    EXPECT_THAT(elements(p + 1.0), ElementsAre(9, -1));
    EXPECT_THAT(elements(p * 2.0), ElementsAre(16, -4));
    EXPECT_THAT(elements(abs(p)), ElementsAre(8, 2));
    EXPECT_THAT(elements(cumsum(p)), ElementsAre(8, 6));
    EXPECT_TRUE(p == p && p != q);

    const IntVec whole = intVec({5, 6});
    EXPECT_EQ(sum(whole.vecPick(intVec({1, 1}))), 12);
    EXPECT_EQ(dot(whole, vec({0.5, 0.5})), 5.5) << "whole numbers beside doubles are doubles";
}

TEST(FreeFunctionTest, MatrixPicksTakeThePlaceOfMatrices)
{
    const DoubleGenMat a = mat({{1, 2, 3}, {4, 5, 6}});
    const IntVec r = intVec({1, 0});
    const IntVec c = intVec({0, 2});  // a(r, c) = [4 6; 1 3]
    EXPECT_THAT(rowsOf(transpose(a(r, c))), ElementsAre(ElementsAre(4, 1), ElementsAre(6, 3)));
    EXPECT_THAT(rowsOf(product(a(r, c), a(r, c))),
                ElementsAre(ElementsAre(22, 42), ElementsAre(7, 15)));
    EXPECT_THAT(elements(product(a(r, c), vec({1, 1}))), ElementsAre(10, 4));
    EXPECT_THAT(rowsOf(a(r, c) + 1.0), ElementsAre(ElementsAre(5, 7), ElementsAre(2, 4)));
    EXPECT_THAT(rowsOf(12.0 / a(r, c)), ElementsAre(ElementsAre(3, 2), ElementsAre(12, 4)));
    EXPECT_THAT(rowsOf(a(r, c) - a(r, c)), ElementsAre(ElementsAre(0, 0), ElementsAre(0, 0)));
    EXPECT_THAT(rowsOf(transposeProduct(a(r, c), mat({{1}, {0}}))),
                ElementsAre(ElementsAre(4), ElementsAre(6)));
}

TEST(FreeFunctionTest, MatricesOfAnotherKindConvert)
{
    const IntGenMat whole = mat<IntGenMat>({{1, 2}, {3, 4}});
    EXPECT_THAT(elements(product(whole, vec({0.5, 0.25}))), ElementsAre(1, 2.5));
    EXPECT_THAT(elements(product(vec({0.5, 0.25}), whole)), ElementsAre(1.25, 2));
    EXPECT_THAT(elements(product(whole, intVec({1, 1}))), ElementsAre(3, 7));

    DoubleSymMat s(2, 2, 1.0);
    s(1, 1) = 3.0;
    EXPECT_THAT(rowsOf(product(s, s)), ElementsAre(ElementsAre(2, 4), ElementsAre(4, 10)));
    EXPECT_THAT(elements(product(s, vec({1, 1}))), ElementsAre(2, 4));
    const DoubleSymMat turned = transpose(s);
    EXPECT_EQ(turned.data(), s.data()) << "still the symmetric one's own, which copies nothing";
    DoubleUpperTriMat u(2, 2);
    u = 1.0;
    EXPECT_THAT(rowsOf(product(s, u)), ElementsAre(ElementsAre(1, 2), ElementsAre(1, 4)));
}

TEST(FreeFunctionTest, FunctionsAreGlobalAndHaveAddresses)
{
    const DoubleVec v = vec({1, 2});
    EXPECT_EQ(::sum(v), 3.0);
    EXPECT_EQ(::dot(v, v), 5.0);
    EXPECT_THAT(elements(::reverse(v)), ElementsAre(2, 1));
    double (*const total)(const DoubleVec&) = &::sum;
    int (*const wholeTotal)(const IntVec&) = &::sum;
    signed char (*const byteTotal)(const SCharVec&) = &::sum;
    DoubleGenMat (*const times)(const DoubleGenMat&, const DoubleGenMat&) = &::product;
    DoubleUpperTriMat (*const turn)(const DoubleLowerTriMat&) = &::transpose;
    EXPECT_EQ(total(v), 3.0);
    EXPECT_EQ(wholeTotal(intVec({1, 2})), 3);
    EXPECT_EQ(byteTotal(vecOf<SCharVec>({100, 100})), -56);
    EXPECT_EQ(times(mat({{2}}), mat({{3}}))(0, 0), 6.0);
    EXPECT_EQ(turn(DoubleLowerTriMat()).rows(), 0u);
}

// What an exact match took before is not shared with a conversion now.
TEST(FreeFunctionTest, ScalarsStayWithTheElementType)
{
    EXPECT_THAT(elements(intVec({1, 2}) + 1), ElementsAre(2, 3));
    EXPECT_THAT(elements(vecOf<SCharVec>({1, 2}) * 3), ElementsAre(3, 6));
    EXPECT_THAT(rowsOf(mat<IntGenMat>({{7}}) / 2), ElementsAre(ElementsAre(3)));
    EXPECT_THAT(elements(vec({1, 2}) + 1), ElementsAre(2, 3));
    DoubleSymMat s(1, 1, 2.0);
    EXPECT_EQ((s + 1)(0, 0), 3.0);
    const TnumberSequence knots = vec({2, 1});
    EXPECT_EQ(knots(0), 1.0) << "a vector is as good as a sequence";
}

}  // namespace
