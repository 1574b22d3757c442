// SPDX-License-Identifier: MIT
// What the factorisations answer to misuse: the error, and what a host's handler that returns from
// it gets. Nothing outside the arrays is touched then.

#include <csignal>

#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/DoubleLeastSqCh.h"
#include "knotwork/factor/DoubleLeastSqInc.h"
#include "knotwork/factor/DoubleLeastSqQR.h"
#include "knotwork/factor/TriangularSolve.h"
#include "measures/MatrixChecks.h"
#include "tests/support/Arrays.h"
#include "tests/support/Misuse.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;
using testing::IsNan;

constexpr const char* kUnsolvable =
    "Can't solve system of equations, matrix not successfully factorized";
const DoubleVec kOne(1, 1.0);
const DoubleVec kTwo(2, 1.0);
const DoubleVec kThree(3, 1.0);
const DoubleVec kFour(4, 1.0);
const DoubleVec kReversed = reverse(kTwo);
DoubleVec oneNorm(1, 1.0);
DoubleVec twoNorms(2, 1.0);

DoubleChDecomp factored()
{
    return DoubleChDecomp(knotwork_measures::identity(3));
}

DoubleLeastSqQR tall()
{
    return DoubleLeastSqQR(mat({{1, 2}, {3, 5}, {1, 1}}));
}

DoubleLeastSqQR zeros(double tolerance = 0.0)
{
    DoubleLeastSqQR d(DoubleGenMat(3, 2, 0.0));
    d.setTolerance(tolerance);
    return d;
}

DoubleLeastSqCh rankOne()
{
    return DoubleLeastSqCh(mat({{1, 1}, {2, 2}, {3, 3}}));
}

DoubleGenFact regular()
{
    return DoubleGenFact(mat({{0, 2}, {1, 0}}), 0);
}

DoubleGenFact singular()
{
    return DoubleGenFact(mat({{1, 2}, {2, 4}}), 0);
}

void expectLength(unsigned length, const DoubleVec& result)
{
    EXPECT_EQ(result.length(), length);
}

/// A shift of three columns that must be refused and change nothing.
void shift(int first, int last, int direction, unsigned zRows, unsigned c, unsigned s)
{
    DoubleChDecomp d = factored();
    DoubleGenMat Z(zRows, 2, 1.0);
    DoubleVec cosines(c, 0.0);
    DoubleVec sines(s, 0.0);
    d.shift(first, last, direction, &Z, &cosines, &sines);
    EXPECT_TRUE(Z == DoubleGenMat(zRows, 2, 1.0));
    EXPECT_TRUE(cosines.isZero(0.0));
}

/// A downdate and an update of three columns and two right-hand sides, likewise.
void change(unsigned zRows, unsigned c, unsigned s, const DoubleVec* y, DoubleVec* rho)
{
    DoubleChDecomp d = factored();
    DoubleGenMat Z(zRows, 2, 1.0);
    DoubleVec cosines(c, 0.0);
    DoubleVec sines(s, 0.0);
    const DoubleVec x(3, 0.1);
    EXPECT_EQ(d.downdate(x, &Z, y, rho, &cosines, &sines), -1);
    d.update(x, &Z, y, rho, &cosines, &sines);
    EXPECT_TRUE(Z == DoubleGenMat(zRows, 2, 1.0));
    EXPECT_TRUE(d.solve(DoubleVec(3, 1.0)) == DoubleVec(3, 1.0)) << "the factor is as it was";
}

const Misuse kQrMisuses[] = {
    {0x5002, "b vector length wrong (1!=3)", [] { expectLength(3, tall().computeQy(kOne, 1)); }},
    {0x5002, "b vector length wrong (2!=3)", [] { expectLength(3, tall().computeQTy(kTwo, 1)); }},
    {0x5002, "b vector length wrong (2!=3)", [] { expectLength(3, tall().computeXb(kTwo, 1)); }},
    {0x5002, "b vector length wrong (4!=3)", [] { expectLength(3, tall().residual(kFour)); }},
    {0x5002, "b vector length wrong (0!=3)",
     [] { expectLength(3, tall().computeQy(DoubleVec(), 1)); }},
    {0x5002, "b vector length wrong (4!=3)",
     [] { expectLength(1, tall().partialSolve(kFour, 1)); }},
    {0x5002, "b vector length wrong (2!=3)", [] { expectLength(2, tall().solve(kTwo)); }},
    {0x5004, "vector wrong length to permute (3!=2)",
     [] { expectLength(3, tall().permute(kThree)); }},
    {0x5004, "vector wrong length to permute (1!=2)",
     [] { expectLength(1, tall().unpermute(kOne)); }},
    {0x5011, kUnsolvable, [] { expectLength(2, zeros().DoubleQRDecomp::solve(kThree)); }},
    {0x5011, kUnsolvable, [] { expectLength(2, zeros(-1.0).solve(kThree)); }},
    {0x5011, kUnsolvable,
     [] { expectLength(0, DoubleLeastSqQR(DoubleGenMat(3, 0)).solve(kThree)); }},
    {0x5011, kUnsolvable,
     [] { expectLength(0, DoubleLeastSqQR(DoubleGenMat(0, 3)).residual(DoubleVec())); }},
};

