// SPDX-License-Identifier: MIT
// What the two general matrices share, tested on both.

#include <climits>
#include <tuple>

#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

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

// What shares with what, lines and lengths: ViewsTest.
TYPED_TEST(GenMatTest, AssignmentCopiesElements)
{
    TypeParam a = oneToSix<TypeParam>();
    EXPECT_EQ(a.deepCopy().cols(), 3u);
    a = 4;
    EXPECT_EQ(a(1, 1), 4);
    a.zero();
    EXPECT_THAT(elements(a.dataVec()), ElementsAre(0, 0, 0, 0, 0, 0));
    TypeParam square = mat<TypeParam>({{1, 2}, {3, 4}});
    square = TypeParam(reverse(square.dataVec()), 2, 2);
    EXPECT_THAT(rowsOf(square), ElementsAre(ElementsAre(4, 3), ElementsAre(2, 1))) << "overlapping";
    EXPECT_EQ(a.diagonal(9).length() + a.diagonal(-9).length(), 0u);
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

/// As of the vectors of their elements, which VecTest holds to plain loops; the rest by hand.
TYPED_TEST(GenMatTest, ArithmeticIsElementByElement)
{
    using T = typename TypeParam::Element;
    const TypeParam a = mat<TypeParam>({{7, -2}, {0, 5}});
    const TypeParam b = mat<TypeParam>({{2, 4}, {-3, 2}});
    const VecOf<TypeParam> x = a.dataVec();
    const VecOf<TypeParam> y = b.dataVec();
    const VecOf<TypeParam> quotient = x.copy() /= y;
    const VecOf<TypeParam> three(4u, T{3});
    const std::tuple<const char*, TypeParam, VecOf<TypeParam>> cases[] = {
        {"a + b", a + b, x + y},
        {"a - b", a - b, x - y},
        {"a * b", a * b, x * y},
        {"a / b", a / b, quotient},
        {"a + 3", a + T{3}, x + T{3}},
        {"3 + a", T{3} + a, x + T{3}},
        {"a - 3", a - T{3}, x - three},
        {"3 - a", T{3} - a, three - x},
        {"a * 3", a * T{3}, x * T{3}},
        {"3 * a", T{3} * a, x * T{3}},
        {"a / 5", a / T{5}, x.copy() /= T{5}},
        {"3 / b", T{3} / b, three.copy() /= y},
        {"-a", -a, -x},
        {"abs(a)", abs(a), abs(x)},
        {"a += b", a.copy() += b, x + y},
        {"a -= b", a.copy() -= b, x - y},
        {"a *= b", a.copy() *= b, x * y},
        {"a /= b", a.copy() /= b, quotient},
        {"a += 3", a.copy() += T{3}, x + T{3}},
        {"a -= 3", a.copy() -= T{3}, x - three},
        {"a *= 3", a.copy() *= T{3}, x * T{3}},
        {"a /= 5", a.copy() /= T{5}, x.copy() /= T{5}},
        {"++a", ++a.copy(), ++x.copy()},
        {"--a", --a.copy(), --x.copy()},
    };
    for (const auto& [name, result, expected] : cases) {
        ASSERT_EQ(result.rows(), 2u) << name;
        EXPECT_EQ(bitsOf(elements(result.dataVec())), bitsOf(elements(expected))) << name;
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
