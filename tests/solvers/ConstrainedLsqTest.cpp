// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveConstrainedLsq.h"

#include "tests/solvers/SolverProbe.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

TEST(ConstrainedLsqTest, TheConstraintCountIsClampedToWhatTheSystemHolds)
{
    struct Case {
        const char* name;
        unsigned rows, cols;
        int asked, got;
    };
    const Case cases[] = {{"negative", 4, 3, -3, 0},
                          {"more than rows", 4, 4, 10, 4},
                          {"more than unknowns", 6, 4, 5, 4},
                          {"fewer rows than unknowns", 3, 5, 1, 3},
                          {"as asked", 6, 4, 2, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SolverProbe solver(1e-14, 0, false);
        EXPECT_EQ(solver.setMatrix(randomMatrix(c.rows, c.cols, 3), c.asked, false, false, false),
                  0);
        EXPECT_EQ(solver.constraints(), c.got);
    }
}

TEST(ConstrainedLsqTest, DroppingRowsDoesNotLowerTheConstraintCount)
{
    SolverProbe solver(1e-10, 0, false);
    solver.setMatrix(mat({{1, 0}, {0, 1}, {1, 1}, {0, 0}}), 2, false, true, false);
    EXPECT_EQ(solver.working().rows(), 3u);
    EXPECT_EQ(solver.constraints(), 2);
    // Two equations are left for three unknowns, so both count as constraints.
    solver.setMatrix(mat({{1, 0, 1}, {0, 1, 1}, {0, 0, 0}}), 0, false, true, false);
    EXPECT_EQ(solver.constraints(), 2);
}

TEST(ConstrainedLsqTest, TheCutoffLiesInTheFirstMarkedGapBelowOne)
{
    struct Case {
        const char* name;
        std::vector<double> values;
        double expected;
    };
    const Case cases[] = {
        {"a gap", {5, 0.9, 0.8, 0.01, 0.005}, (9 * 0.01 + 0.8) / 10},
        {"none below 1", {3, 2, 1.5}, 0.0},
        {"a single value", {0.5}, 0.0},
        {"none at all", {}, 0.0},
        {"a vanishing value", {0.5, 1e-12}, (9e-12 + 0.5) / 10},
        {"the first value below 1 is only marked", {2, 1e-12, 1e-13}, (9e-13 + 1e-12) / 10},
        {"small, but no step down", {0.9, 0.07, 0.04, 0.03}, 0.0},
        {"far below the first, and a step", {0.9, 0.2, 0.05, 0.02}, (9 * 0.02 + 0.05) / 10},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_DOUBLE_EQ(SolverProbe::cutoffFrom(vecFrom(c.values)), c.expected);
    }
    EXPECT_NEAR(SolverProbe::trySVD(mat({{0, 0.01, 0}, {5, 0, 0}, {0, 0, -0.9}, {0, 0, 0}})),
                (9 * 0.01 + 0.9) / 10, 1e-15);
}

TEST(ConstrainedLsqTest, AnEstimatedCutoffRaisesTheToleranceForGood)
{
    SolverProbe solver(1e-10, 0, false);
    const DoubleGenMat a = mat({{0.9, 0.0}, {0.0, 0.001}, {0.0011, 0.0}});
    solver.setMatrix(a, 0, false, true, true);
    EXPECT_NEAR(solver.tolerance(), 0.09, 1e-6)
        << "0.001 counts as 0 beside 0.9: a vanishing value";
    EXPECT_EQ(rowsOf(solver.working()), (std::vector<std::vector<double>>{{0.9}}));
    const double raised = solver.tolerance();
    solver.setMatrix(mat({{1, 0}, {0, 1}}), 0, false, false, false);
    EXPECT_EQ(solver.tolerance(), raised);
    EXPECT_EQ(a(1, 1), 0.001) << "the caller's matrix is never changed";

    SolverProbe unclean(1e-10, 0, false);
    unclean.setMatrix(mat({{0.9, 0.0}, {0.0, 0.001}}), 0, false, false, true);
    EXPECT_NEAR(unclean.tolerance(), (9 * 0.001 + 0.9) / 10, 1e-12) << "no clamp without cleaning";
}

TEST(ConstrainedLsqTest, OnlyALargeSystemAnnouncesTheCutoff)
{
    ListeningReporter reporter;
    SolverProbe solver(reporter, 1e-10, 0, false);
    solver.setMatrix(randomMatrix(1000, 50, 1), 0, false, false, true);
    EXPECT_THAT(reporter.lines, testing::Not(testing::Contains(testing::StartsWith("Computing"))));
    solver.setMatrix(randomMatrix(1001, 50, 1), 0, false, false, true);
    EXPECT_THAT(reporter.lines,
                testing::Contains("Computing region cutoff... (could take some time)"));
}

TEST(ConstrainedLsqTest, TheDampedMatrixStacksTheWorkingOneOnARidge)
{
    SolverProbe solver(1e-10, 0, false);
    solver.setMatrix(mat({{3, 4, 0}, {0, 0, 2}}), 0, true, false, false);
    EXPECT_EQ(rowsOf(solver.altMatrix()),
              (std::vector<std::vector<double>>{
                  {3 * 0.2, 4 * 0.2, 0}, {0, 0, 1}, {0.2, 0, 0}, {0, 0.2, 0}, {0, 0, 0.2}}));
}
