// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"

#include "tests/solvers/SolverProbe.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;
using testing::DoubleNear;
using testing::Pointwise;

namespace {

Thouseholder solverFor(const DoubleGenMat& a, int constraints, bool normalise = false)
{
    Thouseholder solver(1e-14, 0, true);
    EXPECT_EQ(solver.setMatrix(a, constraints, normalise, false, false), 0);
    return solver;
}

/// x + y = 3 exactly; x near 2, y near 2, 2x near 2: the line's best point is (7/6, 11/6).
DoubleGenMat lineSystem()
{
    return mat({{1, 0}, {0, 1}, {2, 0}, {1, 1}});
}
DoubleVec lineRhs()
{
    return vec({2, 2, 2, 3});
}
std::vector<double> lineAnswer()
{
    return {7.0 / 6.0, 11.0 / 6.0};
}

auto near(const std::vector<double>& expected)
{
    return Pointwise(DoubleNear(4e-15), expected);
}

}  // namespace

TEST(HouseholderTest, CodesComeInTheirOrder)
{
    const Thouseholder fresh(1e-10, 0, false);
    DoubleVec none;
    EXPECT_EQ(fresh.solve(none, nullptr, false), 4);
    EXPECT_EQ(fresh.solve(none, &none, false), 5);
    EXPECT_FALSE(fresh.isSolvable());
    EXPECT_THAT(elements(fresh.solve(vec({1}))), IsEmpty());

    const Thouseholder solver = solverFor(lineSystem(), 1);
    DoubleVec x = vec({9, 9});
    EXPECT_EQ(solver.solve(vec({1, 1, 1}), &x, false), 4);
    EXPECT_THAT(elements(x), ElementsAre(9, 9)) << "a short right-hand side touches nothing";
    DoubleVec tooShort(1);
    EXPECT_EQ(solver.solve(lineRhs(), &tooShort, false), 4);
    TtupleVector planar(2, 4, 0.0);
    TtupleVector spatial(3, 2, 0.0);
    EXPECT_EQ(solver.solve(planar, &spatial, false), 4);

    Thouseholder dependent(1e-10, 0, false);
    EXPECT_EQ(dependent.setMatrix(mat({{1, 0}, {1, 1}, {1, 1}}), 2, false, false, false), -1);
    EXPECT_EQ(dependent.solve(vec({1, 1, 1}), &tooShort, false), 4) << "4 comes before 5";
    EXPECT_EQ(dependent.solve(vec({1, 1, 1}), &x, false), 5);
}

TEST(HouseholderTest, SolvesALineByHandAndLeavesItsArgumentsAlone)
{
    const Thouseholder solver = solverFor(lineSystem(), 1);
    const DoubleVec b = lineRhs();
    DoubleVec x(2);
    ASSERT_EQ(solver.solve(b, &x, true), 0) << "useFixed is ignored when every column is used";
    EXPECT_THAT(elements(x), near(lineAnswer()));
    EXPECT_THAT(elements(b), ElementsAre(2, 2, 2, 3));
    EXPECT_THAT(elements(solver.solve(b)), near(lineAnswer()));

    DoubleVec longer = vec({2, 2, 2, 3, 77});
    DoubleVec wide = vec({5, 5, 5});
    ASSERT_EQ(solver.solve(longer, &wide, false), 0);
    EXPECT_EQ(wide(2), 0.0);
    EXPECT_NEAR(wide(0), 7.0 / 6.0, 4e-15);
}

TEST(HouseholderTest, TheResultMayShareStorageWithTheRightHandSide)
{
    const Thouseholder solver = solverFor(lineSystem(), 1);
    const DoubleVec storage = lineRhs();
    DoubleVec x = storage.slice(0, 2, 1);
    ASSERT_EQ(solver.solve(storage, &x, false), 0);
    EXPECT_THAT(elements(x), near(lineAnswer()));

    DoubleVec inPlace = lineRhs();
    DoubleVec tail = inPlace.slice(2, 2, 1);
    ASSERT_EQ(solver.solveInPlace(inPlace, &tail), 0);
    EXPECT_THAT(elements(tail), near(lineAnswer()));
}

