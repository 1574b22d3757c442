// SPDX-License-Identifier: MIT
#include "knotwork/sparse/RowCompression.h"

#include "knotwork/sparse/RowStream.h"
#include "tests/support/Testing.h"

using namespace knotwork;
using namespace knotwork_test;

namespace {

struct RowKind {
    const char* name;
    int rows, cols;
    int mostEntries;
    int gapAt;  // no row reaches this column; -1 for none
    double scale;
};

SpanRows randomRows(const RowKind& kind, Dice& dice)
{
    const auto below = [&](int n) {
        return static_cast<int>(dice.below(static_cast<unsigned>(n)));
    };
    SpanRows rows(kind.cols);
    for (int i = 0; i < kind.rows; ++i) {
        const int first = below(kind.cols);
        int count = std::min(below(kind.mostEntries + 1), kind.cols - first);
        if (first <= kind.gapAt) count = std::min(count, kind.gapAt - first);
        double* values = rows.append(first, count);
        for (int k = 0; k < count; ++k) values[k] = kind.scale * (dice.unit() - 0.5);
    }
    return rows;
}

/// (R^T R)(i, j) and the like, in extended precision.
using Sums = std::vector<long double>;

void addOuter(Sums& gram, int cols, int first, const double* values, int count)
{
    for (int a = 0; a < count; ++a)
        for (int b = 0; b < count; ++b)
            gram[static_cast<std::size_t>((first + a) * cols + first + b)] +=
                static_cast<long double>(values[a]) * values[b];
}

long double largestDifference(const Sums& a, const Sums& b)
{
    long double most = 0.0L;
    for (std::size_t i = 0; i < a.size(); ++i) most = std::max(most, std::fabs(a[i] - b[i]));
    return most;
}

}  // namespace

TEST(RowCompressionTest, KeepsInnerProductsOfColumnsAndRightHandSides)
{
    const RowKind kinds[] = {{"narrow rows", 300, 40, 4, -1, 1.0},
                             {"any width", 60, 20, 20, -1, 1.0},
                             {"fewer rows than columns", 7, 30, 5, -1, 1.0},
                             {"a column that no row reaches", 200, 30, 4, 12, 1.0},
                             {"one column", 9, 1, 1, -1, 1.0},
                             {"no rows", 0, 5, 1, -1, 1.0},
                             {"near overflow", 100, 20, 4, -1, 1e300},
                             {"near underflow", 100, 20, 4, -1, 1e-290},
                             {"squares below the range", 100, 20, 4, -1, 1e-160}};
    for (const RowKind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        Dice dice(11);
        const SpanRows rows = randomRows(kind, dice);
        const RowCompression compression(rows);
        const auto& R = compression.triangle();
        const auto size = static_cast<std::size_t>(kind.cols);
        Sums before(size * size), after(size * size), beforeRhs(size), afterRhs(size);

        constexpr int kLanes = knotwork::kFewLanes;
        std::vector<double> b(static_cast<std::size_t>(kind.rows) * kLanes);
        for (double& v : b) v = dice.unit();
        std::vector<double> c(size * kLanes);
        compression.compress<kLanes>(
            [&](int i, double* to) {
                std::copy_n(&b[static_cast<std::size_t>(i) * kLanes], kLanes, to);
            },
            c.data());
        constexpr int kLane = 2;
        std::vector<double> unit(size);
        for (int i = 0; i < kind.rows; ++i) {
            for (int k = 0; k < rows.count(i); ++k) {
                unit[static_cast<std::size_t>(k)] = rows.values(i)[k] / kind.scale;
                beforeRhs[static_cast<std::size_t>(rows.first(i) + k)] +=
                    static_cast<long double>(unit[static_cast<std::size_t>(k)]) *
                    b[static_cast<std::size_t>(i) * kLanes + kLane];
            }
            addOuter(before, kind.cols, rows.first(i), unit.data(), rows.count(i));
        }
        for (int j = 0; j < kind.cols; ++j) {
            for (int k = 0; k < R.count(j); ++k) {
                unit[static_cast<std::size_t>(k)] = R.row(j)[k] / kind.scale;
                afterRhs[static_cast<std::size_t>(j + k)] +=
                    static_cast<long double>(unit[static_cast<std::size_t>(k)]) *
                    c[static_cast<std::size_t>(j) * kLanes + kLane];
            }
            addOuter(after, kind.cols, j, unit.data(), R.count(j));
        }
        EXPECT_LE(largestDifference(before, after), 10 * kEps * kind.rows);
        EXPECT_LE(largestDifference(beforeRhs, afterRhs), 10 * kEps * kind.rows);
    }
}

