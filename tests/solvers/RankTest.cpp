// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/solvers/RoadProbe.h"

using knotwork_test::mat;
using knotwork_test::RoadProbe;

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
        DoubleGenMat (*make)(double small);
        int constraints;
    } cases[] = {
        {"square",
         [](double small) {
             return mat({{100, 0}, {0, small}});
         },
         0},
        {"square, constraints",
         [](double small) {
             return mat({{100, 0}, {0, small}});
         },
         2},
        {"large in a row before the pivots",
         [](double small) {
             return mat({{100, 0}, {0, small}, {0, 0}});
         },
         0},
        {"large in the last row",
         [](double small) {
             return mat({{0, 0}, {0, small}, {100, 0}});
         },
         0},
        {"large in a sample, small in a constraint",
         [](double small) {
             return mat({{100, 0}, {0, 0}, {0, small}});
         },
         1},
        {"large in a constraint, small in a sample",
         [](double small) {
             return mat({{small, 0}, {0, 0}, {0, 100}});
         },
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(codeOf(c.make(0.5e-13 * 1e4), c.constraints), -1);
        EXPECT_EQ(codeOf(c.make(2e-13 * 1e4), c.constraints), 0);
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
