// SPDX-License-Identifier: MIT
// What the three vectors share, tested on all three.

#include <climits>

#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

template <class Vec>
class VecTest : public testing::Test {
};
using VecTypes = testing::Types<DoubleVec, IntVec, SCharVec>;
TYPED_TEST_SUITE(VecTest, VecTypes, ElementName);

// Arithmetic worked independently: in 64 bits and cut to the type, so integers wrap.
template <class T>
using Wide = std::conditional_t<std::is_floating_point_v<T>, double, long long>;

template <class T>
struct Plain {
    static T add(T a, T b) { return static_cast<T>(Wide<T>{a} + Wide<T>{b}); }
    static T subtract(T a, T b) { return static_cast<T>(Wide<T>{a} - Wide<T>{b}); }
    static T multiply(T a, T b) { return static_cast<T>(Wide<T>{a} * Wide<T>{b}); }
    static T divide(T a, T b) { return static_cast<T>(Wide<T>{a} / Wide<T>{b}); }
    static T divideByScalar(T a, T b)
    {
        if constexpr (std::is_floating_point_v<T>) return a * (1.0 / b);  // the promised rounding
        return divide(a, b);
    }
};

template <class T, class Operation>
std::vector<T> each(std::vector<T> a, Operation f)
{
    for (T& x : a) x = f(x);
    return a;
}
template <class T>
std::vector<T> both(std::vector<T> a, const std::vector<T>& b, T (*f)(T, T))
{
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = f(a[i], b[i]);
    return a;
}

template <class Vec>
void expectBits(const char* operation, const Vec& v,
                const std::vector<typename Vec::Element>& expected)
{
    EXPECT_EQ(bitsOf(elements(v)), bitsOf(expected)) << operation;
}

TYPED_TEST(VecTest, ConstructorsFillNewContiguousStorage)
{
    using T = typename TypeParam::Element;
    const TypeParam empty;
    EXPECT_EQ(empty.length(), 0u);
    EXPECT_EQ(empty.stride(), 1);
    EXPECT_EQ(empty.data(), nullptr);
    EXPECT_EQ(TypeParam(7u).length(), 7u);
    EXPECT_THAT(elements(TypeParam(3u, T{5})), ElementsAre(5, 5, 5));
    EXPECT_THAT(elements(TypeParam(0u, T{5})), IsEmpty());
    EXPECT_THAT(elements(TypeParam(3u, T{4}, T{-3})), ElementsAre(4, 1, -2));
    T source[] = {1, 2};
    const TypeParam copied(source, 2);
    source[0] = 9;
    EXPECT_THAT(elements(copied), ElementsAre(1, 2));
    EXPECT_EQ(TypeParam(static_cast<const T*>(nullptr), 0).length(), 0u);
    static_assert(!std::is_convertible_v<unsigned, TypeParam>, "a size is no vector");
    static_assert(!std::is_convertible_v<std::initializer_list<T>, TypeParam>);
}

// What shares with what, slices, picks and lengths: ViewsTest.
TYPED_TEST(VecTest, CopiesAndReturnedVectorsShareStorage)
{
    TypeParam a = vecOf<TypeParam>({0, 0, 0});
    const auto byValue = [](TypeParam v) { return v; };
    byValue(a)(1) = 6;
    EXPECT_THAT(elements(a), ElementsAre(0, 6, 0));
    EXPECT_NE(a.deepCopy().data(), a.data());
    TypeParam v = vecOf<TypeParam>({0, 1, 2, 3, 4, 5, 6, 7, 8}).slice(1, 4, 2);
    EXPECT_EQ(v.sub(1), 2) << "sub leaves the stride out";
    v.sub(1) = 22;
    EXPECT_EQ(std::as_const(v).sub(1), 22);
    EXPECT_THAT(elements(v), ElementsAre(1, 3, 5, 7));
}

