// SPDX-License-Identifier: MIT
// What the two general matrices share, tested on both.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "tests/support/Arrays.h"
#include "tests/support/CaseName.h"

namespace {

using namespace knotwork_test;
using testing::ElementsAre;
using testing::IsEmpty;

template <class Mat>
class GenMatTest : public testing::Test {
};
using MatTypes = testing::Types<DoubleGenMat, IntGenMat>;
TYPED_TEST_SUITE(GenMatTest, MatTypes, ElementName);

template <class Mat>
using VecOf = decltype(std::declval<Mat>().dataVec());

static_assert(!std::is_convertible_v<DoubleGenMat*, DoubleVec*>, "products would be ambiguous");

template <class Mat>
Mat oneToSix()  // {{1, 3, 5}, {2, 4, 6}}
{
    return Mat(VecOf<Mat>(6u, 1, 1), 2, 3);
}

TYPED_TEST(GenMatTest, ConstructorsAreColumnMajor)
{
    using T = typename TypeParam::Element;
    const TypeParam empty;
    EXPECT_EQ(empty.rows(), 0u);
    EXPECT_EQ(empty.cols(), 0u);
    const T numbers[] = {1, 2, 3, 4, 5, 6};
    const TypeParam m(numbers, 2, 3);
    EXPECT_THAT(rowsOf(m), ElementsAre(ElementsAre(1, 3, 5), ElementsAre(2, 4, 6)));
    EXPECT_NE(m.data(), numbers);
    EXPECT_THAT(rowsOf(TypeParam(2u, 2u, T{7})), ElementsAre(ElementsAre(7, 7), ElementsAre(7, 7)));
    EXPECT_EQ(TypeParam(4u, 5u).dataVec().length(), 20u);
    EXPECT_EQ(TypeParam(0u, 5u).cols(), 5u) << "empty matrices keep their shape";
    EXPECT_STREQ(TypeParam::className,
                 (std::is_same_v<TypeParam, IntGenMat> ? "IntGenMat" : "DoubleGenMat"));
    EXPECT_EQ(DoubleGenMat(mat<IntGenMat>({{INT_MIN, INT_MAX}}))(0, 1), 2147483647.0);
}

TYPED_TEST(GenMatTest, MatrixOverAVectorIsAView)
{
    VecOf<TypeParam> v(6u, 1, 1);
    TypeParam m(v, 2, 3);
    EXPECT_THAT(elements(m.row(0)), ElementsAre(1, 3, 5));
    EXPECT_THAT(elements(m.col(1)), ElementsAre(3, 4));
    m(1, 2) = 66;
    EXPECT_EQ(v(5), 66);
    TypeParam backwards(reverse(v), 3, 2);
    EXPECT_THAT(rowsOf(backwards),
                ElementsAre(ElementsAre(66, 3), ElementsAre(5, 2), ElementsAre(4, 1)));
    EXPECT_THAT(elements(backwards.row(1)), ElementsAre(5, 2));
    EXPECT_THAT(elements(backwards.col(1)), ElementsAre(3, 2, 1));
    EXPECT_THAT(elements(backwards.diagonal(0)), ElementsAre(66, 2));
}

TYPED_TEST(GenMatTest, CopiesShareAndAssignmentCopiesElements)
{
    TypeParam a = oneToSix<TypeParam>();
    TypeParam shared(a);
    TypeParam apart = a.copy();
    a.dataVec()(0) = 10;
    EXPECT_EQ(shared(0, 0), 10);
    EXPECT_EQ(apart(0, 0), 1);
    EXPECT_EQ(a.deepCopy().cols(), 3u);
    apart = a;
    EXPECT_NE(apart.data(), a.data());
    EXPECT_TRUE(apart == a);
    apart.zero();
    EXPECT_THAT(elements(apart.dataVec()), ElementsAre(0, 0, 0, 0, 0, 0));
    apart = 4;
    EXPECT_EQ(apart(1, 1), 4);
    shared.deepenShallowCopy();
    shared(0, 0) = 11;
    EXPECT_EQ(a(0, 0), 10);
    EXPECT_EQ(&shared.reference(mat<TypeParam>({{1}, {2}})), &shared);
    EXPECT_EQ(shared.rows(), 2u);
    EXPECT_EQ(shared.cols(), 1u);
    shared.reference(shared);
    EXPECT_EQ(shared(1, 0), 2);
    TypeParam square = mat<TypeParam>({{1, 2}, {3, 4}});
    square = TypeParam(reverse(square.dataVec()), 2, 2);
    EXPECT_THAT(rowsOf(square), ElementsAre(ElementsAre(4, 3), ElementsAre(2, 1))) << "overlapping";
}

TYPED_TEST(GenMatTest, EveryAccessorReachesTheSameElement)
{
    TypeParam m = oneToSix<TypeParam>();
    const TypeParam& c = m;
    EXPECT_EQ(m.ref(1, 1), 4);
    EXPECT_EQ(c.val(1, 1), 4);
    EXPECT_EQ(c.sub(1, 1), 4);
    EXPECT_EQ(c(1, 1), 4);
    EXPECT_EQ(c.bcval(1, 1), 4);
    EXPECT_EQ(m.set(1, 1, 44), 44);
    EXPECT_EQ(c(1, 1), 44);
    EXPECT_EQ(m.bcset(0, 2, 55), 55);
    m.bcref(1, 0) = 22;
    m.ref(0, 0) = 11;
    EXPECT_THAT(rowsOf(m), ElementsAre(ElementsAre(11, 3, 55), ElementsAre(22, 44, 6)));
    TypeParam strided(VecOf<TypeParam>(8u, 0, 1).slice(0, 4, 2), 2, 2);
    EXPECT_EQ(strided(1, 1), 6);
    EXPECT_EQ(strided.sub(1, 1), 3) << "sub leaves the stride out";
}

TYPED_TEST(GenMatTest, RowsColumnsAndDiagonalsAreViews)
{
    TypeParam m(VecOf<TypeParam>(12u, 0, 1), 3, 4);  // m(i, j) is 3 j + i
    struct {
        int k;
        std::vector<int> expected;
    } const diagonals[] = {{0, {0, 4, 8}}, {1, {3, 7, 11}}, {2, {6, 10}},
                           {3, {9}},       {-1, {1, 5}},    {-2, {2}}};
    for (const auto& d : diagonals) {
        const std::vector<typename TypeParam::Element> expected(d.expected.begin(),
                                                                d.expected.end());
        EXPECT_EQ(elements(m.diagonal(d.k)), expected) << d.k;
        EXPECT_EQ(elements(m.bcdiagonal(d.k)), expected) << d.k;
    }
    EXPECT_EQ(m.diagonal(9).length(), 0u);
    EXPECT_EQ(m.diagonal(-9).length(), 0u);
    EXPECT_THAT(elements(m.bcrow(2)), ElementsAre(2, 5, 8, 11));
    EXPECT_THAT(elements(m.bccol(3)), ElementsAre(9, 10, 11));
    m.row(1) = typename TypeParam::Element{1};
    m.col(0) = m.col(3);
    m.diagonal(-1) = 5;
    EXPECT_THAT(rowsOf(m), ElementsAre(ElementsAre(9, 3, 6, 9), ElementsAre(5, 1, 1, 1),
                                       ElementsAre(11, 5, 8, 11)));
}

TYPED_TEST(GenMatTest, ResizeKeepsPlacesAndClearsTheRest)
{
    for (const unsigned rows : {0u, 1u, 2u, 3u})
        for (const unsigned cols : {0u, 2u, 3u, 4u}) {
            SCOPED_TRACE(testing::Message() << rows << " x " << cols);
            TypeParam m = oneToSix<TypeParam>();
            const TypeParam sharer(m);
            m.resize(rows, cols);
            ASSERT_EQ(m.rows(), rows);
            ASSERT_EQ(m.cols(), cols);
            ASSERT_EQ(m.dataVec().length(), rows * cols);
            for (int i = 0; i < static_cast<int>(rows); ++i)
                for (int j = 0; j < static_cast<int>(cols); ++j)
                    EXPECT_EQ(m(i, j), i < 2 && j < 3 ? 2 * j + i + 1 : 0) << i << ' ' << j;
            EXPECT_EQ(sharer(1, 2), 6);
            EXPECT_EQ(m.data() == sharer.data(), rows == 2 && cols == 3);
        }
    TypeParam wide = oneToSix<TypeParam>();
    wide.resize(3, 2);  // as many elements as before
    EXPECT_THAT(rowsOf(wide), ElementsAre(ElementsAre(1, 3), ElementsAre(2, 4), ElementsAre(0, 0)));
}

TYPED_TEST(GenMatTest, ArithmeticIsElementByElement)
{
    using T = typename TypeParam::Element;
    const TypeParam a = mat<TypeParam>({{7, -2}, {0, 5}});
    const TypeParam b = mat<TypeParam>({{2, 4}, {-3, 2}});
    constexpr bool kReal = std::is_floating_point_v<T>;
    const auto quotient = [](T x, T y) { return static_cast<T>(x / y); };
    const auto byScalar = [&](T x, T y) { return kReal ? x * (T{1} / y) : quotient(x, y); };
    struct {
        const char* name;
        TypeParam result;
        std::vector<T> expected;  // row by row
    } const cases[] = {
        {"a + b", a + b, {9, 2, -3, 7}},
        {"a - b", a - b, {5, -6, 3, 3}},
        {"a * b", a * b, {14, -8, T{0} * T{-3}, 10}},
        {"a / b", a / b, {quotient(7, 2), quotient(-2, 4), quotient(0, -3), quotient(5, 2)}},
        {"a + 3", a + T{3}, {10, 1, 3, 8}},
        {"3 + a", T{3} + a, {10, 1, 3, 8}},
        {"a - 3", a - T{3}, {4, -5, -3, 2}},
        {"3 - a", T{3} - a, {-4, 5, 3, -2}},
        {"a * 3", a * T{3}, {21, -6, 0, 15}},
        {"3 * a", T{3} * a, {21, -6, 0, 15}},
        {"a / 5", a / T{5}, {byScalar(7, 5), byScalar(-2, 5), byScalar(0, 5), byScalar(5, 5)}},
        {"5 / b", T{5} / b, {quotient(5, 2), quotient(5, 4), quotient(5, -3), quotient(5, 2)}},
        {"-a", -a, {-7, 2, kReal ? T(-0.0) : T{0}, -5}},
        {"abs(a)", abs(a), {7, 2, 0, 5}},
        {"a += b", a.copy() += b, {9, 2, -3, 7}},
        {"a -= b", a.copy() -= b, {5, -6, 3, 3}},
        {"a *= b", a.copy() *= b, {14, -8, T{0} * T{-3}, 10}},
        {"a /= b",
         a.copy() /= b,
         {quotient(7, 2), quotient(-2, 4), quotient(0, -3), quotient(5, 2)}},
        {"a += 3", a.copy() += T{3}, {10, 1, 3, 8}},
        {"a -= 3", a.copy() -= T{3}, {4, -5, -3, 2}},
        {"a *= 3", a.copy() *= T{3}, {21, -6, 0, 15}},
        {"a /= 5",
         a.copy() /= T{5},
         {byScalar(7, 5), byScalar(-2, 5), byScalar(0, 5), byScalar(5, 5)}},
        {"++a", ++a.copy(), {8, -1, 1, 6}},
        {"--a", --a.copy(), {6, -3, -1, 4}},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(c.result.rows(), 2u) << c.name;
        const auto rows = rowsOf(c.result);
        const std::vector<T> found = {rows[0][0], rows[0][1], rows[1][0], rows[1][1]};
        EXPECT_EQ(bitsOf(found), bitsOf(c.expected)) << c.name;
    }
    EXPECT_EQ(a(0, 0), 7) << "unchanged";
    TypeParam w = a.copy();
    EXPECT_EQ(&(w += b), &w);
    EXPECT_EQ(w(1, 1), 7) << "in place";
}

TYPED_TEST(GenMatTest, EqualityNeedsTheShapeToo)
{
    const TypeParam m = oneToSix<TypeParam>();
    EXPECT_TRUE(m == m.copy());
    EXPECT_FALSE(m != m.copy());
    EXPECT_TRUE(m != TypeParam(m.dataVec(), 3, 2));
    EXPECT_FALSE(TypeParam(0u, 3u) == TypeParam(3u, 0u));
    TypeParam other = m.copy();
    other(1, 2) = 0;
    EXPECT_TRUE(m != other);
}

TYPED_TEST(GenMatTest, TransposeAndKroneckerProduct)
{
    const TypeParam m = oneToSix<TypeParam>();
    const TypeParam t = transpose(m);
    EXPECT_THAT(rowsOf(t), ElementsAre(ElementsAre(1, 2), ElementsAre(3, 4), ElementsAre(5, 6)));
    EXPECT_NE(t.data(), m.data());
    EXPECT_EQ(transpose(TypeParam(0u, 3u)).rows(), 3u);
    const TypeParam k = kronecker(mat<TypeParam>({{1, -2}, {0, 3}}), mat<TypeParam>({{1, 2, 4}}));
    EXPECT_THAT(rowsOf(k),
                ElementsAre(ElementsAre(1, 2, 4, -2, -4, -8), ElementsAre(0, 0, 0, 3, 6, 12)));
    const TypeParam tall = kronecker(mat<TypeParam>({{1, 2}}), mat<TypeParam>({{1}, {3}}));
    EXPECT_THAT(rowsOf(tall), ElementsAre(ElementsAre(1, 2), ElementsAre(3, 6)));
    const TypeParam none = kronecker(TypeParam(2u, 0u), m);
    EXPECT_EQ(none.rows(), 4u);
    EXPECT_EQ(none.cols(), 0u);
}

TEST(IntGenMatTest, ArithmeticWraps)
{
    const IntGenMat least(1u, 1u, INT_MIN);
    EXPECT_EQ((least - 1)(0, 0), INT_MAX);
    EXPECT_EQ((least / -1)(0, 0), INT_MIN);
    EXPECT_EQ((-least)(0, 0), INT_MIN);
    EXPECT_EQ(abs(least)(0, 0), INT_MIN);
    EXPECT_EQ((least * least)(0, 0), 0);
    EXPECT_EQ((5 - least)(0, 0), INT_MIN + 5);
}

TEST(DoubleGenMatTest, FunctionsOfElements)
{
    const DoubleGenMat m = mat({{1.0, -2.0}, {0.5, 0.0}});
    EXPECT_EQ(m.apply(std::exp)(1, 0), std::exp(0.5));
    EXPECT_EQ(atan2(m, m + 1.0)(0, 1), std::atan2(-2.0, -1.0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(DoubleGenMat(1u, 1u, nan) == DoubleGenMat(1u, 1u, nan));
    EXPECT_TRUE((mat<IntGenMat>({{1}}) + mat({{0.5}})) == mat({{1.5}})) << "ints convert";
}

}  // namespace
