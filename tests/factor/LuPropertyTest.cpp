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

/// By elimination with complete pivoting, in a type that neither overflows nor underflows here.
long double determinant(const DoubleGenMat& m)
{
    const int n = static_cast<int>(m.rows());
    std::vector<std::vector<long double>> rows(m.rows());
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) rows[static_cast<std::size_t>(i)].push_back(m(i, j));
    long double result = 1.0L;
    while (!rows.empty()) {
        std::size_t row = 0;
        std::size_t col = 0;
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (std::size_t j = 0; j < rows.size(); ++j)
                if (std::fabs(rows[i][j]) > std::fabs(rows[row][col])) row = i, col = j;
        const std::vector<long double> pivotRow = rows[row];
        const long double pivot = pivotRow[col];
        result *= (row + col) % 2 == 0 ? pivot : -pivot;
        if (pivot == 0.0L) return 0.0L;
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(row));
        for (auto& r : rows) {
            const long double factor = r[col] / pivot;
            for (std::size_t j = 0; j < r.size(); ++j) r[j] -= factor * pivotRow[j];
            r.erase(r.begin() + static_cast<std::ptrdiff_t>(col));
        }
    }
    return result;
}

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
        if (condition == 0.0 || a.rows() > 8) continue;
        double det[2];
        const int determinantOnly = 10;
        dgedi(factors.a.data(), &factors.lda, &factors.n, factors.ipvt.data(), det, nullptr,
              &determinantOnly);
        const long double found = det[0] * std::pow(10.0L, static_cast<long double>(det[1]));
        // One rounding for each power of ten besides.
        const double digits = a.rows() * kEps * condition + kEps * std::fabs(det[1]);
        const auto off = static_cast<double>(std::fabs(found / determinant(a) - 1.0L));
        ratios.determinant.see(off / digits, seed);
    }
    checks::expectBounds(ratios);
}

INSTANTIATE_TEST_SUITE_P(Lu, LuPropertyTest, testing::ValuesIn(checks::kScaleFreeFamilies),
                         knotwork_test::CaseName());

}  // namespace
