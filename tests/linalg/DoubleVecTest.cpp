// SPDX-License-Identifier: MIT
// What only vectors of double have, and where rounding, NaN and the sign of zero count.
#include "knotwork/linalg/DoubleVec.h"

#include <cfloat>
#include <climits>
#include <csignal>

#include "knotwork/linalg/detail/DoubleVecExtras.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

template <class A, class B, class = void>
struct CanSubtract : std::false_type {
};
template <class A, class B>
struct CanSubtract<A, B, std::void_t<decltype(std::declval<A>() - std::declval<B>())>>
    : std::true_type {
};
static_assert(CanSubtract<DoubleVec, DoubleVec>::value);
static_assert(!CanSubtract<DoubleVec, double>::value, "only + and * take a scalar on the right");

TEST(DoubleVecTest, SteppingAccumulatesItsRounding)
{
    const DoubleVec v(11, 0.0, 0.1);
    double expected = 0.0;
    for (int i = 0; i < 11; ++i, expected += 0.1) EXPECT_EQ(v(i), expected) << i;
    EXPECT_NE(v(10), 1.0) << "ten times a tenth would be";
}

TEST(DoubleVecTest, ZerosAndNansKeepTheirSigns)
{
    const DoubleVec v = vec({0.0, -0.0, kNaN, -kNaN, -1.0});
    EXPECT_EQ(bitsOf(elements(-v)), bitsOf({-0.0, 0.0, -kNaN, kNaN, 1.0}));
    EXPECT_EQ(bitsOf(elements(abs(v))), bitsOf({0.0, 0.0, kNaN, kNaN, 1.0}));
    EXPECT_FALSE(std::signbit(sum(vec({-0.0, -0.0})))) << "sums start at +0.0";
    EXPECT_FALSE(std::signbit(dot(vec({-0.0}), vec({1.0}))));
    EXPECT_FALSE(std::signbit(cumsum(vec({-0.0}))(0)));
    EXPECT_TRUE(std::signbit(prod(vec({-0.0}))));
    EXPECT_TRUE(std::signbit(delta(vec({-0.0}))(0))) << "-0.0 less 0.0";
    EXPECT_TRUE(vec({0.0}) == vec({-0.0}));
    EXPECT_FALSE(v == v) << "a NaN equals nothing";
    EXPECT_TRUE(v != v);
}

TEST(DoubleVecTest, NanNeverReplacesAnExtremeAndIsNeverReplaced)
{
    EXPECT_EQ(maxIndex(vec({1.0, kNaN, 3.0, kNaN})), 2);
    EXPECT_EQ(minIndex(vec({1.0, kNaN, -3.0, kNaN})), 2);
    EXPECT_EQ(maxIndex(vec({kNaN, 1.0, 3.0})), 0);
    EXPECT_EQ(minIndex(vec({kNaN, 1.0, 3.0})), 0);
    EXPECT_EQ(maxIndex(vec({-0.0, 0.0})), 0) << "zeros are equal";
}

TEST(DoubleVecTest, DividingByAScalarMultipliesByItsReciprocal)
{
    DoubleVec v = vec({3.0, 1.0});
    v /= 5.0;
    EXPECT_EQ(v(0), 3.0 * (1.0 / 5.0));
    EXPECT_NE(v(0), 3.0 / 5.0);
    v = vec({3.0, kInf});
    v /= 0.0;
    EXPECT_THAT(elements(v), ElementsAre(kInf, kInf));
}

