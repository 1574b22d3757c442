// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveTensorProductLsq.h"

#include "knotwork/solvers/Thouseholder.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

double frobenius(const DoubleGenMat& m)
{
    return m.dataVec().vecLen();
}

/// A direction pair of random systems around solvers of their own.
struct Grid {
    Grid(unsigned mu, unsigned nu, unsigned mv, unsigned nv, unsigned seed)
        : Au(randomMatrix(mu, nu, seed)),
          Av(randomMatrix(mv, nv, seed + 1)),
          B(randomMatrix(mu, mv, seed + 2)),
          u(1e-15, 0, false),
          v(1e-15, 0, false),
          tensor(u, v)
    {
    }
    int set(int ncU = 0, int ncV = 0)
    {
        return tensor.setMatrix(Au, Av, ncU, ncV, false, false, false, false, false, false);
    }

    DoubleGenMat Au, Av, B;
    Thouseholder u, v;
    TsolveTensorProductLsq tensor;
};

TtupleMatrix pointsOf(const std::vector<DoubleGenMat>& coordinates)
{
    const DoubleGenMat& first = coordinates[0];
    TtupleMatrix points(static_cast<int>(coordinates.size()), static_cast<int>(first.rows()),
                        static_cast<int>(first.cols()), 0.0);
    for (std::size_t k = 0; k < coordinates.size(); ++k)
        points.setComponent(static_cast<int>(k), coordinates[k]);
    return points;
}

}  // namespace

TEST(TensorProductTest, TheFreeSolutionSatisfiesTheNormalEquationsOfBothDirections)
{
    knotwork_measures::Dice dice(3);
    for (unsigned seed = 1; seed <= 60; ++seed) {
        const unsigned nu = 1 + dice.below(9);
        const unsigned nv = 1 + dice.below(9);
        Grid grid(nu + dice.below(12), nu, nv + dice.below(12), nv, 10 * seed);
        SCOPED_TRACE("seed " + std::to_string(seed));
        ASSERT_EQ(grid.set(), 0);
        DoubleGenMat X(nu, nv);
        ASSERT_EQ(grid.tensor.solve(grid.B, &X), 0);
        const DoubleGenMat rest = grid.B - transProduct(product(grid.Au, X), grid.Av);
        const DoubleGenMat gradient = product(transposeProduct(grid.Au, rest), grid.Av);
        const double size = frobenius(grid.Au) * frobenius(grid.Av);
        EXPECT_LE(frobenius(gradient),
                  100 * kEps * size * (size * frobenius(X) + frobenius(grid.B)));
    }
}

TEST(TensorProductTest, ConstraintRowsOfBothDirectionsAreMet)
{
    Grid grid(12, 5, 9, 4, 7);
    ASSERT_EQ(grid.set(2, 1), 0);
    DoubleGenMat X(5, 4);
    ASSERT_EQ(grid.tensor.solve(grid.B, &X), 0);
    const DoubleGenMat fitted = transProduct(product(grid.Au, X), grid.Av);
    for (const int i : {10, 11}) EXPECT_NEAR(fitted(i, 8), grid.B(i, 8), 1e-13);
}

TEST(TensorProductTest, EveryCoordinateIsSolvedAsIfAlone)
{
    Grid grid(11, 4, 8, 5, 21);
    ASSERT_EQ(grid.set(), 0);
    const std::vector<DoubleGenMat> data = {grid.B, grid.B * 2.0, randomMatrix(11, 8, 5)};
    TtupleMatrix X(3, 4, 5, 0.0);
    ASSERT_EQ(grid.tensor.solve(pointsOf(data), &X), 0);
    for (int k = 0; k < 3; ++k) {
        DoubleGenMat alone(4, 5);
        ASSERT_EQ(grid.tensor.solve(data[static_cast<std::size_t>(k)], &alone), 0);
        EXPECT_LE(frobenius(X.component(k) - alone), 1e-13 * frobenius(alone));
    }
    // A strided matrix, here one coordinate of a grid, serves as data and as result.
    TtupleMatrix points(pointsOf(data));
    DoubleGenMat coordinate(X.component(1));
    coordinate = 0.0;
    ASSERT_EQ(grid.tensor.solve(points.component(2), &coordinate), 0);
    EXPECT_LE(frobenius(X.component(1) - X.component(2)), 1e-13 * frobenius(coordinate));
}

TEST(TensorProductTest, CodesTellWhatIsWrong)
{
    Grid grid(5, 3, 6, 4, 31);
    DoubleGenMat X(3, 4);
    EXPECT_EQ(grid.tensor.solve(grid.B, &X), 5) << "no matrix was set";
    ASSERT_EQ(grid.set(), 0);
    DoubleGenMat* nothing = nullptr;
    EXPECT_EQ(grid.tensor.solve(grid.B, nothing), 4);
    EXPECT_EQ(grid.tensor.solve(randomMatrix(5, 5, 1), &X), 4) << "too few columns";
    EXPECT_EQ(grid.tensor.solve(randomMatrix(4, 6, 1), &X), 4) << "too few rows";
    EXPECT_EQ(grid.tensor.solve(DoubleGenMat(0, 6), &X), 4) << "the u solves still run";
    DoubleGenMat noColumns(3, 0);
    EXPECT_EQ(grid.tensor.solve(DoubleGenMat(0, 6), &noColumns), -1);
    TtupleMatrix planar(2, 3, 4, 0.0);
    EXPECT_EQ(grid.tensor.solve(TtupleMatrix(3, 5, 6, 0.0), &planar), 4);

    DoubleGenMat twins(grid.Au.copy());
    twins.col(0) = twins.col(1);
    const int rowsBefore = grid.v.totalRows();
    EXPECT_EQ(grid.tensor.setMatrix(twins, randomMatrix(9, 4, 2), 0, 0, false, false, false, false,
                                    false, false),
              -1);
    EXPECT_EQ(grid.v.totalRows(), rowsBefore) << "v keeps its matrix";
    EXPECT_EQ(grid.tensor.solve(grid.B, &X), 5);
}

