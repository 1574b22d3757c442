// SPDX-License-Identifier: MIT
#include "knotwork/fit/BsplineBasis.h"

#include "measures/FitOracle.h"
#include "tests/support/Testing.h"

namespace {

using knotwork::BsplineBasis;
using namespace knotwork_measures;
using namespace knotwork_test;

/// Interior knots at uneven places, the multiplicities going round from 1 to the degree.
BsplineBasis unevenBasis(int degree, knotwork_measures::Dice& dice)
{
    Numbers interior;
    double knot = -2.0;
    for (int place = 0; place < degree + 3; ++place) {
        knot += 0.125 + dice.unit();
        interior.insert(interior.end(), static_cast<std::size_t>(1 + place % degree), knot);
    }
    return BsplineBasis::clamped(degree, -2.0, knot + 0.5, interior);
}

}  // namespace

TEST(BsplineBasisTest, ValuesAndDerivativesFollowTheRecursion)
{
    constexpr double kBound = 1e-13;  // times the largest entry of the row
    knotwork_measures::Dice dice(20270111);
    for (int degree = 1; degree <= 9; ++degree) {
        SCOPED_TRACE("degree " + std::to_string(degree));
        const BsplineBasis basis = unevenBasis(degree, dice);
        ASSERT_TRUE(basis.valid());
        Numbers places(basis.knots());  // at every knot, ends included, and between them
        for (int k = 0; k < 8; ++k)
            places.push_back(basis.first() + (basis.last() - basis.first()) * dice.unit());
        for (const double t : places) {
            for (int order = 0; order <= degree + 1; ++order) {
                Numbers row(static_cast<std::size_t>(degree) + 1, -1.0);
                const int first = basis.row(t, order, row.data());
                ASSERT_EQ(first, basis.span(t) - degree);
                Quad expected[BsplineBasis::kMostDegree + 1];
                ASSERT_EQ(basisRow(basis, t, order, expected), first);
                double largest = 0.0;
                for (int i = 0; i <= degree; ++i)
                    largest = std::max(largest, std::fabs(static_cast<double>(expected[i])));
                for (int i = 0; i <= degree; ++i)
                    ASSERT_LE(std::fabs(row[static_cast<std::size_t>(i)] -
                                        static_cast<double>(expected[i])),
                              kBound * largest)
                        << "function " << first + i << ", t = " << t << ", derivative " << order;
            }
        }
    }
}

TEST(BsplineBasisTest, ValuesAddUpToOneUpToTheLargestDegree)
{
    for (const int degree : {1, 2, 5, 17, BsplineBasis::kMostDegree}) {
        const BsplineBasis basis = BsplineBasis::uniform(degree, 1e9, 1e9 + 7, 7);
        ASSERT_TRUE(basis.valid()) << degree;
        EXPECT_EQ(basis.count(), degree + 7);
        for (double t = 1e9; t <= 1e9 + 7; t += 0.21875) {
            Numbers row(static_cast<std::size_t>(degree) + 1);
            basis.row(t, 0, row.data());
            EXPECT_NEAR(std::accumulate(row.begin(), row.end(), 0.0), 1.0, degree * 0x1p-50) << t;
            for (const double value : row) EXPECT_GE(value, 0.0);
            basis.row(t, 1, row.data());
            EXPECT_NEAR(std::accumulate(row.begin(), row.end(), 0.0), 0.0,
                        degree * degree * 0x1p-50);
        }
    }
}

TEST(BsplineBasisTest, SpansAtKnotsLieToTheRightAndTheLastKnotInTheLastSpan)
{
    const BsplineBasis basis = BsplineBasis::clamped(2, 0.0, 4.0, {1.0, 1.0, 3.0});
    const struct {
        double t;
        int span;
    } cases[] = {{-1.0, 2}, {0.0, 2}, {0.999, 2}, {1.0, 4}, {2.0, 4}, {3.0, 5}, {4.0, 5}, {9.0, 5}};
    for (const auto& c : cases) EXPECT_EQ(basis.span(c.t), c.span) << c.t;
    EXPECT_EQ(basis.greville(0), 0.0);
    EXPECT_EQ(basis.greville(2), 1.0);
    EXPECT_EQ(basis.greville(3), 2.0);
    EXPECT_EQ(basis.greville(5), 4.0);
}

TEST(BsplineBasisTest, UniformKnotsAreEqualSharesEvenOverTheWholeRangeOfDoubles)
{
    EXPECT_EQ(BsplineBasis::uniform(1, 10.0, 12.0, 4).knots(),
              (Numbers{10.0, 10.0, 10.5, 11.0, 11.5, 12.0, 12.0}));
    const double most = std::numeric_limits<double>::max();
    EXPECT_EQ(BsplineBasis::uniform(1, -most, most, 2).knots()[2], 0.0);
}

struct ValidCase {
    const char* name;
    int degree;
    Numbers knots;
    bool valid;
};

const ValidCase kValidCases[] = {
    {"Bezier", 2, {0, 0, 0, 1, 1, 1}, true},
    {"EndsOfMultiplicityOne", 2, {0, 1, 2, 3, 4, 5}, true},
    {"InteriorAsOftenAsTheDegree", 2, {0, 0, 0, 1, 1, 2, 2, 2}, true},
    {"InteriorOftener", 2, {0, 0, 0, 1, 1, 1, 2, 2, 2}, false},
    {"EmptyFirstSpan", 2, {0, 0, 0, 0, 1, 1, 1}, false},
    {"EmptyLastSpan", 2, {0, 0, 0, 1, 1, 1, 1}, false},
    {"AllEqual", 1, {3, 3, 3, 3}, false},
    {"OutOfOrder", 1, {0, 0, 2, 1, 3, 3}, false},
    {"TooFew", 3, {0, 0, 0, 0, 1, 1, 1}, false},
    {"None", 1, {}, false},
    {"NaN", 1, {0, 0, std::nan(""), 1, 1}, false},
    {"Infinite", 1, {0, 0, kInf, kInf}, false},
    {"RangeBeyondDoubles", 1, {-1.7e308, -1.7e308, 1.7e308, 1.7e308}, false},
    {"DegreeZero", 0, {0, 1, 2}, false},
    {"DegreeNegative", -1, {0, 1}, false},
    {"DegreeBeyondMost", BsplineBasis::kMostDegree + 1, Numbers(64, 0.0), false}};

TEST(BsplineBasisValidTest, TellsKnotsThatMakeABasis)
{
    for (const ValidCase& c : kValidCases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(BsplineBasis(c.degree, c.knots).valid(), c.valid);
    }
}