struct MatchCase {
    const char* name;
    std::vector<double> values;
    double v;
    double tol;
    std::vector<int> matching;
};
const MatchCase kMatchCases[] = {
    {"boundsAreInclusive", {0.5, 1.5, 0.4999, 1.5001, 1.0}, 1.0, 0.5, {0, 1, 4}},
    {"exact", {1.0, std::nextafter(1.0, 2.0)}, 1.0, 0.0, {0}},
    {"zerosOfBothSigns", {0.0, -0.0, DBL_TRUE_MIN, -DBL_TRUE_MIN}, 0.0, 0.0, {0, 1}},
    {"zeroWithinTolerance", {1e-9, -1e-9, 2e-9, -2e-9}, 0.0, 1e-9, {0, 1}},
    {"nanMatchesNothing", {kNaN, 1.0}, 1.0, kInf, {1}},
    {"nothingMatchesNan", {kNaN, 1.0}, kNaN, kInf, {}},
    {"infinityLessItselfIsNan", {kInf, -kInf, 0.0}, kInf, 1.0, {}},
    {"negativeTolerance", {1.0}, 1.0, -1e-30, {}},
    {"all", {2.0, 2.0}, 2.0, 0.0, {0, 1}},
    {"empty", {}, 0.0, 1.0, {}},
};
TEST(MatchTest, FindsTheSameElementsInEveryForm)
{
    for (const MatchCase& c : kMatchCases) {
        SCOPED_TRACE(c.name);
        std::vector<int> others;
        for (int i = 0; i < static_cast<int>(c.values.size()); ++i)
            if (std::count(c.matching.begin(), c.matching.end(), i) == 0) others.push_back(i);
        for (const int stride : {1, -2}) {
            SCOPED_TRACE(stride);
            const DoubleVec v = strided(c.values, stride);
            EXPECT_EQ(v.countValue(c.v, c.tol), static_cast<int>(c.matching.size()));
            EXPECT_EQ(v.isEqual(c.v, c.tol), others.empty() ? 1 : 0);
            EXPECT_EQ(elements(v.valueIndex(c.v, c.tol)), c.matching);
            EXPECT_EQ(elements(v.nonValueIndex(c.v, c.tol)), others);
            if (c.v != 0.0) continue;
            EXPECT_EQ(v.countZero(c.tol), static_cast<int>(c.matching.size()));
            EXPECT_EQ(v.isZero(c.tol), others.empty() ? 1 : 0);
            EXPECT_EQ(elements(v.zeroIndex(c.tol)), c.matching);
            EXPECT_EQ(elements(v.nonZeroIndex(c.tol)), others);
            auto clamped = c.values;
            for (const int i : c.matching) clamped[static_cast<std::size_t>(i)] = 0.0;
            DoubleVec w = strided(c.values, stride);
            const DoubleVec sharer(w);
            w.clampZero(c.tol);
            EXPECT_EQ(bitsOf(elements(sharer)), bitsOf(clamped)) << "in place, +0.0";
        }
    }
}

TEST(DoubleVecTest, ClampingLeavesNanAlone)
{
    DoubleVec v = vec({kNaN, 1.0, -kInf});
    v.clampZero(2.0);
    EXPECT_EQ(bitsOf(elements(v)), bitsOf({kNaN, 0.0, -kInf}));
}

TEST(DoubleVecTest, VecLenIsSafeAtEveryScaleAndStride)
{
    for (const int stride : {1, 2, -1, -3})
        for (const double scale : {1.0, 0x1p1000, 0x1p-1060})
            EXPECT_EQ(strided<double>({3.0 * scale, 0.0, -4.0 * scale}, stride).vecLen(),
                      5.0 * scale)
                << stride << ' ' << scale;
    EXPECT_EQ(vec({2.0}).slice(0, 4, 0).vecLen(), 4.0) << "one element, four times";
    EXPECT_EQ(DoubleVec().vecLen(), 0.0);
    EXPECT_EQ(reverse(vec({7.0})).vecLen(), 7.0);
    EXPECT_TRUE(std::isnan(vec({1.0, kNaN}).vecLen()));
}

TEST(DoubleVecTest, NormaliseMultipliesByTheReciprocalOrLeavesTheVectorAlone)
{
    DoubleVec v = strided<double>({3.0, 4.0}, -2);
    EXPECT_EQ(v.normalise(), 1);
    EXPECT_THAT(elements(v), ElementsAre(3.0 * (1.0 / 5.0), 4.0 * (1.0 / 5.0)));
    for (const auto& values : {std::vector<double>{}, {0.0, -0.0}, {1.0, kNaN}}) {
        DoubleVec w = vecFrom(values);
        EXPECT_EQ(w.normalise(), 0);
        EXPECT_EQ(bitsOf(elements(w)), bitsOf(values));
    }
}

