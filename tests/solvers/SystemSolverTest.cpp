// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveSystems.h"

#include <utility>

#include "tests/solvers/RoadProbe.h"
#include "tests/solvers/SolverProbe.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

using Rows = std::vector<std::vector<double>>;

SolverProbe probe(double tolerance, int entriesPerRow = 0)
{
    return {tolerance, entriesPerRow, true};
}

}  // namespace

TEST(SystemSolverTest, ZeroSearchHonoursFixedColumnsAndItsInclusiveBound)
{
    const DoubleGenMat a = mat({{0.0, 0.1, 9.0, 0.0}, {0.0, 0.0, 9.0, 0.0}, {0.0, -0.1, 0.0, 0.2}});
    IntVec rows;
    IntVec cols;
    ASSERT_TRUE(TsolveSystems::findZero(a, intVec({2}), rows, cols, 0.1));
    EXPECT_THAT(elements(cols), ElementsAre(3));
    EXPECT_THAT(elements(rows), ElementsAre(0, 1, 2)) << "fixed columns count for rows";
    ASSERT_TRUE(TsolveSystems::findZero(a, IntVec(), rows, cols, 0.09));
    EXPECT_THAT(elements(cols), ElementsAre(1, 2, 3));
    ASSERT_TRUE(TsolveSystems::findZero(a, intVec({0, 1, 2, 3}), rows, cols, 0.0));
    EXPECT_THAT(elements(cols), IsEmpty());
    EXPECT_FALSE(TsolveSystems::findZero(DoubleGenMat(), IntVec(), rows, cols, 0.0));

    DoubleGenMat withNaN(1, 1, std::numeric_limits<double>::quiet_NaN());
    ASSERT_TRUE(TsolveSystems::findZero(withNaN, IntVec(), rows, cols, 1.0));
    EXPECT_THAT(elements(cols), ElementsAre(0)) << "a NaN is no zero";
}

TEST(SystemSolverTest, AnOverLargeCutoffIsResetForGoodAndSaysSo)
{
    ListeningReporter reporter;
    SolverProbe solver(reporter, 0.5, 0, true);
    solver.prepare(mat({{0.3, 0.0}, {0.0, 0.0005}}), IntVec(), false, true);
    EXPECT_EQ(solver.tolerance(), 0.001);
    EXPECT_THAT(reporter.lines,
                ElementsAre(" Region cutoff value set to 0.500000",
                            " Region cutoff value too large (maximal allowed value 0.297). "
                            "Reset to 0.001."));
    EXPECT_EQ(rowsOf(solver.working()), (Rows{{0.3}}));
    EXPECT_THAT(elements(solver.usedColIndex()), ElementsAre(0));
}

TEST(SystemSolverTest, ACutoffBeyondResetClampsEverythingAndDropsNothing)
{
    ListeningReporter reporter;
    SolverProbe solver(reporter, 0.5, 0, true);
    solver.prepare(mat({{0.0005, -0.6}, {0.0, -0.5}}), intVec({1}), false, true);
    EXPECT_EQ(solver.tolerance(), 0.5);
    EXPECT_EQ(reporter.lines.back(),
              " Region cutoff value too large (maximal allowed value 0.000). Reset to 0.500.");
    EXPECT_EQ(rowsOf(solver.working()), (Rows{{0.0, -0.6}, {0.0, 0.0}}));
    EXPECT_EQ(solver.usedCols(), 2);
}

TEST(SystemSolverTest, EntriesAboveOneAllowCutoffsUpToNearlyOne)
{
    SolverProbe solver = probe(0.98);
    solver.prepare(mat({{5.0, 0.5}, {0.98, 0.0}}), IntVec(), false, true);
    EXPECT_EQ(solver.tolerance(), 0.98);
    EXPECT_EQ(rowsOf(solver.working()), (Rows{{5.0}})) << "both bounds are inclusive";
}

TEST(SystemSolverTest, WithoutCleaningEverythingIsUsedAndFixedColumnsAreIgnored)
{
    SolverProbe solver = probe(1e-10);
    solver.prepare(mat({{1.0, 0.0}, {0.0, 0.0}}), intVec({0}), false, false);
    EXPECT_THAT(elements(solver.usedColIndex()), ElementsAre(0, 1));
    EXPECT_THAT(solver.usedRows(), ElementsAre(0, 1));
}

