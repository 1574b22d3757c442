// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "knotwork/factor/linpack.h"
#include "tests/factor/MatrixChecks.h"
#include "tests/factor/Worst.h"

namespace checks {

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
};

}  // namespace checks
