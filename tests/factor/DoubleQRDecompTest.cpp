// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleQRDecomp.h"

#include <utility>

#include "knotwork/factor/DoubleLeastSqQR.h"
#include "measures/MatrixFamilies.h"
#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using knotwork_measures::randomMatrix;
using namespace knotwork_test;

DoubleVec randomVector(unsigned n, std::mt19937& generator)
{
    return randomMatrix(n, 1, generator).col(0);
}

DoubleGenMat diagonalMatrix(std::initializer_list<double> values)
{
    const auto n = static_cast<unsigned>(values.size());
    DoubleGenMat a(n, n, 0.0);
    a.diagonal(0) = DoubleVec(values.begin(), n);
    return a;
}

/// 5 x 3 whose third column is the first.
DoubleGenMat twins()
{
    std::mt19937 generator(41);
    DoubleGenMat a = randomMatrix(5, 3, generator);
    a.col(2) = a.col(0);
    return a;
}

std::vector<int> pivotsOf(const DoubleQRDecomp& d)
{
    return elements(d.pivots());
}

}  // namespace

TEST(DoubleQRDecompTest, KeptPivotsBecomeSpecifiersAndSinkWithoutPivoting)
{
    const DoubleGenMat a = diagonalMatrix({1, 2, 3});
    DoubleQRDecomp d(a);
    EXPECT_THAT(pivotsOf(d), ElementsAre(2, 1, 0)) << "by norm";
    d.factor(a);
    EXPECT_THAT(pivotsOf(d), ElementsAre(0, 1, 2)) << "0 and 1 initial, 2 free";
    d.factor(diagonalMatrix({1, 2, 3, 4}));
    EXPECT_THAT(pivotsOf(d), ElementsAre(1, 2, 3, 0)) << "{0, 1, 2} and a new 0";
    d.factor(diagonalMatrix({1, 2}));
    EXPECT_THAT(pivotsOf(d), ElementsAre(0, 1)) << "what is left of them";

    EXPECT_EQ(d.doPivoting(0), 1);
    const DoubleGenMat before(a.copy());
    d.factor(a);
    EXPECT_TRUE(a == before);
    EXPECT_THAT(pivotsOf(d), ElementsAre(-1, 0)) << "of another length too";
    d.dofactor();
    EXPECT_THAT(pivotsOf(d), ElementsAre(-2, -1));
    EXPECT_EQ(d.doPivoting(7), 0);
    EXPECT_EQ(d.doPivoting(1), 7);
    d.factor(diagonalMatrix({1, 2}));
    EXPECT_THAT(pivotsOf(d), ElementsAre(0, 1)) << "both final";
    DoubleQRDecomp(diagonalMatrix({1, 2})).pivots()(0) = 9;
    EXPECT_THAT(pivotsOf(DoubleQRDecomp(DoubleGenMat(0, 3))), ElementsAre(0, 1, 2));
}

