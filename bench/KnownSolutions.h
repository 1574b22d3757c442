// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork_bench {

/// Least squares whose exact answer is known: every element of a and b is exact as a double.
struct KnownSolution {
    std::string name;
    DoubleGenMat a;
    DoubleVec b;
    DoubleVec x;
};

/// With A x for the right-hand side, which has to be exact.
inline KnownSolution consistent(const std::string& name, const DoubleGenMat& a, const DoubleVec& x)
{
    return {name, a, product(a, x), x};
}

inline DoubleVec ones(unsigned n)
{
    return DoubleVec(n, 1.0);
}

/// x^j for x = first, first + 1, ...
inline DoubleGenMat powersOf(int first, unsigned rows, unsigned cols)
{
    DoubleGenMat a(rows, cols);
    for (int j = 0; j < static_cast<int>(cols); ++j)
        for (int i = 0; i < static_cast<int>(rows); ++i) a(i, j) = std::pow(first + i, j);
    return a;
}

/// 1 / (i + j - 1), times the least common multiple of the denominators.
inline DoubleGenMat integerHilbert(unsigned n)
{
    std::int64_t multiple = 1;
    for (std::int64_t k = 2; k < 2 * std::int64_t{n}; ++k) multiple = std::lcm(multiple, k);
    DoubleGenMat a(n, n);
    for (int j = 0; j < static_cast<int>(n); ++j)
        for (int i = 0; i < static_cast<int>(n); ++i)
            a(i, j) = static_cast<double>(multiple / (i + j + 1));
    return a;
}

/// A row of ones above eps times the identity.
inline DoubleGenMat laeuchli(unsigned n, double eps)
{
    DoubleGenMat a(n + 1, n, 0.0);
    a.row(0) = 1.0;
    a.diagonal(-1) = eps;
    return a;
}

/// (-1)^i binomial(n, i), which is orthogonal to all polynomials below degree n on 0 .. n.
inline DoubleVec alternatingBinomials(int n)
{
    DoubleVec d(static_cast<unsigned>(n) + 1, 1.0);
    for (int i = 0; i < n; ++i) d(i + 1) = -d(i) * (n - i) / (i + 1);
    return d;
}

inline std::vector<KnownSolution> knownSolutions()
{
    std::vector<KnownSolution> all;
    const DoubleGenMat quintic = powersOf(0, 21, 6);
    const double falling[] = {1e5, 1e4, 1e3, 1e2, 1e1, 1.0};
    all.push_back(consistent("quintic, ones", quintic, ones(6)));
    all.push_back(consistent("quintic, 0.1^k", quintic, DoubleVec(falling, 6)));
    all.push_back(consistent("quintic, ones, with a residual", quintic, ones(6)));
    all.back().b += alternatingBinomials(20);
    for (const unsigned n : {4u, 6u, 8u, 10u, 12u})
        all.push_back(consistent("Hilbert, n = " + std::to_string(n), integerHilbert(n), ones(n)));
    for (const unsigned n : {6u, 8u, 10u, 12u})
        all.push_back(
            consistent("Vandermonde, 20 x " + std::to_string(n), powersOf(1, 20, n), ones(n)));
    for (const auto& [name, eps] :
         {std::pair{"1e-3", 1e-3}, {"1e-6", 1e-6}, {"1e-9", 1e-9}, {"1e-12", 1e-12}})
        all.push_back(consistent(std::string("Laeuchli, n = 10, eps = ") + name, laeuchli(10, eps),
                                 ones(10)));
    return all;
}

}  // namespace knotwork_bench
