// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"
#include "knotwork/solvers/TsolveTensorProductLsq.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

constexpr double kTolerance = 1e-12;

DoubleVec randomVector(unsigned n, unsigned seed)
{
    return randomMatrix(n, 1, seed).col(0);
}

DoubleGenMat twins(unsigned rows, unsigned cols, unsigned seed)
{
    DoubleGenMat a = randomMatrix(rows, cols, seed);
    a.col(static_cast<int>(cols) - 1) = a.col(0);
    return a;
}

/// Fails on one call, as a solver may that is derived from this one.
class FailsOnce : public TsolveConstrainedLsqQR {
  public:
    using TsolveConstrainedLsqQR::solveInPlace;
    using TsolveConstrainedLsqQR::TsolveConstrainedLsqQR;
    int solveInPlace(DoubleVec& rhs, DoubleVec* x) const override
    {
        return ++calls == 2 ? 5 : TsolveConstrainedLsqQR::solveInPlace(rhs, x);
    }
    mutable int calls = 0;
};

}  // namespace

TEST(QrSolverTest, EveryRowIsFittedAndConstraintsAreRowsLikeOthers)
{
    knotwork_measures::Dice dice(61);
    for (unsigned seed = 1; seed <= 200; ++seed) {
        const unsigned p = 1 + dice.below(9);
        const unsigned n = p + dice.below(12);
        const bool normalise = dice.below(2) == 1;
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const DoubleGenMat a = randomMatrix(n, p, seed);
        const DoubleVec b = randomVector(n, seed + 1000);
        TsolveConstrainedLsqQR solver(kTolerance, false);
        ASSERT_EQ(solver.setMatrix(a, static_cast<int>(dice.below(n)), normalise, false, false), 0);
        DoubleVec x(p);
        ASSERT_EQ(solver.solve(b, &x, false), 0);

        DoubleVec left = b - product(a, x);
        if (normalise) left *= solver.rhsMult() * solver.rhsMult();
        const double size = a.dataVec().vecLen();
        const double weight = normalise ? maxValue(solver.rhsMult()) : 1.0;
        EXPECT_LE(product(left, a).vecLen(),
                  100 * n * kEps * weight * weight * size * (size * x.vecLen() + b.vecLen()));

        TsolveConstrainedLsqQR plain(kTolerance, false);
        ASSERT_EQ(plain.setMatrix(a, 0, normalise, false, false), 0);
        EXPECT_TRUE(plain.solve(b) == x);
    }
}

TEST(QrSolverTest, DependenceIsARankBelowWhatTheShapeAllows)
{
    const struct {
        const char* name;
        DoubleGenMat a;
        int code;
    } cases[] = {
        {"two equal columns", twins(7, 4, 1), -1},
        {"equal columns, more of them than rows", twins(4, 5, 2), 0},
        {"two equal rows, more columns", mat({{1, 2, 3}, {1, 2, 3}}), -1},
        {"a column of zeros", mat({{1, 0}, {2, 0}, {3, 0}}), -1},
        {"more columns than rows", randomMatrix(3, 5, 3), 0},
        {"square", randomMatrix(4, 4, 4), 0},
        {"no rows", DoubleGenMat(0, 3), 0},
        {"no columns", DoubleGenMat(3, 0), 0},
    };
    TsolveConstrainedLsqQR solver(kTolerance, false);
    for (const auto& c : cases)
        for (int round = 0; round < 3; ++round) {  // earlier pivots must not decide
            SCOPED_TRACE(testing::Message() << c.name << ", round " << round);
            EXPECT_EQ(solver.setMatrix(c.a, 1, false, false, false), c.code);
            EXPECT_EQ(solver.isSolvable(), c.code == 0);
            DoubleVec x(c.a.cols());
            const int expected = c.code != 0 ? 5 : c.a.cols() == 0 ? 4 : 0;
            EXPECT_EQ(solver.solve(DoubleVec(c.a.rows(), 1.0), &x, false), expected);
        }
    ASSERT_EQ(solver.setMatrix(randomMatrix(3, 5, 3), 0, false, false, false), 0);
    const DoubleVec x = solver.solve(DoubleVec(3, 1.0));
    EXPECT_EQ(x.countZero(0.0), 2) << "a basic solution";
    EXPECT_LE((product(randomMatrix(3, 5, 3), x) - DoubleVec(3, 1.0)).vecLen(), 1e-14);
}

TEST(QrSolverTest, CodesTellWhatIsWrongAndLongerVectorsServe)
{
    TsolveConstrainedLsqQR solver(kTolerance, false);
    DoubleVec b = randomVector(5, 7);
    DoubleVec x(3);
    EXPECT_EQ(solver.solveInPlace(b, &x), 5) << "no matrix was set";
    ASSERT_EQ(solver.setMatrix(randomMatrix(5, 3, 6), 0, true, false, false), 0);
    // A right-hand side of another length than the factors is not scaled.
    DoubleVec scaled(5);
    for (int i = 0; i < 5; ++i) scaled(i) = b(i) * solver.rhsMult()(i);
    DoubleVec longer(scaled.copy());
    longer.resize(8);
    longer(6) = 1e9;
    DoubleVec longX(4, 9.0);
    EXPECT_EQ(solver.solveInPlace(longer, &longX), 0);
    EXPECT_EQ(elements(longX.slice(0, 3, 1)), elements(solver.solve(b)));
    DoubleVec shortX(2);
    DoubleVec shortB(4);
    DoubleVec* nothing = nullptr;
    TtupleVector points(2, 5, 1.0);
    TtupleVector line(1, 3, 0.0);
    TtupleVector* noPoints = nullptr;
    EXPECT_EQ(solver.solveInPlace(b, &shortX), 4);
    EXPECT_EQ(solver.solveInPlace(shortB, &x), 4);
    EXPECT_EQ(solver.solveInPlace(b, nothing), 4);
    EXPECT_EQ(solver.solveInPlace(points, noPoints), 4);
    EXPECT_EQ(solver.solveInPlace(points, &line), 4) << "tuple sizes differ";
}