const Misuse kLuMisuses[] = {
    {0x500D, "Can't factorize, 2x3 matrix not square",
     [] {
         DoubleGenFact f = regular();
         f.factor(DoubleGenMat(2u, 3u, 1.0), 1);
         EXPECT_EQ(f.fail(), 1);
         EXPECT_EQ(f.determinant(), 0.0);
     }},
    {0x5002, "b vector length wrong (3!=2)", [] { expectLength(0, regular().solve(kThree)); }},
    {0x5002, "b vector length wrong (3!=2)",
     [] { expectLength(0, singular().solve(kThree)); }},  // comes first
    {0x5011, kUnsolvable, [] { expectLength(0, singular().solve(kTwo)); }},
    {0x5011, kUnsolvable, [] { expectLength(0, DoubleGenFact().solve(DoubleVec())); }},
    {0x5011, kUnsolvable, [] { EXPECT_EQ(singular().inverse().rows(), 0u); }},
    {0x5011, kUnsolvable, [] { EXPECT_EQ(DoubleGenFact().inverse().rows(), 0u); }},
    {0x4004, "Matrix sizes don't match (2x2) vs (3x3)",
     [] { DoubleGenFact(knotwork_measures::identity(3), 0) = singular(); }},
};

const Misuse kCholeskyMisuses[] = {
    {0x5010, "Matrix must have more rows than cols to be factorizable, but 2<3",
     [] {
         DoubleChDecomp d(knotwork_measures::identity(4));
         d.factor(DoubleGenMat(2, 3, 1.0));
         EXPECT_EQ(d.lastPosFactor(), -2);
         EXPECT_EQ(d.fail(), 1);
     }},
    {0x5012, "Pivoting position specifier must be INITIAL,FREE, or FINAL, not 2",
     [] { DoubleChDecomp().setPivoting(5, 2); }},
    {0x5001, "Condition number not calculated",
     [] {
         DoubleChDecomp d = factored();
         EXPECT_EQ(d.doPivoting(0), 1);
         EXPECT_EQ(d.condition(), -1.0);
     }},
    {0x5004, "vector wrong length to permute (2!=3)", [] { factored().permute(kTwo); }},
    {0x5004, "vector wrong length to permute (5!=3)",
     [] { factored().unpermute(DoubleVec(5, 1.0)); }},
    {0x5002, "b vector length wrong (2!=3)", [] { factored().partialSolve(kTwo, 3); }},
    {0x5002, "b vector length wrong (2!=4294967295)", [] { factored().partialSolve(kTwo, -1); }},
    {0x5011, kUnsolvable, [] { DoubleChDecomp(DoubleGenMat(2, 2, -1.0)).partialSolve(kTwo, 2); }},
    {0x5011, kUnsolvable, [] { DoubleChDecomp().solve(DoubleVec()); }},
    {0x5005, "Invalid Cholesky shift direction", [] { shift(1, 2, 2, 3, 1, 1); }},
    {0x5005, "Invalid Cholesky shift direction", [] { shift(2, 1, -1, 2, 7, 7); }},
    {0x5006, "Invalid Cholesky shift columns (2,1)", [] { shift(2, 1, 0, 2, 7, 7); }},
    {0x5006, "Invalid Cholesky shift columns (0,2)", [] { shift(0, 2, 1, 3, 2, 2); }},
    {0x5006, "Invalid Cholesky shift columns (1,3)", [] { shift(1, 3, 1, 3, 2, 2); }},
    {0x5007, "Data matrix wrong height (2!=3)", [] { shift(1, 2, 1, 2, 7, 7); }},
    {0x5008, "Vector to hold sines or cosines wrong length (3!=1)",
     [] { shift(1, 2, 1, 3, 1, 3); }},
    {0x5007, "Data matrix wrong height (4!=3)", [] { change(4, 7, 7, &kReversed, nullptr); }},
    {0x5008, "Vector to hold sines or cosines wrong length (7!=3)",
     [] { change(3, 7, 6, &kReversed, nullptr); }},
    {0x5008, "Vector to hold sines or cosines wrong length (6!=3)",
     [] { change(3, 3, 6, &kReversed, nullptr); }},
    {0x500C, "vec pointers must have stride == 1", [] { change(3, 3, 3, &kReversed, nullptr); }},
    {0x5009, "Different number of residuals than data columns (1!=2)",
     [] { change(3, 3, 3, &kThree, &oneNorm); }},
    {0x5009, "Different number of residuals than data columns (2!=2)",
     [] { change(3, 3, 3, nullptr, &twoNorms); }},
    {0x5009, "Different number of residuals than data columns (0!=2)",
     [] { change(3, 3, 3, &kTwo, nullptr); }},
    {0x5009, "Different number of residuals than data columns (0!=0)",
     [] { factored().update(kThree, nullptr, &kOne); }},
    {0x5002, "b vector length wrong (2!=3)",
     [] { DoubleLeastSqCh(knotwork_measures::identity(3)).solve(kTwo); }},
    {0x5002, "b vector length wrong (2!=3)", [] { expectLength(0, rankOne().solve(kTwo)); }},
    {0x5002, "b vector length wrong (2!=3)", [] { expectLength(0, rankOne().residual(kTwo)); }},
    {0x5011, kUnsolvable, [] { EXPECT_EQ(DoubleLeastSqInc(2, 1).solve(0).length(), 0u); }},
    {0x5011, kUnsolvable, [] { DoubleLeastSqInc(0, 1).solve(0); }},
    {0x500B, "Data 1 doesn't exist, only 1 data columns",
     [] { EXPECT_THAT(DoubleLeastSqInc(2, 1).residualNorm(1), IsNan()); }},
    {0x500B, "Data -1 doesn't exist, only 2 data columns",
     [] {
         DoubleLeastSqInc fit(1, 2);
         DoubleVec x(1, 1.0);
         fit.addEquation(x, kTwo);
         EXPECT_THAT(elements(fit.solve(-1)), ElementsAre(IsNan()));
     }},
    {0x5009, "Different number of residuals than data columns (1!=1)",
     [] {
         DoubleVec x(2, 1.0);
         DoubleLeastSqInc(2, 1).addEquation(x, kTwo);
     }},
    {0x5002, "b vector length wrong (3!=2)",
     [] { knotwork::upperTriSolve(knotwork_measures::identity(2), kThree); }},
    {0x5002, "b vector length wrong (1!=2)",
     [] { knotwork::lowerTriSolve(DoubleGenMat(5, 2, 1.0), kOne); }},
    {0x5011, kUnsolvable,
     [] { EXPECT_TRUE(knotwork::lowerTriTransposeSolve(DoubleGenMat(2, 2, -0.0), kTwo) == kTwo); }},
};

}  // namespace