TEST(TensorProductTest, FixedCoefficientsStayToTheBitAndTheRestIsTheTwoSweepAnswer)
{
    Grid grid(9, 4, 8, 3, 41);
    IntGenMat mask(4, 3, 0);
    mask(0, 0) = mask(3, 0) = mask(1, 2) = 1;
    mask.col(1) = 1;  // a column that is fixed as a whole
    DoubleGenMat X = randomMatrix(4, 3, 9);
    const DoubleGenMat given(X.copy());
    ASSERT_EQ(grid.tensor.solveFixed(grid.Au, grid.Av, mask, grid.B, &X), 0);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 4; ++i)
            if (mask(i, j) == 1) {
                EXPECT_EQ(X(i, j), given(i, j)) << i << ", " << j;
            }

    // The same by hand: subtract the fixed part, sweep the rows, then each column's free rows.
    DoubleGenMat fixedPart(given.copy());
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 4; ++i)
            if (mask(i, j) == 0) fixedPart(i, j) = 0.0;
    const DoubleGenMat rest = grid.B - transProduct(product(grid.Au, fixedPart), grid.Av);
    Thouseholder rows(1e-15, 0, false);
    ASSERT_EQ(rows.setMatrix(grid.Av, 0, false, false, false), 0);
    for (const int j : {0, 2}) {
        std::vector<int> free;
        for (int i = 0; i < 4; ++i)
            if (mask(i, j) == 0) free.push_back(i);
        DoubleGenMat reduced(9, static_cast<unsigned>(free.size()));
        for (std::size_t k = 0; k < free.size(); ++k)
            reduced.col(static_cast<int>(k)) = grid.Au.col(free[k]);
        DoubleVec swept(9);
        for (int i = 0; i < 9; ++i) swept(i) = rows.solve(rest.row(i).copy())(j);
        Thouseholder column(1e-15, 0, false);
        ASSERT_EQ(column.setMatrix(reduced, 0, false, false, false), 0);
        const DoubleVec expected = column.solve(swept);
        for (std::size_t k = 0; k < free.size(); ++k)
            EXPECT_NEAR(X(free[k], j), expected(static_cast<int>(k)), 1e-13);
    }
}

TEST(TensorProductTest, AMaskWithoutOnesIsAPlainSolveAndWrongShapesChangeNothing)
{
    Grid grid(6, 3, 7, 4, 51);
    DoubleGenMat plain(3, 4);
    ASSERT_EQ(grid.set(), 0);
    ASSERT_EQ(grid.tensor.solve(grid.B, &plain), 0);
    DoubleGenMat X(3, 4, 5.0);
    ASSERT_EQ(grid.tensor.solveFixed(grid.Au, grid.Av, IntGenMat(3, 4, 0), grid.B, &X), 0);
    EXPECT_EQ(X, plain);

    TtupleMatrix points(2, 3, 4, 5.0);
    EXPECT_EQ(grid.tensor.solveFixed(grid.Au, grid.Av, IntGenMat(4, 3, 1),
                                     pointsOf({grid.B, grid.B}), &points),
              4);
    EXPECT_EQ(grid.tensor.solveFixed(grid.Au, grid.Av, IntGenMat(3, 4, 1),
                                     TtupleMatrix(2, 6, 6, 0.0), &points),
              4);
    EXPECT_THAT(elements(points.data()), testing::Each(5.0));
    TtupleMatrix* nothing = nullptr;
    EXPECT_EQ(grid.tensor.solveFixed(grid.Au, grid.Av, IntGenMat(3, 4, 1),
                                     pointsOf({grid.B, grid.B}), nothing),
              4);
}

TEST(TensorProductTest, TheGridIsWrittenWhenEverySweepHasSucceeded)
{
    Grid grid(9, 4, 8, 3, 61);
    ASSERT_EQ(grid.set(), 0);
    DoubleGenMat dependent(grid.Au.copy());
    dependent.col(3) = dependent.col(2);
    IntGenMat mask(4, 3, 0);
    mask(3, 1) = 1;  // without that unknown the columns of its line are independent
    DoubleGenMat X(4, 3, 5.0);
    TtupleMatrix points(2, 4, 3, 5.0);
    EXPECT_EQ(grid.tensor.solveFixed(dependent, grid.Av, mask, grid.B, &X), 5);
    EXPECT_EQ(X, DoubleGenMat(4, 3, 5.0));
    EXPECT_EQ(grid.tensor.solveFixed(dependent, grid.Av, mask, pointsOf({grid.B, grid.B}), &points),
              5);
    mask.col(0) = mask.col(1);
    EXPECT_EQ(grid.tensor.solveFixed(dependent, grid.Av, mask, grid.B, &X), 5) << "the last line";
    EXPECT_EQ(X, DoubleGenMat(4, 3, 5.0));

    ASSERT_EQ(grid.v.setMatrix(grid.Av, 0, false, false, false), 0);
    ASSERT_EQ(grid.u.setMatrix(dependent, 0, false, false, false), -1);
    EXPECT_EQ(grid.tensor.solve(grid.B, &X), 5);
    EXPECT_EQ(X, DoubleGenMat(4, 3, 5.0));
    EXPECT_EQ(grid.tensor.solve(pointsOf({grid.B, grid.B}), &points), 5);
    EXPECT_THAT(elements(points.data()), testing::Each(5.0));
}
