// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/linpack.h"
#include "measures/LuChecks.h"
#include "measures/MatrixFamilies.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork::linpack;
using namespace knotwork_test;

TEST(DgefaTest, InfoIsTheLastZeroPivotAndItsStepIsPassedOver)
{
    // Columns 2 and 4 of a triangle have zeros on the diagonal, and nothing below.
    DoubleGenMat a =
        mat({{1, 2, 3, 4, 5}, {0, 0, 1, 1, 1}, {0, 0, 2, 1, 1}, {0, 0, 0, 0, 9}, {0, 0, 0, 0, 7}});
    const int n = 5;
    int info = -1;
    std::vector<int> ipvt(5);
    dgefa(a.data(), &n, &n, ipvt.data(), &info);
    EXPECT_EQ(info, 4);
    EXPECT_THAT(ipvt, ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(a(3, 4), 9.0);
    const int none = 0;
    dgefa(nullptr, &n, &none, nullptr, &info);
    EXPECT_EQ(info, 0);
}

/// The published elimination, one step after the other, on n columns that lie `leading` apart.
void eliminateByTheBook(std::vector<double>& a, int n, int leading, std::vector<int>& ipvt)
{
    const auto at = [&](int i, int j) -> double& {
        return a[static_cast<std::size_t>(leading * j + i)];
    };
    for (int k = 0; k < n; ++k) {
        int l = k;
        for (int i = k + 1; i < n; ++i)
            if (std::fabs(at(i, k)) > std::fabs(at(l, k))) l = i;
        ipvt[static_cast<std::size_t>(k)] = l + 1;
        std::swap(at(l, k), at(k, k));
        const double factor = -1.0 / at(k, k);
        for (int i = k + 1; i < n; ++i) at(i, k) *= factor;
        for (int j = k + 1; j < n; ++j) {
            std::swap(at(l, j), at(k, j));
            for (int i = k + 1; i < n; ++i) at(i, j) += at(k, j) * at(i, k);
        }
    }
}

TEST(DgefaTest, BlocksHaveTheBitsOfTheBook)
{
    Dice dice(6);
    for (const int n : {1, 7, 8, 9, 31, 100, 129, 203}) {  // around and across blocks and halves
        SCOPED_TRACE(n);
        const int leading = n + 3;
        std::vector<double> a(static_cast<std::size_t>(leading * n));
        for (double& x : a) x = dice.unit() - 0.5;
        std::vector<double> expected = a;
        std::vector<int> pivots(static_cast<std::size_t>(n));
        std::vector<int> ipvt = pivots;
        eliminateByTheBook(expected, n, leading, pivots);
        int info = -1;
        dgefa(a.data(), &leading, &n, ipvt.data(), &info);
        EXPECT_EQ(info, 0);
        EXPECT_TRUE(ipvt == pivots && a == expected);
    }
}

TEST(DgefaTest, WhatIsNotFiniteStaysInsideTheArrays)
{
    for (const int n : {1, 2, 5, 33, 70})
        for (const double bad : {kNaN, kInf, -kInf})
            for (const bool everywhere : {false, true}) {
                const auto size = static_cast<unsigned>(n);
                DoubleGenMat a =
                    everywhere ? DoubleGenMat(size, size, bad) : randomMatrix(size, size, 3);
                a(n / 2, n / 3) = bad;
                std::vector<int> ipvt(size);
                std::vector<double> z(size);
                double rcond;
                dgeco(a.data(), &n, &n, ipvt.data(), &rcond, z.data());
                for (int k = 0; k < n; ++k) {
                    ASSERT_GE(ipvt[static_cast<std::size_t>(k)], k + 1);
                    ASSERT_LE(ipvt[static_cast<std::size_t>(k)], n);
                }
                double det[2];
                const int both = 11;
                dgedi(a.data(), &n, &n, ipvt.data(), det, z.data(), &both);
                EXPECT_FALSE(std::fabs(det[0]) < 1.0 && det[0] != 0.0);
            }
}

class LuPropertyTest : public testing::TestWithParam<knotwork_measures::Family> {};

TEST_P(LuPropertyTest, HoldsForEveryMatrix)
{
    knotwork_measures::LuRatios ratios;
    for (unsigned seed = 0; seed < knotwork_measures::kMatrices; ++seed) {
        knotwork_measures::Sample sample(GetParam(), seed, knotwork_measures::squareShape);
        const DoubleGenMat& a = sample.a;
        knotwork_measures::LuFactors factors(a);
        ASSERT_LE(factors.largestMultiplier(), 1.0) << "seed " << seed;
        ratios.seeFactors(a, factors, seed);

        const DoubleGenFact f(a, 1);
        if (a.rows() == 0 || f.fail() != 0) continue;
        ASSERT_EQ(f.condition(), factors.rcond);
        const DoubleVec b = knotwork_measures::randomMatrix(a.rows(), 1, sample.generator).col(0);
        ratios.seeSolutions(a, b, f.solve(b), factors.solve(b.copy(), 1), seed);
        const double condition = ratios.seeInverse(a, f.inverse(), factors.rcond, seed);
        ratios.seeDeterminant(a, factors, condition, seed);
    }
    knotwork_measures::expectBounds(ratios);
}

INSTANTIATE_TEST_SUITE_P(Lu, LuPropertyTest,
                         testing::ValuesIn(knotwork_measures::kScaleFreeFamilies), CaseName());

}  // namespace