TEST(FactorMisuseTest, RaisesItsErrorAndStaysInItsMemoryWhenTheHandlerReturns)
{
    expectRaises(kQrMisuses);
    expectRaises(kLuMisuses);
    expectRaises(kCholeskyMisuses);
}

TEST(FactorMisuseTest, ARefusedFactorisationIsNoneWhetherTheHandlerThrowsOrReturns)
{
    for (const auto onFatal :
         {RecordingHandler::OnFatal::kThrow, RecordingHandler::OnFatal::kReturn}) {
        const RecordingHandler handler(onFatal);
        const auto refuse = [](auto factor) {
            try {
                factor();
            } catch (const RaisedError&) {
            }
        };
        const DoubleGenMat wide(2u, 3u, 1.0);
        DoubleGenFact lu = regular();
        refuse([&] { lu.factor(wide, 1); });
        EXPECT_EQ(lu.good(), 0);
        EXPECT_EQ(lu.determinant(), 0.0);
        DoubleChDecomp cholesky = factored();
        refuse([&] { cholesky.factor(wide); });
        EXPECT_EQ(cholesky.good(), 0);
        EXPECT_EQ(cholesky.isPD(), 0);
        EXPECT_EQ(handler.raised().size(), 2u);
        refuse([&] { EXPECT_EQ(cholesky.solve(DoubleVec()).length(), 0u); });
    }
}

TEST(FactorMisuseTest, NothingIsWrongWithWhatHasNothingToSolve)
{
    const RecordingHandler handler;
    expectLength(2, zeros().solve(kThree));
    expectLength(3, DoubleLeastSqQR(DoubleGenMat(3, 0)).residual(kThree));
    expectLength(3, DoubleLeastSqQR(DoubleGenMat(0, 3)).solve(DoubleVec()));
    EXPECT_TRUE(handler.raised().empty());
}

TEST(FactorMisuseDeathTest, EndsTheProcess)
{
    const Misuse fatal[] = {kQrMisuses[6], kQrMisuses[7], kQrMisuses[9], kLuMisuses[0],
                            kCholeskyMisuses[12]};
    for (const Misuse& misuse : fatal)
        EXPECT_EXIT(misuse.commit(), testing::KilledBySignal(SIGABRT),
                    testing::HasSubstr("** " + misuse.message + ".\n** Processing terminated.\n"));
}

TEST(FactorMisuseDeathTest, TheMissingEstimateIsOnlyAWarning)
{
    EXPECT_EXIT(std::exit(regular().condition() == -1.0 ? 0 : 1), testing::ExitedWithCode(0),
                testing::HasSubstr("** Condition number not calculated.\n"
                                   "** Processing continues.\n"));
}
