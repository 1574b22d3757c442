// SPDX-License-Identifier: MIT
// What the LU kernels and their class promise, over many matrices.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/linpack.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/factor/LuChecks.h"
#include "tests/factor/MatrixFamilies.h"
#include "tests/support/CaseName.h"

namespace {

using namespace knotwork::linpack;
using checks::kEps;

class LuPropertyTest : public testing::TestWithParam<checks::Family> {};

TEST_P(LuPropertyTest, HoldsForEveryMatrix)
{
    checks::LuRatios ratios;
    for (unsigned seed = 0; seed < checks::kMatrices; ++seed) {
        checks::Sample sample(GetParam(), seed, checks::squareShape);
        const DoubleGenMat& a = sample.a;
        checks::LuFactors factors(a);
        ASSERT_LE(factors.largestMultiplier(), 1.0) << "seed " << seed;
        ratios.seeFactors(a, factors, seed);

        const DoubleGenFact f(a, 1);
        if (a.rows() == 0 || f.fail() != 0) continue;
        ASSERT_EQ(f.condition(), factors.rcond);
        const DoubleVec b = checks::randomMatrix(a.rows(), 1, sample.generator).col(0);
        ratios.seeSolutions(a, b, f.solve(b), factors.solve(b.copy(), 1), seed);
        const double condition = ratios.seeInverse(a, f.inverse(), factors.rcond, seed);
        if (condition != 0.0 && a.rows() <= 8) ratios.seeDeterminant(a, factors, condition, seed);
    }
    checks::expectBounds(ratios);
}

INSTANTIATE_TEST_SUITE_P(Lu, LuPropertyTest, testing::ValuesIn(checks::kScaleFreeFamilies),
                         knotwork_test::CaseName());

}  // namespace