TEST(DoubleVecTest, MeanDividesAndVarianceIsThatOfThePopulation)
{
    EXPECT_EQ(mean(vec({1.0, 2.0, 2.0})), 5.0 / 3.0);
    EXPECT_NE(mean(vec({1.0, 2.0, 2.0})), 5.0 * (1.0 / 3.0));
    EXPECT_TRUE(std::isnan(mean(DoubleVec())));
    EXPECT_EQ(knotwork::variance(vec({1.0, 3.0})), 1.0);
    EXPECT_EQ(knotwork::variance(strided<double>({1e9 + 1.0, 1e9 + 3.0}, -1)), 1.0)
        << "about the mean, in two passes";
}

double same(double x)
{
    return x;
}

struct FunctionCase {
    const char* name;
    DoubleVec (*ofVector)(const DoubleVec&);
    double (*ofNumber)(double);
};

TEST(DoubleVecTest, FunctionsAreThoseOfTheMathsLibraryElementByElement)
{
    const FunctionCase cases[] = {
        {"apply", [](const DoubleVec& v) { return v.apply(same); }, same},
        {"abs", [](const DoubleVec& v) { return abs(v); }, std::fabs},
        {"acos", acos, std::acos},
        {"asin", asin, std::asin},
        {"atan", atan, std::atan},
        {"ceil", ceil, std::ceil},
        {"cos", cos, std::cos},
        {"cosh", cosh, std::cosh},
        {"exp", exp, std::exp},
        {"floor", floor, std::floor},
        {"log", log, std::log},
        {"log10", log10, std::log10},
        {"sin", sin, std::sin},
        {"sinh", sinh, std::sinh},
        {"sqrt", sqrt, std::sqrt},
        {"tan", knotwork::tan, std::tan},
        {"tanh", knotwork::tanh, std::tanh},
    };
    const std::vector<double> values = {-2.5, -0.5, -0.0, 0.0, 0.5, 2.5, 800.0, kInf};
    for (const FunctionCase& c : cases) {
        std::vector<double> expected;
        for (const double x : values) expected.push_back(c.ofNumber(x));
        for (const int stride : {1, -2}) {
            const DoubleVec result = c.ofVector(strided(values, stride));
            EXPECT_EQ(bitsOf(elements(result)), bitsOf(expected)) << c.name;
            EXPECT_EQ(result.stride(), 1);
        }
        EXPECT_EQ(c.ofVector(DoubleVec()).length(), 0u);
    }
    const DoubleVec y = strided<double>({1.0, -0.0, 2.0}, -1);
    const DoubleVec x = vec({-1.0, -1.0, 0.5});
    EXPECT_THAT(elements(atan2(y, x)),
                ElementsAre(std::atan2(1.0, -1.0), std::atan2(-0.0, -1.0), std::atan2(2.0, 0.5)));
    EXPECT_THAT(elements(pow(y, x)), ElementsAre(1.0, -kInf, std::pow(2.0, 0.5)));
}

TEST(DoubleVecTest, TruncationToIntsGoesTowardZeroAndMarksWhatDoesNotFit)
{
    const DoubleVec v = strided<double>({2.9, -2.9, -0.0, 2147483647.9, -2147483648.9, 2147483648.0,
                                         -2147483649.0, 1e300, kNaN, -kInf},
                                        2);
    EXPECT_THAT(elements(knotwork::truncated(v)), ElementsAre(2, -2, 0, INT_MAX, INT_MIN, INT_MIN,
                                                              INT_MIN, INT_MIN, INT_MIN, INT_MIN));
}

TEST(DoubleVecTest, LowBytesOfInts)
{
    EXPECT_THAT(elements(knotwork::lowBytes(intVec({300, -1, 128, INT_MIN, 127}))),
                ElementsAre(44, -1, -128, 0, 127));
}

TEST(DoubleVecDeathTest, AssigningAnotherLengthNamesBothAndAborts)
{
    DoubleVec target(3, 0.0);
    EXPECT_EXIT(target = DoubleVec(2, 0.0), testing::KilledBySignal(SIGABRT),
                testing::Eq("** [VNMATCH: DoubleVec]: Vector lengths do not match (3 vs 2).\n"
                            "** Processing terminated.\n"));
}

}  // namespace