TEST(HouseholderTest, NormalisingChangesTheFitButNeverTheConstraint)
{
    // The row 2x = 2 becomes x = 1 and loses its double weight: best point (4/3, 5/3).
    const Thouseholder solver = solverFor(lineSystem(), 1, true);
    EXPECT_THAT(elements(solver.solve(lineRhs())), near({4.0 / 3.0, 5.0 / 3.0}));
}

TEST(HouseholderTest, PointsAreSolvedCoordinateByCoordinate)
{
    const Thouseholder solver = solverFor(lineSystem(), 1, true);
    TtupleVector b(3, 4, 0.0);
    for (int k = 0; k < 3; ++k) b.component(k) = lineRhs() * (k - 1.0);
    const TtupleVector x = solver.solve(b);
    ASSERT_EQ(x.points(), 2);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(x.point(0)(k), 4.0 / 3.0 * (k - 1), 4e-15);
        EXPECT_NEAR(x.point(1)(k), 5.0 / 3.0 * (k - 1), 4e-15);
    }
}

TEST(HouseholderTest, FixedUnknownsKeepTheirValuesAndCount)
{
    // Column 1 is given; with y = 2, the rest is x = 2 and 2x = 2: x = 6/5; z lies by itself.
    const DoubleGenMat a = mat({{1, 0, 0}, {2, 0, 0}, {0, 1, 0}, {1, 1, 5}});
    const DoubleVec b = vec({2, 2, 9, 18.2});
    Thouseholder solver(1e-14, 0, true);
    ASSERT_EQ(solver.setMatrix(a, intVec({1}), 1, false, true, false), 0);
    EXPECT_THAT(elements(solver.usedColIndex()), ElementsAre(0, 2));
    DoubleVec x = vec({7, 2, 7});
    ASSERT_EQ(solver.solve(b, &x, true), 0);
    EXPECT_THAT(elements(x), near({1.2, 2, 3}));
    EXPECT_EQ(x(1), 2.0) << "to the bit";

    DoubleVec longer = vec({2, 2, 9, 18.2, 1000});
    ASSERT_EQ(solver.solve(longer, &x, true), 0);
    EXPECT_THAT(elements(x), near({1.2, 2, 3}));

    DoubleVec cleared = vec({7, 2, 7});
    ASSERT_EQ(solver.solve(b, &cleared, false), 0);
    EXPECT_EQ(cleared(1), 0.0);

    TtupleVector points(2, 4, 0.0);
    points.component(0) = b;
    points.component(1) = b * 2.0;
    TtupleVector solution(2, 3, 0.0);
    solution.point(1) = vec({2, 4});
    ASSERT_EQ(solver.solve(points, &solution, true), 0);
    EXPECT_THAT(elements(solution.component(0)), near({1.2, 2, 3}));
    EXPECT_THAT(elements(solution.component(1)), near({2.4, 4, 6}));

    Thouseholder keepsNoCopy(1e-14, 0, false);
    ASSERT_EQ(keepsNoCopy.setMatrix(a, intVec({1}), 1, false, true, false), 0);
    EXPECT_EQ(keepsNoCopy.solve(b, &x, true), 4);
}