TEST(RowCompressionTest, NumbersAtTheEndsOfTheRangeKeepTheirLengths)
{
    SpanRows tiny(2);  // beside a large number, so that scaling as a whole does not help
    for (const double v : {0.0, -1e-200, -2e-200}) tiny.append(0, 1)[0] = v;
    tiny.append(1, 1)[0] = 1.0;
    EXPECT_NEAR(std::fabs(RowCompression(tiny).triangle().row(0)[0]) / 1e-200, std::sqrt(5.0),
                4 * kEps);
    SpanRows huge(2);  // R is within the range, a step to it is not
    for (const double v : {1.0, 1.2}) {
        double* values = huge.append(0, 2);
        values[0] = 1e308;
        values[1] = v * 1e308;
    }
    const RowCompression compression(huge);
    EXPECT_NEAR(std::fabs(compression.triangle().row(0)[1]) / 1e308, 1.1 * std::sqrt(2.0),
                4 * kEps);
}

TEST(RowCompressionTest, ATriangleStaysAsItIsInAnyOrder)
{
    SpanRows rows(4);
    for (const int j : {2, 0, 3, 1}) {
        double* values = rows.append(j, std::min(2, 4 - j));
        for (int k = 0; k < std::min(2, 4 - j); ++k) values[k] = j + 0.1 * k + 1.0;
    }
    const RowCompression compression(rows);
    for (int j = 0; j < 4; ++j) {
        ASSERT_EQ(compression.triangle().count(j), std::min(2, 4 - j));
        for (int k = 0; k < std::min(2, 4 - j); ++k)
            EXPECT_EQ(compression.triangle().row(j)[k], j + 0.1 * k + 1.0);
    }
}

TEST(RowCompressionTest, TheInverseNormIsEstimatedWithinAFactorOfThree)
{
    // Ones on the diagonal and -1 right of it: the inverse is all ones above.
    SpanRows rows(50);
    for (int j = 0; j < 50; ++j) {
        double* values = rows.append(j, j < 49 ? 2 : 1);
        values[0] = 1.0;
        if (j < 49) values[1] = -1.0;
    }
    EXPECT_NEAR(RowCompression(rows).triangle().inverseNorm(), 50.0, 1e-12);
    SpanRows gap(3);
    gap.append(0, 1)[0] = 1.0;
    EXPECT_TRUE(std::isinf(RowCompression(gap).triangle().inverseNorm()));
}

TEST(RowCompressionTest, AStreamOfRowsComesToTheSameTriangleUpToSigns)
{
    Dice dice(3);
    const SpanRows rows = randomRows({"", 20000, 60, 5, -1, 1.0}, dice);
    constexpr int kWidth = 6;  // more than fits into few lanes
    knotwork::RowStream stream(60, kWidth);
    std::vector<double> b(static_cast<std::size_t>(rows.rows()) * kWidth);
    for (double& v : b) v = dice.unit();
    for (int i = 0; i < rows.rows(); ++i)
        stream.add(rows.first(i), rows.values(i), rows.count(i),
                   &b[static_cast<std::size_t>(i) * kWidth]);
    stream.finish();
    EXPECT_EQ(stream.rows(), 20000);

    const RowCompression atOnce(rows);
    std::vector<double> c(60 * knotwork::kFewLanes);
    atOnce.compress<knotwork::kFewLanes>(
        [&](int i, double* to) { to[0] = b[static_cast<std::size_t>(i) * kWidth + 5]; }, c.data());
    for (int j = 0; j < 60; ++j) {
        const double* expected = atOnce.triangle().row(j);
        const double sign = stream.triangle().row(j)[0] * expected[0] < 0.0 ? -1.0 : 1.0;
        ASSERT_LE(atOnce.triangle().count(j), stream.triangle().count(j));
        for (int k = 0; k < atOnce.triangle().count(j); ++k)
            EXPECT_NEAR(sign * stream.triangle().row(j)[k], expected[k], 1e-12);
        EXPECT_NEAR(sign * stream.rhs(j)[5], c[static_cast<std::size_t>(j) * knotwork::kFewLanes],
                    1e-12);
    }
}
