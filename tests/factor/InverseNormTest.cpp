// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/InverseNorm.h"

#include <utility>

#include "knotwork/factor/kernels/BlockedQR.h"
#include "knotwork/sparse/BandTriangle.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork;
using namespace knotwork_test;

namespace {

BandTriangle bandOf(const DoubleGenMat& upper)
{
    const int n = static_cast<int>(upper.rows());
    std::vector<int> ends;
    for (int j = 0; j < n; ++j) {
        int end = n;
        while (end > j && upper(j, end - 1) == 0.0) --end;
        ends.push_back(end);
    }
    BandTriangle triangle(ends);
    for (int j = 0; j < n; ++j)
        for (int k = 0; k < triangle.count(j); ++k)
            triangle.values()[triangle.starts()[j] + k] = upper(j, j + k);
    return triangle;
}

/// A triangle is its own R.
struct Factored {
    explicit Factored(const DoubleGenMat& upper)
        : numbers(upper.copy()),
          qr({numbers.data(), static_cast<int>(numbers.rows()), static_cast<int>(numbers.rows()),
              static_cast<int>(numbers.cols())})
    {
    }
    DoubleGenMat numbers;
    BlockedQR qr;
};

/// Groups of four: what comes out of one is doubled and more by the next, but only along
/// (1, 1, -1, -1). A vector of ones stays as it is, as does one that rises evenly with alternating
/// signs: the 1-norm of the inverse looks like 1, and is of the order of 3^groups.
DoubleGenMat hiddenGrowth(int groups)
{
    const double s[] = {1.0, 1.0, -1.0, -1.0};
    const int n = 4 * groups;
    DoubleGenMat a(static_cast<unsigned>(n), static_cast<unsigned>(n), 0.0);
    for (int i = 0; i < n; ++i) {
        a(i, i) = 1.0;
        const int next = 4 * (i / 4 + 1);
        for (int c = 0; c < 4 && next < n; ++c) a(i, next + c) = -0.75 * s[i % 4] * s[c];
    }
    return a;
}

}  // namespace

TEST(InverseNormTest, NormsOfTrianglesWorkedByHand)
{
    const struct {
        const char* name;
        DoubleGenMat upper;
        double rowSum, columnSum;    // the largest ones
        double inverse, transposed;  // of the inverse and its transpose: 1-norm or 2-norm
    } cases[] = {
        {"both signs", mat({{1, 1, 0}, {0, 1, -1}, {0, 0, 1}}), 2.0, 2.0, 3.0, 3.0},
        {"signs that cancel in every sum", mat({{2, -2}, {0, 2}}), 4.0, 4.0, 1.0, 1.0},
        {"a negative diagonal", mat({{-4, 0}, {0, -0.125}}), 4.0, 4.0, 8.0, 8.0},
        {"a full row", mat({{1, -1, -1, -1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}), 4.0, 2.0,
         (std::sqrt(7.0) + std::sqrt(3.0)) / 2.0, 4.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const BandTriangle band = bandOf(c.upper);
        const Factored factored(c.upper);
        const double bound = std::sqrt(c.rowSum * c.columnSum);
        EXPECT_NEAR(band.normBound(), bound, 4 * kEps * bound);
        EXPECT_NEAR(factored.qr.normBound(), bound, 4 * kEps * bound);
        const std::vector<double> ones(c.upper.rows(), 1.0);
        const double transposed = factored.qr.transposedInverseNorm(ones);
        const std::pair<double, double> estimates[] = {{band.inverseNorm(), c.inverse},
                                                       {factored.qr.inverseNorm(), c.inverse},
                                                       {transposed, c.transposed}};
        for (const auto& [estimate, norm] : estimates) {
            EXPECT_LE(estimate, (1.0 + 8 * kEps) * norm);
            EXPECT_GE(estimate, 0.7 * norm);
        }
        // Rows that are 2^k times as long, and scales that undo it.
        const std::vector<double> scales(c.upper.rows(), 0x1p20);
        EXPECT_EQ(Factored(c.upper * 0x1p20).qr.transposedInverseNorm(scales), transposed);
    }
    const DoubleGenMat singular = mat({{1, 5}, {0, 0}});
    EXPECT_TRUE(std::isinf(bandOf(singular).inverseNorm()));
    EXPECT_TRUE(std::isinf(Factored(singular).qr.inverseNorm()));
    EXPECT_TRUE(std::isinf(Factored(singular).qr.transposedInverseNorm({1.0, 1.0})));
}

TEST(InverseNormTest, GrowthThatTheUsualStartingVectorsMissIsFound)
{
    for (const int groups : {2, 8, 24}) {
        const DoubleGenMat a = hiddenGrowth(groups);
        // Group g of a column that starts in the last group: 0.75 times 3^k in each of four rows.
        const double norm = 1.0 + 1.5 * (std::pow(3.0, groups - 1) - 1.0);
        for (const double estimate : {bandOf(a).inverseNorm(), Factored(a).qr.inverseNorm()}) {
            EXPECT_GE(estimate, 0.1 * norm);
            EXPECT_LE(estimate, 1.001 * norm);
        }
    }
}