TEST(HouseholderTest, DroppedRowsAndColumnsMapBackToTheCallersUnknowns)
{
    DoubleGenMat a(6, 4, 0.0);
    const DoubleGenMat line = lineSystem();
    const int rowAt[] = {0, 2, 3, 5};
    const int colAt[] = {1, 3};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 2; ++j) a(rowAt[i], colAt[j]) = line(i, j);
    Thouseholder solver(1e-14, 0, true);
    ASSERT_EQ(solver.setMatrix(a, 1, true, true, false), 0);
    const DoubleVec b = vec({2, 50, 2, 2, 60, 3});
    DoubleVec x = vec({8, 8, 8, 8});
    ASSERT_EQ(solver.solve(b, &x, false), 0);
    EXPECT_THAT(elements(x), near({0, 4.0 / 3.0, 0, 5.0 / 3.0}));

    EXPECT_EQ(solver.solve(vec({2, 50, 2, 2}), &x, false), 4) << "the last used row is row 5";
    DoubleVec shortX = vec({8, 8, 8});
    EXPECT_EQ(solver.solve(b, &shortX, false), 4);
    EXPECT_THAT(elements(shortX), ElementsAre(0, 0, 0));
    DoubleVec longX = vec({8, 8, 8, 8, 8});
    ASSERT_EQ(solver.solve(b, &longX, true), 0) << "fixed values need the exact length";
    EXPECT_THAT(elements(longX), near({0, 4.0 / 3.0, 0, 5.0 / 3.0, 0}));
}

