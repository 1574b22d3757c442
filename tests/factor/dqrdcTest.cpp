// SPDX-License-Identifier: MIT
#include "knotwork/factor/linpack.h"
#include "measures/MatrixFamilies.h"
#include "measures/QrChecks.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_measures;
using namespace knotwork_test;

/// Factors, and finds that nothing else was written.
struct Factored : QrFactors {
    Factored(const DoubleGenMat& a, int job, const std::vector<int>& specifiers = {})
        : QrFactors(a, job, specifiers)
    {
        EXPECT_TRUE(restUntouched());
    }
};

/// Initial columns in front and final ones behind; returns the range of the free ones.
std::pair<int, int> expectPlaces(const std::vector<int>& specifiers, const std::vector<int>& order)
{
    std::vector<int> sorted(order);
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t j = 0; j < sorted.size(); ++j) EXPECT_EQ(sorted[j], static_cast<int>(j));
    const auto kind = [&](int column) {
        const int specifier = specifiers[static_cast<std::size_t>(column)];
        return (specifier < 0) - (specifier > 0);
    };
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end(),
                               [&](int a, int b) { return kind(a) < kind(b); }));
    const auto count = [&](int wanted) {
        return static_cast<int>(std::count_if(order.begin(), order.end(),
                                              [&](int column) { return kind(column) == wanted; }));
    };
    return {count(-1), count(-1) + count(0)};
}

class QrFamilyTest : public testing::TestWithParam<Family> {};

DoubleGenMat columnsOf(std::initializer_list<std::initializer_list<double>> columns)
{
    std::vector<double> all;
    for (const auto& column : columns) all.insert(all.end(), column);
    const auto p = static_cast<unsigned>(columns.size());
    return DoubleGenMat(all.data(), static_cast<unsigned>(all.size()) / p, p);
}

}  // namespace

TEST_P(QrFamilyTest, FactorsWithinTenUnitsInTheOrderAskedFor)
{
    QrRatios ratios;
    for (unsigned seed = 0; seed < kMatrices && !HasFailure(); ++seed) {
        Sample sample(GetParam(), seed);
        std::mt19937& generator = sample.generator;
        const DoubleGenMat& a = sample.a;
        SCOPED_TRACE(testing::Message() << a.rows() << "x" << a.cols() << " seed " << seed);
        std::vector<int> specifiers(a.cols());
        if (seed % 3 == 1)
            for (int& specifier : specifiers) specifier = static_cast<int>(generator() % 5) - 2;
        const Factored f(a, seed % 3 == 2 ? 0 : 1, specifiers);
        DoubleGenMat pivoted = a;
        if (seed % 3 == 2) {
            EXPECT_EQ(f.jpvt, specifiers);
        } else {
            const auto [first, end] = expectPlaces(specifiers, f.jpvt);
            ratios.seeOrder(f.r(), first, end, seed);
            pivoted.reference(permuted(a, f.jpvt));
        }
        ratios.seeFactors(pivoted, f.q(), f.r(), seed);
        const int k = std::uniform_int_distribution<int>(0, f.size)(generator);
        ratios.seeProjections(f, randomMatrix(a.rows(), 1, generator).col(0), k, seed);
    }
    expectBounds(ratios);
}

INSTANTIATE_TEST_SUITE_P(Dqrdc, QrFamilyTest, testing::ValuesIn(kScaleFreeFamilies), CaseName());

TEST(DqrdcTest, ColumnsForWhichFewOrNoReflectionsCanWaitChangeNothing)
{
    std::mt19937 generator(32);
    for (const unsigned p : {3000u, 9000u}) {
        const DoubleGenMat a = randomMatrix(5, p, generator);
        const Factored f(a, 1);
        QrRatios ratios;
        ratios.seeOrder(f.r(), 0, f.p, 0);
        ratios.seeFactors(permuted(a, f.jpvt), f.q(), f.r(), 0);
        expectBounds(ratios);
    }
}

TEST(DqrdcTest, SpecifiersPlaceColumnsAndFreeOnesGoByNorm)
{
    const struct {
        const char* name;
        std::vector<int> specifiers, order;
    } cases[] = {
        {"all free", {0, 0, 0, 0, 0}, {4, 3, 2, 1, 0}},
        {"one of each and free ones", {0, 1, -1, 0, 0}, {1, 4, 3, 0, 2}},
        {"initial ones keep their order", {-1, 2, 0, -7, 9}, {1, 4, 2, 3, 0}},
        {"all initial", {1, 5, 2, 4, 3}, {0, 1, 2, 3, 4}},
        {"all final", {-1, -1, -1, -1, -1}, {0, 1, 2, 3, 4}},
    };
    DoubleGenMat a(5, 5, 0.0);
    a.diagonal(0) = DoubleVec(5, 1.0, 1.0);
    for (const auto& c : cases) EXPECT_EQ(Factored(a, 1, c.specifiers).jpvt, c.order) << c.name;
    EXPECT_THAT(Factored(DoubleGenMat(5, 3, 1.0), 1).jpvt, ElementsAre(0, 1, 2)) << "ties";
    EXPECT_THAT(Factored(DoubleGenMat(0, 3), 1, {0, 0, 3}).jpvt, ElementsAre(2, 1, 0)) << "empty";
}