TEST(SystemSolverTest, ThinningKeepsFirstEntriesThatTheDiagonalOneMayDisplace)
{
    struct Case {
        const char* name;
        int entries;
        Rows before;
        Rows after;
    };
    const Case cases[] = {
        {"rows beyond the columns keep their first entries",
         1,
         {{1, 2}, {3, 4}, {5, 6}},
         {{1, 0}, {0, 4}, {5, 0}}},
        {"the diagonal entry displaces the smallest, once per later column",
         2,
         {{1, 2, 3, 4}, {9, 9, 1, 1}, {5, 1, 3, 7}, {1, 1, 1, 6}},
         {{1, 2, 0, 0}, {9, 9, 0, 0}, {5, 0, 3, 0}, {0, 0, 0, 6}}},
        {"a negative diagonal entry never displaces",
         1,
         {{1, 0, 0}, {1, -9, 0}},
         {{1, 0, 0}, {1, 0, 0}}},
        {"an equal magnitude does not displace", 1, {{7, 0}, {-4, 4}}, {{7, 0}, {-4, 0}}},
        {"as many as there are columns means no thinning", 2, {{1, 2}}, {{1, 2}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DoubleGenMat a(static_cast<unsigned>(c.before.size()),
                       static_cast<unsigned>(c.before[0].size()));
        for (std::size_t i = 0; i < c.before.size(); ++i)
            for (std::size_t j = 0; j < c.before[i].size(); ++j)
                a(static_cast<int>(i), static_cast<int>(j)) = c.before[i][j];
        SolverProbe solver = probe(1e-10, c.entries);
        solver.prepare(a, IntVec(), false, true);
        DoubleGenMat full(a.rows(), a.cols(), 0.0);  // thinning may have emptied a column
        for (int i = 0; i < static_cast<int>(solver.usedRows().size()); ++i)
            for (int j = 0; j < solver.usedCols(); ++j)
                full(solver.usedRows()[static_cast<std::size_t>(i)], solver.usedColIndex()(j)) =
                    solver.working()(i, j);
        EXPECT_EQ(rowsOf(full), c.after);
    }
}

TEST(SystemSolverTest, ARowOfInfiniteLengthHasNoDirectionAndIsNoZeroRow)
{
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kLarge = std::numeric_limits<double>::max();
    const DoubleGenMat sparse = curveMatrix(200, 30);
    const DoubleGenMat dense = randomMatrix(9, 4, 1);
    for (const DoubleGenMat& matrix : {sparse, dense})
        for (const std::pair<double, double>& entries :
             {std::make_pair(kLarge, -kLarge), {kInf, 1.0}, {kInf, -kInf}}) {
            DoubleGenMat a(matrix.copy());
            a(1, 0) = entries.first;
            a(1, 1) = entries.second;
            RoadProbe solver(1e-12, 0, true);
            EXPECT_EQ(solver.setMatrix(a, 3, true, false, false), -1);
            EXPECT_TRUE(std::isnan(solver.working()(1, 0)));
            a.row(1) = 0.0;
            EXPECT_EQ(solver.setMatrix(a, 3, true, false, false), 0);
        }
}

TEST(SystemSolverTest, NormalisingGivesRowsOfLengthOneAtEveryScale)
{
    SolverProbe solver = probe(0.0);
    solver.prepare(mat({{3.0, 4.0}, {0.0, 0.0}, {3e200, -4e200}, {3e-200, 4e-200}}), IntVec(), true,
                   false);
    ASSERT_TRUE(solver.isNormalised());
    const DoubleGenMat& rows = solver.working();
    for (const int i : {0, 2, 3}) {
        EXPECT_NEAR(rows(i, 0), 0.6, 4e-16);
        EXPECT_NEAR(std::fabs(rows(i, 1)), 0.8, 4e-16);
    }
    EXPECT_EQ(rows(1, 0), 0.0);
    EXPECT_EQ(solver.rhsMult()(1), 0.0);
    EXPECT_DOUBLE_EQ(solver.rhsMult()(0), 0.2);

    solver.prepare(mat({{2.0}}), IntVec(), false, false);
    EXPECT_FALSE(solver.isNormalised()) << "every set-up starts clean";
    EXPECT_EQ(solver.rhsMult().length(), 0u);
}

TEST(SystemSolverTest, TheUntouchedColumnSurvivesCleaning)
{
    SolverProbe solver = probe(0.1);
    solver.prepare(mat({{1.0, 0.05}, {1.0, 0.02}}), IntVec(), true, true);
    EXPECT_THAT(elements(solver.originalColumn(1)), ElementsAre(0.05, 0.02));
    EXPECT_THAT(elements(solver.originalColumn(2)), IsEmpty());
    SolverProbe keepsNone(0.1, 0, false);
    keepsNone.prepare(mat({{1.0, 0.05}}), IntVec(), false, true);
    EXPECT_THAT(elements(keepsNone.originalColumn(0)), IsEmpty());
}