TEST(HouseholderTest, WhatDependsIsReportedAndNothingElse)
{
    const DoubleGenMat wellPosed = randomMatrix(6, 3, 11);
    struct Case {
        const char* name;
        DoubleGenMat matrix;
        int constraints;
    };
    DoubleGenMat twins(wellPosed.copy());
    twins.row(5) = twins.row(4);
    DoubleGenMat zeroConstraint(wellPosed.copy());
    zeroConstraint.row(5) = 0.0;
    DoubleGenMat equalColumns(wellPosed.copy());
    equalColumns.col(2) = equalColumns.col(0);
    DoubleGenMat notANumber(wellPosed.copy());
    notANumber(1, 1) = kNaN;
    DoubleGenMat notANumberBelow(wellPosed.copy());
    notANumberBelow(5, 1) = kNaN;
    const Case cases[] = {{"two equal constraints", twins, 2},
                          {"a zero constraint", zeroConstraint, 1},
                          {"two equal unknowns", equalColumns, 0},
                          {"a zero matrix", DoubleGenMat(4, 2, 0.0), 0},
                          {"an infinite row", randomMatrix(6, 3, 12) * 1e300, 2},
                          {"a NaN above", notANumber, 1},
                          {"a NaN among the constraints", notANumberBelow, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Thouseholder solver(1e-10, 0, false);
        EXPECT_EQ(solver.setMatrix(c.matrix, c.constraints, false, false, false), -1);
        EXPECT_TRUE(solver.isDependent());
        DoubleVec x(3);
        EXPECT_EQ(solver.solve(DoubleVec(6, 1.0), &x, false), 5);
        EXPECT_EQ(solver.setMatrix(wellPosed, 2, false, false, false), 0)
            << "a new set-up starts over";
    }
}

TEST(HouseholderTest, TallSystemsFitSixteenBitWorkVectors)
{
    for (const unsigned rows : {65535u, 65536u, 65540u}) {
        DoubleGenMat a(rows, 3);
        DoubleVec b(rows);
        for (int i = 0; i < static_cast<int>(rows); ++i) {
            const double t = i / 65536.0;
            a(i, 0) = 1.0;
            a(i, 1) = t;
            a(i, 2) = t * t;
            b(i) = 3.0 - 2.0 * t + 0.5 * t * t;
        }
        const Thouseholder solver = solverFor(a, 1);
        EXPECT_THAT(elements(solver.solve(b)), Pointwise(DoubleNear(1e-11), {3.0, -2.0, 0.5}));
    }
}

TEST(HouseholderTest, SmallInnerProductsAreSkippedByTheRawThreshold)
{
    Thouseholder solver(1e-3, 0, false);
    ASSERT_EQ(solver.setMatrix(mat({{1}, {1}}), 0, false, false, false), 0);
    DoubleVec x(1);
    ASSERT_EQ(solver.solve(vec({3, 5}), &x, false), 0);
    EXPECT_NEAR(x(0), 4.0, 4e-15);
    ASSERT_EQ(solver.solve(vec({3e-6, 5e-6}), &x, false), 0);
    EXPECT_EQ(std::fabs(x(0)), 5e-6 / std::sqrt(2.0)) << "the reflection was not worth applying";
}

TEST(HouseholderTest, ADampedSolutionStandsInForADependentSystem)
{
    Thouseholder solver(1e-10, 0, false);
    ASSERT_EQ(solver.setMatrix(mat({{0, 1}, {0, 1}}), 2, false, false, false), -1);
    TtupleVector b(1, 2, 1.0);
    const TtupleVector x = solver.altSolve(b, 1);
    ASSERT_EQ(x.points(), 2);
    EXPECT_NEAR(x.point(0)(0), 0.0, 1e-15);
    EXPECT_NEAR(x.point(1)(0), 2.0 / 2.04, 1e-15);
    EXPECT_EQ(solver.altSolve(b, 0).points(), 0);
    EXPECT_EQ(solver.altSolve(TtupleVector(1, 1, 1.0), 3).points(), 0);

    // Dropped unknowns stay 0, dropped rows are passed over, normalised rows scale their values.
    ASSERT_EQ(solver.setMatrix(mat({{0, 0, 0}, {0, 0, 2}, {0, 0, 2}}), 2, true, true, false), 0);
    TtupleVector wide(2, 3, 2.0);
    wide.point(0) = 99.0;
    const TtupleVector spread = solver.altSolve(wide, 1);
    ASSERT_EQ(spread.points(), 3);
    EXPECT_EQ(spread.size(), 2);
    EXPECT_EQ(spread.point(1)(1), 0.0);
    EXPECT_NEAR(spread.point(2)(1), 2.0 / 2.04, 1e-15);
}

TEST(HouseholderTest, CopiesAreIndependentAndReferencesShare)
{
    Thouseholder original = solverFor(lineSystem(), 1);
    const Thouseholder copy(original);
    Thouseholder shared(1e-3, 5, false);
    shared.reference(original);
    EXPECT_EQ(shared.tolerance(), 1e-14);
    original.setMatrix(mat({{1, 0}, {0, 1}}), 0, false, false, false);
    EXPECT_THAT(elements(copy.solve(lineRhs())), near(lineAnswer()));
    EXPECT_THAT(elements(shared.solve(lineRhs())), near(lineAnswer()));
    shared.deepenShallowCopy();
    EXPECT_THAT(elements(shared.solve(lineRhs())), near(lineAnswer()));
}

TEST(HouseholderTest, ProgressIsToldByWorkDoneAndEndsAtOneHundred)
{
    ListeningReporter reporter;
    SolverProbe solver(reporter, 1e-14, 0, false);
    ASSERT_EQ(solver.setMatrix(randomMatrix(60, 40, 5), 20, false, false, false), 0);
    EXPECT_THAT(reporter.lines, ElementsAre(" Region cutoff value set to 0.000000"));
    reporter.lines.clear();
    ASSERT_EQ(solver.setMatrix(randomMatrix(500, 100, 5), 0, false, false, false), 0);
    ASSERT_GE(reporter.lines.size(), 3u);
    EXPECT_EQ(reporter.lines.back(), "Constraint solving ... 100 completed.");
    double units = 0.0;
    std::vector<std::string> expected;
    for (int n = 1; n <= 100; ++n) {
        units += std::floor((1.0 - n / 100.0) * 500.0 + 1e-9);
        if (units <= 10000.0) continue;
        units -= 10000.0;
        expected.push_back("Constraint solving ... " + std::to_string(n) + " completed.");
    }
    expected.push_back("Constraint solving ... 100 completed.");
    reporter.lines.erase(reporter.lines.begin());
    EXPECT_EQ(reporter.lines, expected);
}