TYPED_TEST(VecTest, DeepenShallowCopyActsOnlyWhereItMust)
{
    struct {
        const char* name;
        int start;
        unsigned n;
        int stride;
        bool shared;
        bool moves;
    } const cases[] = {
        {"sole user of the whole block", 0, 4, 1, false, false},
        {"sole user of a longer block", 0, 2, 1, false, false},
        {"shared", 0, 4, 1, true, true},
        {"strided", 0, 2, 2, false, true},
        {"not at the block's start", 1, 3, 1, false, true},
        {"reversed", 3, 4, -1, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TypeParam base = vecOf<TypeParam>({1, 2, 3, 4});
        TypeParam v(base.slice(c.start, c.n, c.stride));
        if (!c.shared) base.reference(TypeParam());
        const auto* place = v.data();
        const auto before = elements(v);
        v.deepenShallowCopy();
        EXPECT_EQ(v.data() != place, c.moves);
        EXPECT_EQ(v.stride(), 1);
        EXPECT_EQ(elements(v), before);
    }
}

TYPED_TEST(VecTest, ArithmeticIsThatOfAPlainLoopInEveryLayout)
{
    using T = typename TypeParam::Element;
    const T x = 3;
    for (const unsigned n : {0u, 1u, 2u, 7u, 33u, 67u})  // with and without the CPU's wide vectors
        for (const auto& [sa, sb] : {std::pair{1, 1}, std::pair{2, 1}, std::pair{-1, 3}}) {
            SCOPED_TRACE(testing::Message() << n << " elements, strides " << sa << ' ' << sb);
            auto p = randomNumbers<T>(n, 1);
            auto q = randomNumbers<T>(n, 2);
            std::replace(q.begin(), q.end(), T{0}, T{1});
            if (n > 1) {  // the smallest integer has no negative
                p[0] = std::numeric_limits<T>::lowest();
                q[0] = -1;
            }
            const TypeParam a = strided(p, sa);
            const TypeParam b = strided(q, sb);
            expectBits("a + b", a + b, both(p, q, Plain<T>::add));
            expectBits("a - b", a - b, both(p, q, Plain<T>::subtract));
            expectBits("a * b", a * b, both(p, q, Plain<T>::multiply));
            expectBits("a + x", a + x, each(p, [=](T e) { return Plain<T>::add(e, x); }));
            expectBits("a * x", a * x, each(p, [=](T e) { return Plain<T>::multiply(e, x); }));
            expectBits("-a", -a, each(p, [](T e) { return Plain<T>::multiply(e, T{-1}); }));
            expectBits("abs", abs(a),
                       each(p, [](T e) { return e < 0 ? Plain<T>::multiply(e, T{-1}) : e; }));
            EXPECT_EQ((a + b).stride(), 1);
            expectBits("a unchanged", a, p);

            TypeParam w = strided(p, sa);
            const auto run = [&](const char* name, TypeParam& result, std::vector<T> expected) {
                EXPECT_EQ(&result, &w) << name;
                expectBits(name, w, expected);
                w = a;
            };
            run("a += b", w += b, both(p, q, Plain<T>::add));
            run("a -= b", w -= b, both(p, q, Plain<T>::subtract));
            run("a *= b", w *= b, both(p, q, Plain<T>::multiply));
            run("a /= b", w /= b, both(p, q, Plain<T>::divide));
            run("a += x", w += x, each(p, [=](T e) { return Plain<T>::add(e, x); }));
            run("a -= x", w -= x, each(p, [=](T e) { return Plain<T>::subtract(e, x); }));
            run("a *= x", w *= x, each(p, [=](T e) { return Plain<T>::multiply(e, x); }));
            run("a /= x", w /= x, each(p, [=](T e) { return Plain<T>::divideByScalar(e, x); }));
            run("a /= -1", w /= T{-1}, each(p, [=](T e) { return Plain<T>::multiply(e, T{-1}); }));
            run("++a", ++w, each(p, [](T e) { return Plain<T>::add(e, T{1}); }));
            run("--a", --w, each(p, [](T e) { return Plain<T>::subtract(e, T{1}); }));
        }
}

TYPED_TEST(VecTest, OverlappingViewsAreWorkedInIndexOrder)
{
    using T = typename TypeParam::Element;
    for (const unsigned n : {5u, 100u})
        for (const unsigned shift : {1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << n << " elements, shifted by " << shift);
            auto expected = randomNumbers<T>(n, 5);
            TypeParam ahead = vecFrom(expected);
            TypeParam behind = ahead.copy();
            auto expectedBehind = expected;
            for (std::size_t i = 0; i + shift < n; ++i) {  // later sums see the earlier ones
                expected[i + shift] = Plain<T>::add(expected[i + shift], expected[i]);
                expectedBehind[i] = Plain<T>::add(expectedBehind[i], expectedBehind[i + shift]);
            }
            const int by = static_cast<int>(shift);
            TypeParam tail = ahead.slice(by, n - shift, 1);
            tail += ahead.slice(0, n - shift, 1);
            expectBits("from behind", ahead, expected);
            TypeParam head = behind.slice(0, n - shift, 1);
            head += behind.slice(by, n - shift, 1);
            expectBits("from ahead", behind, expectedBehind);
        }
}

TYPED_TEST(VecTest, SumsAndProductsRunInIndexOrderFromZeroAndOne)
{
    using T = typename TypeParam::Element;
    for (const unsigned n : {0u, 1u, 2u, 16u, 17u, 100u})
        for (const auto& [sa, sb] : {std::pair{1, 1}, std::pair{3, -1}, std::pair{-2, 1}}) {
            SCOPED_TRACE(testing::Message() << n << " elements, strides " << sa << ' ' << sb);
            const auto p = randomNumbers<T>(n, 3);
            const auto q = randomNumbers<T>(n, 4);
            const TypeParam a = strided(p, sa);
            T total = 0;
            T factors = 1;
            T inner = 0;
            T before = 0;
            std::vector<T> running;
            std::vector<T> steps;
            for (std::size_t i = 0; i < n; ++i) {
                running.push_back(total = Plain<T>::add(total, p[i]));
                factors = Plain<T>::multiply(factors, p[i]);
                inner = Plain<T>::add(inner, Plain<T>::multiply(p[i], q[i]));
                steps.push_back(Plain<T>::subtract(p[i], before));
                before = p[i];
            }
            EXPECT_EQ(sum(a), total);
            EXPECT_EQ(prod(a), factors);
            EXPECT_EQ(dot(a, strided(q, sb)), inner);
            expectBits("cumsum", cumsum(a), running);
            expectBits("delta", delta(a), steps);
        }
    static_assert(std::is_same_v<decltype(sum(TypeParam())), T>);
    static_assert(std::is_same_v<decltype(dot(TypeParam(), TypeParam())), T>);
}

TYPED_TEST(VecTest, EqualityNeedsLengthsAndEveryElement)
{
    using T = typename TypeParam::Element;
    const TypeParam v = vecOf<TypeParam>({1, 2, 3});
    EXPECT_TRUE(v == strided<T>({1, 2, 3}, -2));
    EXPECT_FALSE(v != strided<T>({1, 2, 3}, -2));
    for (const TypeParam& other :
         {vecOf<TypeParam>({1, 2}), vecOf<TypeParam>({1, 2, 4}), vecOf<TypeParam>({0, 2, 3})}) {
        EXPECT_FALSE(v == other);
        EXPECT_TRUE(v != other);
    }
    EXPECT_TRUE(TypeParam() == v.slice(1, 0, 1));
}

TYPED_TEST(VecTest, ExtremesAreTheFirstOfTheirValue)
{
    using T = typename TypeParam::Element;
    struct {
        const char* name;
        std::vector<T> values;
        int max;
        int min;
    } const cases[] = {
        {"one element", {4}, 0, 0},       {"last of three", {1, 2, 3}, 2, 0},
        {"ties", {2, 3, 1, 3, 1}, 1, 2},  {"all equal", {5, 5, 5}, 0, 0},
        {"negative", {-3, -1, -2}, 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const TypeParam v = strided(c.values, -2);
        EXPECT_EQ(maxIndex(v), c.max);
        EXPECT_EQ(minIndex(v), c.min);
        EXPECT_EQ(maxValue(v), c.values[static_cast<std::size_t>(c.max)]);
        EXPECT_EQ(minValue(v), c.values[static_cast<std::size_t>(c.min)]);
    }
    const RecordingHandler quiet;
    EXPECT_EQ(maxIndex(TypeParam()), -1);
    EXPECT_EQ(minIndex(TypeParam()), -1);
    EXPECT_EQ(maxValue(TypeParam()), 0);
    EXPECT_EQ(minValue(TypeParam()), 0);
    EXPECT_EQ(quiet.raised().size(), 4u) << "a warning each";
}

TYPED_TEST(VecTest, LessIndexIsStrict)
{
    using T = typename TypeParam::Element;
    const TypeParam v = strided<T>({3, 1, 2, 1, 4}, 2);
    EXPECT_THAT(elements(v.lessIndex(2)), ElementsAre(1, 3));
    EXPECT_THAT(elements(v.lessIndex(1)), IsEmpty());
    EXPECT_THAT(elements(v.lessIndex(9)), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(elements(TypeParam().lessIndex(9)), IsEmpty());
}

template <class Vec>
class IntegerVecTest : public testing::Test {
};
using IntegerVecTypes = testing::Types<IntVec, SCharVec>;
TYPED_TEST_SUITE(IntegerVecTest, IntegerVecTypes, ElementName);

TYPED_TEST(IntegerVecTest, ComparisonsWithAValueAreExact)
{
    using T = typename TypeParam::Element;
    const TypeParam v = strided<T>({3, -3, 4, 3}, -1);
    EXPECT_EQ(v.countValue(3), 2);
    EXPECT_THAT(elements(v.valueIndex(3)), ElementsAre(0, 3));
    EXPECT_THAT(elements(v.nonValueIndex(3)), ElementsAre(1, 2));
    EXPECT_EQ(v.isEqual(3), 0);
    EXPECT_EQ(TypeParam(3u, T{3}).isEqual(3), 1);
    EXPECT_EQ(TypeParam().isEqual(3), 1);
    EXPECT_EQ(TypeParam().countValue(0), 0);
}

TYPED_TEST(IntegerVecTest, SteppingConstructorWraps)
{
    using T = typename TypeParam::Element;
    constexpr T kMost = std::numeric_limits<T>::max();
    constexpr T kLeast = std::numeric_limits<T>::min();
    const TypeParam v(3u, static_cast<T>(kMost - 1), T{1});
    EXPECT_THAT(elements(v), ElementsAre(kMost - 1, kMost, kLeast));
}

TYPED_TEST(IntegerVecTest, DivisionTruncatesTowardZero)
{
    TypeParam v = vecOf<TypeParam>({7, -7, 1});
    v /= 2;
    EXPECT_THAT(elements(v), ElementsAre(3, -3, 0));
}

TEST(IntVecTest, ConvertsExactlyToDoubles)
{
    const DoubleVec d = strided<int>({INT_MIN, -1, INT_MAX}, -1);
    EXPECT_THAT(elements(d), ElementsAre(-2147483648.0, -1.0, 2147483647.0));
    EXPECT_THAT(elements(intVec({1, 2}) + vec({0.5, 0.5})), ElementsAre(1.5, 2.5));
}

TEST(SCharVecTest, ConvertsToIntsWithItsSign)
{
    const IntVec i = strided<signed char>({-128, -1, 127}, 2);
    EXPECT_THAT(elements(i), ElementsAre(-128, -1, 127));
}

}  // namespace
