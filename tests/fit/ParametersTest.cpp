// SPDX-License-Identifier: MIT
#include "knotwork/fit/Parameters.h"

#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;

constexpr double kMost = std::numeric_limits<double>::max();
constexpr Parameterisation kAll[] = {Parameterisation::kUniform, Parameterisation::kChord,
                                     Parameterisation::kCentripetal};

Numbers spread(int dimension, const Numbers& points, Parameterisation mode)
{
    const int n = static_cast<int>(points.size()) / dimension;
    return elements(parameterValues(TtupleVector(dimension, n, points.data()), mode));
}

}  // namespace

TEST(ParametersTest, SpreadsByHand)
{
    // Steps of length 9, 0, 16 and 0, whose roots are 3, 0, 4 and 0.
    const Numbers points = {0, 0, 9, 0, 9, 0, 9, -16, 9, -16};
    EXPECT_EQ(spread(2, points, Parameterisation::kUniform), (Numbers{0, 0.25, 0.5, 0.75, 1}));
    EXPECT_EQ(spread(2, points, Parameterisation::kChord), (Numbers{0, 0.36, 0.36, 1, 1}));
    EXPECT_THAT(spread(2, points, Parameterisation::kCentripetal),
                testing::Pointwise(testing::DoubleEq(), Numbers{0, 3.0 / 7, 3.0 / 7, 1, 1}));
}

TEST(ParametersTest, ScaleDoesNotMatterUpToTheEndsOfTheRange)
{
    const Numbers points = {0.25, 1, 0.75, 0.5, -0.875, 0.125, -0.75, -1};
    for (const Parameterisation mode : kAll) {
        const Numbers expected = spread(2, points, mode);
        ASSERT_EQ(expected.size(), 4U);
        EXPECT_EQ(expected.front(), 0.0);
        EXPECT_EQ(expected.back(), 1.0);
        for (const int exponent : {-1071, -1030, -501, 30, 700, 1023}) {
            Numbers scaled(points);
            for (double& x : scaled) x = std::ldexp(x, exponent);
            EXPECT_EQ(spread(2, scaled, mode), expected) << exponent;
        }
    }
    EXPECT_EQ(spread(2, {kMost, kMost, -kMost, -kMost, kMost, kMost}, Parameterisation::kChord),
              (Numbers{0, 0.5, 1}));
}

TEST(ParametersTest, NothingForPointsThatMakeNoSpread)
{
    const Numbers nothing;
    for (const Parameterisation mode : kAll) {
        EXPECT_EQ(spread(1, {}, mode), nothing);
        EXPECT_EQ(spread(2, {1, 2}, mode), nothing);
        for (const double bad : {std::nan(""), double{INFINITY}, -double{INFINITY}})
            for (std::size_t at = 0; at < 3; ++at) {
                Numbers points = {1, 2, 3};
                points[at] = bad;
                EXPECT_EQ(spread(1, points, mode), nothing) << bad << " at " << at;
            }
    }
    EXPECT_EQ(spread(1, {5, 5, 5}, Parameterisation::kChord), nothing);
    EXPECT_EQ(spread(1, {5, 5, 5}, Parameterisation::kCentripetal), nothing);
    EXPECT_EQ(spread(1, {5, 5, 5}, Parameterisation::kUniform), (Numbers{0, 0.5, 1}));
}