TEST(QrSolverTest, AllCoordinatesAreSolvedThoughOneFails)
{
    FailsOnce solver(kTolerance, false);
    ASSERT_EQ(solver.setMatrix(randomMatrix(6, 4, 8), 2, false, false, false), 0);
    TtupleVector b(3, randomVector(18, 9));
    TtupleVector x(3, 4, 7.0);
    EXPECT_EQ(solver.solve(b, &x, false), 5);
    EXPECT_EQ(solver.calls, 3);
    for (const int k : {0, 2})
        EXPECT_EQ(elements(x.component(k)), elements(solver.solve(b.component(k).copy())));
    EXPECT_THAT(elements(x.component(1)), Each(0.0));
}

TEST(QrSolverTest, GivenUnknownsStayAndZeroColumnsAreDropped)
{
    TsolveConstrainedLsqQR solver(kTolerance, true);
    const DoubleGenMat a = mat({{1, 4, 0, 1}, {1, 5, 0, 2}, {0, 0, 0, 0}, {1, 7, 0, 5}});
    ASSERT_EQ(solver.setMatrix(a, IntVec(1, 1), 0, false, true, false), 0);
    EXPECT_THAT(elements(solver.usedColIndex()), ElementsAre(0, 3));
    DoubleVec x = vec({0.0, 2.0, 3.0, 0.0});
    const DoubleVec exact = vec({-1.0, 2.0, 3.0, 4.0});
    ASSERT_EQ(solver.solve(product(a, exact), &x, true), 0);
    EXPECT_LE((x - exact).vecLen(), 1e-13);
}

TEST(QrSolverTest, CopiesAreIndependentAndReferencesShare)
{
    TsolveConstrainedLsqQR solver(kTolerance, false);
    ASSERT_EQ(solver.setMatrix(randomMatrix(6, 4, 11), 0, false, false, false), 0);
    const DoubleVec b = randomVector(6, 12);
    const std::vector<double> expected = elements(solver.solve(b));
    const TsolveConstrainedLsqQR copy(solver);
    TsolveConstrainedLsqQR sharer(1.0, true);
    sharer.reference(solver);
    EXPECT_EQ(sharer.tolerance(), kTolerance);
    ASSERT_EQ(solver.setMatrix(randomMatrix(6, 4, 13), 0, false, false, false), 0);
    for (const TsolveConstrainedLsqQR* other :
         {&copy, static_cast<const TsolveConstrainedLsqQR*>(&sharer)}) {
        DoubleVec x(4);
        EXPECT_EQ(other->TbaseSolver::solve(b, &x, false), 0);
        EXPECT_EQ(elements(x), expected);
        EXPECT_EQ(other->lxSolve().rank(), 4);
    }
}

TEST(QrSolverTest, TensorProductSolvesWithEitherKindOfSolver)
{
    const DoubleGenMat Au = randomMatrix(9, 4, 21);
    const DoubleGenMat Av = randomMatrix(8, 3, 22);
    const DoubleGenMat B = randomMatrix(9, 8, 23);
    TsolveConstrainedLsqQR u(kTolerance, false);
    TsolveConstrainedLsqQR v(kTolerance, false);
    TsolveTensorProductLsq tensor(u, v);
    Thouseholder otherU(kTolerance, 0, false);
    Thouseholder otherV(kTolerance, 0, false);
    TsolveTensorProductLsq other(otherU, otherV);
    ASSERT_EQ(tensor.setMatrix(Au, Av, 2, 1, false, false, false, false, false, false), 0);
    ASSERT_EQ(other.setMatrix(Au, Av, 0, 0, false, false, false, false, false, false), 0);
    DoubleGenMat X(4, 3);
    DoubleGenMat expected(4, 3);
    ASSERT_EQ(tensor.solve(B, &X), 0);
    ASSERT_EQ(other.solve(B, &expected), 0);
    EXPECT_LE((X - expected).dataVec().vecLen(), 1e-13);

    IntGenMat mask(4, 3, 0);
    mask(0, 0) = mask(3, 2) = 1;
    X(0, 0) = expected(0, 0) = 5.0;
    X(3, 2) = expected(3, 2) = 6.0;
    ASSERT_EQ(tensor.solveFixed(Au, Av, mask, B, &X), 0);
    ASSERT_EQ(other.solveFixed(Au, Av, mask, B, &expected), 0);
    EXPECT_EQ(X(0, 0), 5.0);
    EXPECT_LE((X - expected).dataVec().vecLen(), 1e-13);
}