TEST(DoubleQRDecompTest, RankCountsExactZerosAndFreeColumnsTrailingSmallOnes)
{
    const double nan = std::nan("");
    const struct {
        const char* name;
        DoubleGenMat a;
        int pivoting;
        double tolerance;
        int rank, singular;
        unsigned freeCols;
    } cases[] = {
        {"wide", mat({{1, 2, 3, 4, 5}, {2, 1, 0, 1, 2}, {1, 1, 7, 1, 1}}), 1, 0.0, 3, 0, 2},
        {"tall of full rank", mat({{1, 2}, {3, 5}, {1, 1}, {0, 2}}), 1, 0.0, 2, 0, 0},
        {"zeros", DoubleGenMat(4, 2, 0.0), 1, 0.0, 0, 1, 2},
        {"wide zeros", DoubleGenMat(2, 4, 0.0), 1, 0.0, 0, 1, 4},
        {"twins are free only by tolerance", twins(), 1, 1e-10, 3, 0, 1},
        {"an interior zero", diagonalMatrix({1, 0, 1}), 0, 0.0, 2, 1, 0},
        {"an interior small one", diagonalMatrix({1, 1e-12, 1}), 0, 1e-10, 3, 0, 0},
        {"the bound is inclusive", diagonalMatrix({1, 1, 1e-12}), 0, 1e-12, 3, 0, 1},
        {"below zero nothing is free", diagonalMatrix({1, 0, 0}), 1, -1.0, 1, 1, 0},
        {"not a number", diagonalMatrix({1, nan}), 0, 1.0, 2, 0, 0},
        {"no rows", DoubleGenMat(0, 3), 1, 0.0, 0, 0, 3},
        {"no columns", DoubleGenMat(3, 0), 1, 0.0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DoubleLeastSqQR d;
        d.doPivoting(c.pivoting);
        d.factor(c.a);
        d.setTolerance(c.tolerance);
        EXPECT_EQ(d.rank(), c.rank);
        EXPECT_EQ(d.isSingular(), c.singular);
        EXPECT_EQ(d.numFreeCols(), c.freeCols);
        EXPECT_EQ(d.isUnderDetermined(), c.freeCols != 0 ? 1 : 0);
        EXPECT_EQ(d.numEquations(), c.a.rows());
    }
    const DoubleLeastSqQR fresh;
    EXPECT_EQ(fresh.numFreeCols() + fresh.numEquations(), 0u);
}

TEST(DoubleQRDecompTest, FactoringResetsTheTolerance)
{
    DoubleLeastSqQR d(twins());
    EXPECT_EQ(d.setTolerance(1e-10), 0.0);
    EXPECT_EQ(d.numFreeCols(), 1u);
    d.factor(twins());
    EXPECT_EQ(d.setTolerance(0.5), 0.0);
    EXPECT_EQ(d.setTolerance(0.0), 0.5);
}

TEST(DoubleQRDecompTest, SolutionsLeaveResidualsAcrossTheColumnsTheyUse)
{
    std::mt19937 generator(42);
    for (int m = 0; m < 300; ++m) {
        const auto n = static_cast<unsigned>(1 + generator() % 20);
        const auto p = static_cast<unsigned>(1 + generator() % 20);
        SCOPED_TRACE(testing::Message() << m << ": " << n << "x" << p);
        const DoubleGenMat a = m % 2 == 0 ? randomMatrix(n, p, generator)
                                          : knotwork_measures::rankDeficient(n, p, generator);
        const DoubleVec y = randomVector(n, generator);
        DoubleLeastSqQR d(a);
        d.setTolerance(1e-10);
        const DoubleVec x = d.solve(y);
        ASSERT_EQ(x.length(), p);
        const DoubleVec ordered = d.permute(x);
        for (unsigned j = p - d.numFreeCols(); j < p; ++j)
            EXPECT_EQ(ordered(static_cast<int>(j)), 0.0);

        const double size = knotwork_measures::frobeniusNorm(a);
        const double bound =
            10 * knotwork_measures::tolerance(a) * (size * x.vecLen() + y.vecLen());
        const DoubleVec left = y - product(a, x);
        EXPECT_LE((left - d.residual(y)).vecLen(), bound);
        // What the used columns span, all columns lie in: the tolerance is what divides the two.
        EXPECT_LE(product(left, a).vecLen(), size * bound + 1e-9 * y.vecLen());
        if (d.numFreeCols() == 0) {
            EXPECT_TRUE(x == d.DoubleQRDecomp::solve(y));
        }
        if (HasFailure()) return;
    }
}

TEST(DoubleQRDecompTest, AnyKIsUsableAndAnyStrideOfY)
{
    std::mt19937 generator(43);
    for (const auto& [n, p] : {std::pair{6u, 4u}, {4u, 6u}, {3u, 0u}, {0u, 3u}}) {
        SCOPED_TRACE(testing::Message() << n << "x" << p);
        const DoubleQRDecomp d(randomMatrix(n, p, generator));
        const DoubleVec y = randomVector(n, generator);
        const DoubleVec spread = strided(elements(y), -2);
        const int most = static_cast<int>(std::min(n, p));
        using Operation = DoubleVec (DoubleQRDecomp::*)(const DoubleVec&, int) const;
        for (const Operation f :
             {&DoubleQRDecomp::computeQy, &DoubleQRDecomp::computeQTy, &DoubleQRDecomp::computeXb,
              &DoubleQRDecomp::computeResidualVec, &DoubleQRDecomp::partialSolve}) {
            const DoubleVec expected = (d.*f)(y, most);
            for (const int k : {-1, most + 1, 99}) EXPECT_TRUE((d.*f)(y, k) == expected) << k;
            EXPECT_TRUE((d.*f)(spread, most) == expected);
        }
        EXPECT_TRUE(d.computeQy(y, 0) == y && d.computeQTy(y, 0) == y);
        EXPECT_TRUE(d.computeResidualVec(y, 0) == y);
        EXPECT_THAT(elements(d.computeXb(y, 0)), Each(0.0));
        EXPECT_THAT(elements(d.partialSolve(y, 0)), IsEmpty());
    }
}

TEST(DoubleQRDecompTest, PermutingFollowsThePivotsThatAreThere)
{
    DoubleQRDecomp d(mat({{1, 3, 2}, {0, 0, 5}, {0, 0, 0}}));
    ASSERT_THAT(pivotsOf(d), ElementsAre(2, 1, 0));
    d.factor(diagonalMatrix({1, 2, 3}));
    d.factor(diagonalMatrix({1, 2, 3}));
    ASSERT_THAT(pivotsOf(d), ElementsAre(1, 2, 0));
    const DoubleVec x = vec({10.0, 20.0, 30.0});
    EXPECT_THAT(elements(d.permute(x)), ElementsAre(20, 30, 10));
    EXPECT_THAT(elements(d.unpermute(x)), ElementsAre(30, 10, 20));

    d.doPivoting(0);
    const DoubleVec other(7, 1.0);
    EXPECT_EQ(d.permute(other).data(), other.data()) << "the argument itself, whatever its length";
    EXPECT_EQ(d.unpermute(other).data(), other.data());
    d.dofactor();  // pivots 0, 1, -1
    d.doPivoting(1);
    EXPECT_THAT(elements(d.permute(x)), ElementsAre(10, 20, 0));
    EXPECT_THAT(elements(d.unpermute(x)), ElementsAre(10, 20, 0));
}

TEST(DoubleQRDecompTest, CopiesKeepTheirResultsAndAssignmentWritesIntoStorage)
{
    std::mt19937 generator(44);
    const DoubleVec y = randomVector(6, generator);
    DoubleLeastSqQR d(randomMatrix(6, 4, generator));
    const DoubleLeastSqQR copy(d);
    const std::vector<double> before = elements(copy.solve(y));
    const std::vector<int> pivots = pivotsOf(copy);
    const DoubleGenMat wide = randomMatrix(2, 24, generator);
    const DoubleGenMat view(wide.row(1), 6, 4);
    d.factor(view.copy());
    d.doPivoting(0);
    d.factor(view);
    d.setTolerance(0.25);
    EXPECT_EQ(elements(copy.solve(y)), before);
    EXPECT_EQ(pivotsOf(copy), pivots);

    DoubleLeastSqQR target(randomMatrix(6, 4, generator));
    const DoubleLeastSqQR sharer(target);
    target = d;
    EXPECT_TRUE(target.solve(y) == d.solve(y));
    EXPECT_EQ(target.doPivoting(0), 0);
    EXPECT_EQ(target.setTolerance(0.0), 0.25);
    EXPECT_EQ(pivotsOf(sharer), pivotsOf(d)) << "elements are copied into what is shared";
    EXPECT_THAT(codesRaisedBy([&] { target = DoubleLeastSqQR(DoubleGenMat(2, 4, 1.0)); }),
                ElementsAre(0x4004u));
}
