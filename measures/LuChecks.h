// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "knotwork/factor/linpack.h"
#include "measures/MatrixChecks.h"
#include "measures/Worst.h"

namespace knotwork_measures {

inline double oneNorm(const DoubleGenMat& a)
{
    double norm = 0.0;
    for (int j = 0; j < static_cast<int>(a.cols()); ++j) norm = std::max(norm, sum(abs(a.col(j))));
    return norm;
}

inline double largest(const DoubleVec& v)
{
    return v.length() == 0 ? 0.0 : maxValue(abs(v));
}

/// dgeco's results, in an array with two rows more than the matrix.
struct LuFactors {
    int n, lda = n + 2;
    std::vector<double> a;
    std::vector<int> ipvt;
    double rcond = 0.0;

    explicit LuFactors(const DoubleGenMat& m)
        : n(static_cast<int>(m.rows())), a(static_cast<std::size_t>(lda * n)), ipvt(m.rows())
    {
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) at(i, j) = m(i, j);
        std::vector<double> z(m.rows());
        knotwork::linpack::dgeco(a.data(), &lda, &n, ipvt.data(), &rcond, z.data());
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
    bool isSingular() const { return rcond + 1.0 == 1.0; }
    DoubleVec solve(DoubleVec b, int job)
    {
        knotwork::linpack::dgesl(a.data(), &lda, &n, ipvt.data(), b.data(), &job);
        return b;
    }
};

/// By elimination in a type that neither overflows nor underflows here and has more digits.
inline long double exactDeterminant(const DoubleGenMat& m)
{
    const std::size_t n = m.rows();
    std::vector<std::vector<long double>> a(n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            a[i].push_back(m(static_cast<int>(i), static_cast<int>(j)));
    long double result = 1.0L;
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::fabs(a[i][k]) > std::fabs(a[k][k])) a[i].swap(a[k]), result = -result;
        result *= a[k][k];
        for (std::size_t i = k + 1; i < n; ++i)
            for (std::size_t j = n; j-- > k;) a[i][j] -= a[i][k] / a[k][k] * a[k][j];
    }
    return result;
}

/// The inverse that the condition is measured with is itself checked first.
struct LuRatios {
    Worst residual{"P A - L U"};
    Worst solution{"A x - b"};
    Worst transposed{"A^T x - b"};
    Worst inverse{"A^-1 A - I"};
    Worst estimateLow{"1 / (rcond cond)", 1.0 + 1e-2};
    Worst estimateHigh{"rcond cond", 100.0};
    Worst determinant{"determinant"};
    std::array<const Worst*, 7> all() const
    {
        return {&residual,    &solution,     &transposed, &inverse,
                &estimateLow, &estimateHigh, &determinant};
    }

    template <class Factors>
    void seeFactors(const DoubleGenMat& a, Factors& f, unsigned seed)
    {
        const double error = oneNorm(a - f.multipliedOut());
        residual.see(ratioOf(error, a.rows() * kEps * oneNorm(a)), seed);
    }
    void seeSolutions(const DoubleGenMat& a, const DoubleVec& b, const DoubleVec& x,
                      const DoubleVec& y, unsigned seed)
    {
        const double unit = a.rows() * kEps;
        solution.see(ratioOf(largest(product(a, x) - b), unit * oneNorm(transpose(a)) * largest(x)),
                     seed);
        transposed.see(ratioOf(largest(product(y, a) - b), unit * oneNorm(a) * largest(y)), seed);
    }
    /// Returns cond(A); 0 where it is so large that the inverse has few digits.
    double seeInverse(const DoubleGenMat& a, const DoubleGenMat& inverted, double rcond,
                      unsigned seed)
    {
        const double unit = a.rows() * kEps;
        const double condition = oneNorm(a) * oneNorm(inverted);
        inverse.see(ratioOf(oneNorm(product(inverted, a) - identity(a.rows())), unit * condition),
                    seed);
        if (!(unit * condition < 1e-3)) return 0.0;
        estimateLow.see(1.0 / (rcond * condition), seed);
        estimateHigh.see(rcond * condition, seed);
        return condition;
    }
    /// The condition being what seeInverse() returned; small matrices only.
    void seeDeterminant(const DoubleGenMat& a, LuFactors& f, double condition, unsigned seed)
    {
        if (condition == 0.0 || a.rows() > 8) return;
        double det[2];
        const int determinantOnly = 10;
        knotwork::linpack::dgedi(f.a.data(), &f.lda, &f.n, f.ipvt.data(), det, nullptr,
                                 &determinantOnly);
        const long double found = det[0] * std::pow(10.0L, static_cast<long double>(det[1]));
        // One rounding for each power of ten besides.
        const double digits = a.rows() * kEps * condition + kEps * std::fabs(det[1]);
        const auto off = static_cast<double>(std::fabs(found / exactDeterminant(a) - 1.0L));
        determinant.see(off / digits, seed);
    }
};

}  // namespace knotwork_measures
