// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"
#include "measures/ExactSystem.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_measures;
using namespace knotwork_test;

/// Rows of about unit size; the singular values of the whole fall to 1 / condition.
DoubleGenMat conditionedMatrix(unsigned rows, unsigned cols, double condition, unsigned seed)
{
    const unsigned inner = std::min(rows, cols);
    DoubleGenMat left = randomMatrix(rows, inner, seed);
    const DoubleGenMat right = randomMatrix(inner, cols, seed + 1);
    for (int j = 0; j < static_cast<int>(inner); ++j)
        left.col(j) *= std::pow(condition, -j / std::max(1.0, inner - 1.0));
    return product(left, right);
}

}  // namespace

TEST(HouseholderPropertyTest, ConstraintsAreMetAndTheRestIsLeastSquares)
{
    constexpr double kBound = 1.0;  // times rows and the condition's square
    Dice dice(20261121);
    double worst = 0.0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE(seed);
        const unsigned cols = 1 + dice.below(40);
        const unsigned rows = cols + dice.below(61 - cols);
        const DoubleGenMat a =
            conditionedMatrix(rows, cols, std::pow(10.0, dice.below(4)), 2 * seed);
        const DoubleVec b = vecFrom(randomNumbers<double>(rows, seed));
        const int constraints = static_cast<int>(dice.below(cols + 1));
        Thouseholder solver(1e-15, 0, false);
        ASSERT_EQ(solver.setMatrix(a, constraints, false, false, false), 0);
        DoubleVec x(cols);
        ASSERT_EQ(solver.solve(b, &x, false), 0);
        const ExactSystem exact(a, constraints);
        const double condition = exact.equations().condition();
        const double ratio = exact.errorOf(x, b) / (rows * kEps * condition * condition);
        EXPECT_LE(ratio, kBound);
        worst = std::max(worst, ratio);
    }
    RecordProperty("worst", std::to_string(worst));
}

TEST(HouseholderPropertyTest, UnderDeterminedSystemsGetTheirShortestSolution)
{
    Dice dice(5);
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        const unsigned rows = 1 + dice.below(20);
        const unsigned cols = rows + 1 + dice.below(30);
        const DoubleGenMat a = randomMatrix(rows, cols, seed);
        const DoubleVec b = vecFrom(randomNumbers<double>(rows, seed + 1));
        const int constraints = static_cast<int>(dice.below(3));
        Thouseholder solver(1e-15, 0, false);
        ASSERT_EQ(solver.setMatrix(a, constraints, false, false, false), 0);
        const ExactSystem exact(a, constraints);
        EXPECT_LE(exact.errorOf(solver.solve(b), b),
                  10 * cols * kEps * exact.equations().condition());
    }
}
