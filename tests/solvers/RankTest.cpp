// SPDX-License-Identifier: MIT
#include "tests/solvers/RoadProbe.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

/// Tolerance 0, so that nothing is skipped and the rank test alone decides.
int codeOf(const DoubleGenMat& a, int constraints)
{
    RoadProbe solver(0.0, 0, false);
    solver.keepToLiteralRoad();
    return solver.setMatrix(a, constraints, false, false, false);
}

}  // namespace

TEST(RankTest, ADiagonalEntryFallsBelow1e13PartsOfTheLargestSquaredNorm)
{
    // The large entry by turns in every place that its norm is gathered from; 1e4 is its square.
    const struct {
        const char* name;
        DoubleGenMat large;
        int smallRow, smallCol, constraints;
    } cases[] = {
        {"square", mat({{100, 0}, {0, 0}}), 1, 1, 0},
        {"square, constraints", mat({{100, 0}, {0, 0}}), 1, 1, 2},
        {"large in a row before the pivots", mat({{100, 0}, {0, 0}, {0, 0}}), 1, 1, 0},
        {"large in the last row", mat({{0, 0}, {0, 0}, {100, 0}}), 1, 1, 0},
        {"large in a sample, small in a constraint", mat({{100, 0}, {0, 0}, {0, 0}}), 2, 1, 1},
        {"large in a constraint, small in a sample", mat({{0, 0}, {0, 0}, {0, 100}}), 0, 0, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DoubleGenMat a(c.large.copy());
        a(c.smallRow, c.smallCol) = 0.5e-13 * 1e4;
        EXPECT_EQ(codeOf(a, c.constraints), -1);
        a(c.smallRow, c.smallCol) = 2e-13 * 1e4;
        EXPECT_EQ(codeOf(a, c.constraints), 0);
    }
}

/// Downdated norms lose what is left of columns that are nearly parallel, so they are computed
/// anew; and the order of pivots decides which diagonal entries come out. With the larger remainder
/// first they are a larger and a smaller one, the last of which falls; the other order leaves two
/// that stand.
TEST(RankTest, PivotsAreChosenByWhatIsLeftOfTheNorms)
{
    const double e = 0x1p-10;
    const struct {
        const char* name;
        DoubleGenMat a;  // by columns, below: small before large
        double scale;
    } cases[] = {
        {"nothing is left of both", mat({{1, 1, 1}, {0, 1e-11, 1e-9}, {0, 1e-17, 0}}), e},
        {"the neighbour of the first pivot is small",
         mat({{2, 0, 1}, {0, 1e-11, 1e-9}, {0, 1e-17, 0}}), e},
        {"the neighbour of a later pivot is small",
         mat({{2, 1, 1, 1}, {0, e, 0, e / 2}, {0, 0, 1e-13, 1e-12}, {0, 0, 1e-16, 0}}), e},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(codeOf(c.a * c.scale, 0), -1);
        DoubleGenMat rows(transpose(c.a) * c.scale);
        EXPECT_EQ(codeOf(rows, static_cast<int>(rows.rows())), -1) << "constraints";
    }
}

/// The same where a norm is not lost but rounded, by one lane of a long sum that starts with a 1:
/// what is above half of its last digit counts as a whole one each time, what is below as nothing.
TEST(RankTest, NormsAreComputedAnewWhenTheyHaveFallenByAHundred)
{
    const double digit = 0x1p-52;
    constexpr int kLanes = 8;
    DoubleGenMat a(81 * kLanes, 3, 0.0);
    a(0, 0) = 2.0;
    a(0, 1) = a(0, 2) = 1.0;
    for (int k = 1; k <= 80; ++k) {
        if (k <= 40) a(kLanes * k, 1) = std::sqrt(0.55 * digit);  // looks like 40 digits, is 22
        a(kLanes * k, 2) = std::sqrt(0.49 * digit);               // looks like none, is 39
    }
    // Half of the squares of the last column are where the other one's are, so that what comes
    // second is shorter by the root of 2: 4.9e-8, or 6.6e-8 the other way round.
    const double scale = 0x1p17;
    EXPECT_LT(std::sqrt(11.0 * digit), 4.0 * scale * 1e-13);
    EXPECT_GT(std::sqrt(19.0 * digit), 4.0 * scale * 1e-13);
    EXPECT_EQ(codeOf(a * scale, 0), -1);
}