TEST(DqrdcTest, NormsWithoutDigitsAreComputedAnew)
{
    // All columns start as the first axis and differ by a billionth, which downdating cannot see.
    const double sizes[] = {0.1, 2.0, 5.0, 3.0, 4.0};
    DoubleGenMat a(8, 5, 0.0);
    a.row(0) = 1.0;
    for (int j = 0; j < 5; ++j) a(j + 1, j) = 1e-9 * sizes[j];
    EXPECT_THAT(Factored(a, 1).jpvt, ElementsAre(0, 2, 4, 3, 1));
}

TEST(DqrdcTest, DiagonalsTakeTheOppositeSignAndTheLastRowIsLeftAlone)
{
    const struct {
        const char* name;
        DoubleGenMat a;
        std::vector<double> diagonal;
        double lastAux;
    } cases[] = {
        {"positive", columnsOf({{3.0, 4.0, 0.0}}), {-5.0}, 1.6},
        {"negative", columnsOf({{-3.0, 4.0, 0.0}}), {5.0}, 1.6},
        {"zero", columnsOf({{0.0, 2.0, 0.0}}), {-2.0}, 1.0},
        {"negative zero", columnsOf({{-0.0, 2.0, 0.0}}), {-2.0}, 1.0},
        {"a column of zeros", columnsOf({{0.0, 0.0, 0.0}}), {0.0}, 0.0},
        {"one element", columnsOf({{-7.0}}), {-7.0}, 0.0},
        {"one row", columnsOf({{7.0}, {8.0}}), {7.0}, 0.0},
        {"square", columnsOf({{2.0, 0.0}, {1.0, 6.0}}), {-2.0, 6.0}, 0.0},
        {"subnormal", columnsOf({{3e-310, 4e-310}}), {-5e-310}, 1.6},
    };
    for (const auto& c : cases) {
        const Factored f(c.a, 0);
        for (int k = 0; k < f.size; ++k)
            EXPECT_NEAR(f.r()(k, k), c.diagonal[static_cast<std::size_t>(k)],
                        4 * kEps * std::fabs(f.r()(k, k)) + 1e-323)
                << c.name;
        EXPECT_NEAR(f.qraux[static_cast<std::size_t>(f.size - 1)], c.lastAux, 4 * kEps) << c.name;
    }
}

TEST(DqrdcTest, EndsWithWhatIsNotFinite)
{
    std::mt19937 generator(33);
    for (const double bad : {std::nan(""), HUGE_VAL})
        for (const int job : {0, 1}) {
            DoubleGenMat a = randomMatrix(20, 12, generator);
            a(7, 5) = bad;
            EXPECT_FALSE(std::isfinite(frobeniusNorm(Factored(a, job).r())));
        }
}

TEST(DqrslTest, WritesWhatIsAskedForAndMayShareArrays)
{
    std::mt19937 generator(34);
    const Factored f(randomMatrix(9, 6, generator), 1);
    const DoubleVec y = randomMatrix(9, 1, generator).col(0);
    for (const int k : {0, 1, 6})
        for (const int job : {10000, 1000, 100, 10, 1, 11000, 110, 11111}) {
            SCOPED_TRACE(testing::Message() << "k " << k << " job " << job);
            std::vector<double> out[5];  // qy, qty, b, rsd, xb
            for (auto& array : out) array.assign(10, kUntouched);
            int info = -1;
            knotwork::linpack::dqrsl(f.x.data(), &f.leading, &f.n, &k, f.qraux.data(), y.data(),
                                     out[0].data(), out[1].data(), out[2].data(), out[3].data(),
                                     out[4].data(), &job, &info);
            EXPECT_EQ(info, 0);
            const QrJob parts[] = {kQy, kQty, kSolution, kResidual, kFitted};
            for (std::size_t i = 0; i < 5; ++i) {
                const bool wanted = i == 1 ? job % 10000 != 0 : job / parts[i] % 10 != 0;
                const DoubleVec alone = f.apply(parts[i], k, y);  // in arrays that are shared
                std::vector<double> expected(10, kUntouched);
                if (wanted) std::copy_n(alone.data(), alone.length(), expected.begin());
                EXPECT_THAT(out[i], ElementsAreArray(expected)) << i;
            }
        }
    EXPECT_TRUE(f.apply(kQty, 0, y) == y && f.apply(kResidual, 0, y) == y);
    EXPECT_EQ(f.apply(kFitted, 0, y).isZero(0.0), 1);
}

TEST(DqrslTest, InfoNamesTheLastZeroOnTheDiagonal)
{
    const Factored f(columnsOf({{1, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 0}}), 0);
    const double y[4] = {1, 1, 1, 1};
    double qty[4];
    double b[4];
    for (const auto& [k, expected] : {std::pair{0, 0}, {1, 0}, {2, 2}, {3, 2}, {4, 4}}) {
        const int job = kSolution;
        int info = -1;
        knotwork::linpack::dqrsl(f.x.data(), &f.leading, &f.n, &k, f.qraux.data(), y, nullptr, qty,
                                 b, nullptr, nullptr, &job, &info);
        EXPECT_EQ(info, expected) << k;
    }
}
