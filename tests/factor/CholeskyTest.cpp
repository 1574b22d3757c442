// SPDX-License-Identifier: MIT
#include "knotwork/factor/TriangularSolve.h"
#include "knotwork/factor/linpack.h"
#include "measures/CholeskyChecks.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/support/Testing.h"

namespace {

namespace linpack = knotwork::linpack;
using namespace knotwork_measures;
using namespace knotwork_test;

}  // namespace

TEST(CholeskyTest, FactorsReconstructAndPivotsFollowTheirSpecifiers)
{
    CholeskyRatios ratios;
    for (unsigned trial = 0; trial < kTrials; ++trial) {
        SCOPED_TRACE(trial);
        CholeskyProblem problem(trial);
        const int p = static_cast<int>(problem.a.rows());
        const int job = problem.kind == Kind::kTall && trial % 8 == 0 ? 0 : 1;
        std::vector<int> specifiers(static_cast<std::size_t>(p), 0);
        if (problem.kind == Kind::kTall && job == 1)
            for (int& s : specifiers) s = static_cast<int>(problem.dice.below(5)) - 2;
        CholeskyFactors f(problem.a, specifiers, job);

        if (problem.kind != Kind::kIndefinite) {
            EXPECT_EQ(f.info, problem.rank);
        }
        ASSERT_TRUE(f.r.restUntouched());
        std::vector<int> order = f.jpvt;
        if (job == 0) {
            EXPECT_EQ(f.jpvt, specifiers);
            std::iota(order.begin(), order.end(), 1);
        }
        for (int& column : order) --column;
        ASSERT_TRUE(
            std::is_permutation(order.begin(), order.end(), randomOrder(p, problem.dice).begin()));
        int before = 2;
        for (std::size_t i = 0; job == 1 && i < order.size(); ++i) {
            const int specifier = specifiers[static_cast<std::size_t>(order[i])];
            const int here = (specifier > 0) - (specifier < 0);
            const int k = static_cast<int>(i);
            EXPECT_LE(here, before) << "initial, then free, then final";
            if (here == 0 && before == 0 && k < f.info) {
                EXPECT_LE(f.r(k, k), f.r(k - 1, k - 1) * (1 + kEps));
            }
            before = here;
        }
        const double norm = problem.kind == Kind::kIndefinite ? f.size() : frobeniusNorm(problem.a);
        const DoubleGenMat product = f.product();
        ratios.seeFactors(problem.a, order, product, norm, trial);
        if (f.info < p) continue;
        const DoubleVec rhs(problem.a.rows(), norm);
        DoubleVec b = rhs.copy();
        linpack::dposl(f.r.data.data(), &f.r.leading, &f.r.p, b.data());
        ratios.seeSolution(product, rhs, b, trial);
        if (HasFailure()) return;
    }
    expectBounds(ratios);
}

TEST(CholeskyTest, UpdatesDowndatesAndShiftsActOnTheDataBehindTheFactor)
{
    UpdateRatios ratios;
    for (unsigned trial = 0; trial < kTrials; ++trial) ASSERT_TRUE(ratios.see(trial)) << trial;
    EXPECT_GE(ratios.updated.count(), 20000);
    expectBounds(ratios);
}

TEST(TriangularSolveTest, EveryFormLeavesASmallResidual)
{
    const struct {
        const char* name;
        DoubleVec (*solve)(const DoubleGenMat&, const DoubleVec&);
        bool upper, transposed;
    } forms[] = {{"lower", knotwork::lowerTriSolve, false, false},
                 {"lower, transposed", knotwork::lowerTriTransposeSolve, false, true},
                 {"upper", knotwork::upperTriSolve, true, false},
                 {"upper, transposed", knotwork::upperTriTransposeSolve, true, true}};
    Worst residual("T x - b");
    for (unsigned trial = 0; trial < kTrials; ++trial) {
        Dice dice(trial);
        const auto& form = forms[trial % 4];
        const int n = static_cast<int>(dice.below(1 + dice.below(61)));
        const double scale = std::pow(10.0, 140 * (static_cast<int>(trial % 3) - 1));
        DoubleGenMat t =
            randomRows(static_cast<unsigned>(n), static_cast<unsigned>(n), dice) * scale;
        DoubleGenMat system(t.copy());
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i)
                if (form.upper ? i > j : i < j) {
                    t(i, j) = kNaN;
                    system(i, j) = 0.0;
                }
        if (form.transposed) system.reference(transpose(system));
        const DoubleVec b = randomRows(static_cast<unsigned>(n), 1, dice).col(0);
        const DoubleVec x = form.solve(t, reverse(b));
        ASSERT_EQ(x.length(), b.length()) << form.name << " in trial " << trial;
        const double size = frobeniusNorm(system) * x.vecLen();
        residual.see(ratioOf((product(system, x) + -reverse(b)).vecLen(), size * n * kEps), trial);
    }
    EXPECT_LT(residual.value(), residual.bound()) << residual.seed();
}
