// SPDX-License-Identifier: MIT
// What the LU kernels and their class promise, over many matrices. The inverse that the condition
// is measured with is itself checked first.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/linpack.h"
#include "tests/factor/MatrixFamilies.h"
#include "tests/factor/WorstRatio.h"
#include "tests/support/CaseName.h"

namespace {

using namespace knotwork::linpack;
using checks::kEps;
using checks::WorstRatio;

constexpr unsigned kMatrices = 3000;  // of each family
constexpr double kBound = 10.0;

double oneNorm(const DoubleGenMat& a)
{
    double norm = 0.0;
    for (int j = 0; j < static_cast<int>(a.cols()); ++j) norm = std::max(norm, sum(abs(a.col(j))));
    return norm;
}

double largest(const DoubleVec& v)
{
    return v.length() == 0 ? 0.0 : maxValue(abs(v));
}

/// 0 / 0 is no error.
double ratio(double error, double unit)
{
    return error == 0.0 ? 0.0 : error / unit;
}

/// dgeco's results, in an array with two rows more than the matrix.
struct Factors {
    int n, lda = n + 2;
    std::vector<double> a;
    std::vector<int> ipvt;
    double rcond = 0.0;

    explicit Factors(const DoubleGenMat& m)
        : n(static_cast<int>(m.rows())), a(static_cast<std::size_t>(lda * n)), ipvt(m.rows())
    {
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) at(i, j) = m(i, j);
        std::vector<double> z(m.rows());
        dgeco(a.data(), &lda, &n, ipvt.data(), &rcond, z.data());
    }
    double& at(int i, int j) { return a[static_cast<std::size_t>(lda * j + i)]; }

    /// The published steps taken back, last one first: U becomes the matrix.
    DoubleGenMat multipliedOut()
    {
        const auto size = static_cast<unsigned>(n);
        DoubleGenMat m(size, size, 0.0);
        for (int j = 0; j < n; ++j) {
            for (int i = 0; i <= j; ++i) m(i, j) = at(i, j);
            for (int k = n - 2; k >= 0; --k) {
                for (int i = k + 1; i < n; ++i) m(i, j) -= at(i, k) * m(k, j);
                std::swap(m(k, j), m(ipvt[static_cast<std::size_t>(k)] - 1, j));
            }
        }
        return m;
    }
    double largestMultiplier()
    {
        double most = 0.0;
        for (int j = 0; j < n; ++j)
            for (int i = j + 1; i < n; ++i) most = std::max(most, std::fabs(at(i, j)));
        return most;
    }
    DoubleVec solve(DoubleVec b, int job)
    {
        dgesl(a.data(), &lda, &n, ipvt.data(), b.data(), &job);
        return b;
    }
};

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
    WorstRatio residual, solution, transposed, inverse, estimateLow, estimateHigh, determinants;
    for (unsigned seed = 0; seed < kMatrices; ++seed) {
        std::mt19937 generator(seed);
        unsigned n = checks::randomSize(generator);
        if (seed % 500 == 0) n += 65;  // beyond one block of rows and two of columns
        const DoubleGenMat a = GetParam().make(n, n, generator);
        const double norm = oneNorm(a);
        const double unit = n * kEps;
        const auto take = [&](WorstRatio& worst, double found) { worst.take(found, n, n, seed); };

        Factors factors(a);
        ASSERT_LE(factors.largestMultiplier(), 1.0) << n << " seed " << seed;
        take(residual, ratio(oneNorm(a - factors.multipliedOut()), unit * norm));

        const DoubleGenFact f(a, 1);
        if (n == 0 || f.fail() != 0) continue;
        ASSERT_EQ(f.condition(), factors.rcond);
        const DoubleVec b = checks::randomMatrix(n, 1, generator).col(0);
        const DoubleVec x = f.solve(b);
        take(solution,
             ratio(largest(product(a, x) - b), unit * oneNorm(transpose(a)) * largest(x)));
        const DoubleVec y = factors.solve(b.copy(), 1);
        take(transposed, ratio(largest(product(y, a) - b), unit * norm * largest(y)));

        const DoubleGenMat inverted = f.inverse();
        const double condition = norm * oneNorm(inverted);
        take(inverse, ratio(oneNorm(product(inverted, a) - checks::identity(n)), unit * condition));
        if (!(unit * condition < 1e-3)) continue;  // beyond, the inverse has few digits
        take(estimateLow, 1.0 / (f.condition() * condition));
        take(estimateHigh, f.condition() * condition);
        if (n > 8) continue;
        const long double exact = determinant(a);
        double det[2];
        const int determinantOnly = 10;
        dgedi(factors.a.data(), &factors.lda, &factors.n, factors.ipvt.data(), det, nullptr,
              &determinantOnly);
        const long double found = det[0] * std::pow(10.0L, static_cast<long double>(det[1]));
        // One rounding for each power of ten besides.
        const double digits = unit * condition + kEps * std::fabs(det[1]);
        take(determinants, ratio(static_cast<double>(std::fabs(found / exact - 1.0L)), digits));
    }
    residual.expectBelow(kBound, "residual");
    solution.expectBelow(kBound, "solution");
    transposed.expectBelow(kBound, "transposed solution");
    inverse.expectBelow(kBound, "inverse");
    estimateLow.expectBelow(1.0 + 1e-2, "1 / (rcond times condition)");
    estimateHigh.expectBelow(100.0, "rcond times condition");
    determinants.expectBelow(kBound, "determinant");
}

INSTANTIATE_TEST_SUITE_P(Lu, LuPropertyTest, testing::ValuesIn(checks::kScaleFreeFamilies),
                         knotwork_test::CaseName());

}  // namespace
