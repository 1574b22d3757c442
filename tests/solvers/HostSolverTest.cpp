// SPDX-License-Identifier: MIT
// Solvers that a host derives: what the documented virtual functions are handed.

#include "knotwork/solvers/Thouseholder.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// A solver from the pure virtual functions alone: the unknowns of a diagonal system.
class DiagonalSolver : public TsolveConstrainedLsq {
  public:
    DiagonalSolver() : TsolveConstrainedLsq(false) {}
    int solveInPlace(DoubleVec& rhs, DoubleVec* x) const override
    {
        for (int i = 0; i < static_cast<int>(rhs.length()); ++i) (*x)(i) = rhs(i) / working_(i, i);
        return 0;
    }
    int solveInPlace(TtupleVector&, TtupleVector*) const override { return 4; }

  protected:
    bool factor() override
    {
        dependent_ = false;
        return true;
    }
};

/// Changes the system between its preparation and its factoring, and sets it again.
class HalvingSolver : public Thouseholder {
  public:
    explicit HalvingSolver(bool withSpans) : Thouseholder(1e-12, 0, false)
    {
        if (withSpans) takeSpans();
    }
    void preSetMatrix(const IntVec& fixedCols, double resetCutoff, bool normalise,
                      bool cleanZeros) override
    {
        Thouseholder::preSetMatrix(fixedCols, resetCutoff, normalise, cleanZeros);
        seenRows = static_cast<int>(working_.rows());
        working_ *= 0.5;
    }
    int setAgain() { return setMatrix(working_, 0, false, false, false); }

    int seenRows = -1;
};

constexpr unsigned kOrder = 64;  // large and sparse enough to be held as spans

DoubleGenMat diagonalSystem(double value)
{
    DoubleGenMat a(kOrder, kOrder, 0.0);
    a.diagonal(0) = value;
    return a;
}

TEST(HostSolverTest, FactorAndSolveInPlaceAreAllThatItTakes)
{
    DiagonalSolver solver;
    ASSERT_EQ(solver.setMatrix(diagonalSystem(2.0), 0, false, false, false), 0);
    EXPECT_THAT(elements(solver.TbaseSolver::solve(DoubleVec(kOrder, 3.0))), Each(1.5));
}

TEST(HostSolverTest, OverridesFindTheSystemInTheDenseMatrix)
{
    HalvingSolver solver(false);
    ASSERT_EQ(solver.setMatrix(diagonalSystem(1.0), 0, false, false, false), 0);
    EXPECT_EQ(solver.seenRows, static_cast<int>(kOrder));
    EXPECT_THAT(elements(solver.TbaseSolver::solve(DoubleVec(kOrder, 3.0))), Each(6.0));
    // The matrix handed in is the one that makes room for it.
    ASSERT_EQ(solver.setAgain(), 0);
    EXPECT_THAT(elements(solver.TbaseSolver::solve(DoubleVec(kOrder, 3.0))), Each(12.0));
}

TEST(HostSolverTest, SpansComeToThoseWhoAskForThem)
{
    HalvingSolver solver(true);
    ASSERT_EQ(solver.setMatrix(diagonalSystem(1.0), 0, false, false, false), 0);
    EXPECT_EQ(solver.seenRows, 0);
    EXPECT_THAT(elements(solver.TbaseSolver::solve(DoubleVec(kOrder, 3.0))), Each(3.0));
}

}  // namespace
