// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace knotwork {

/// Estimates the 1-norm of the inverse of an n x n matrix from a few solves in place,
/// solve(y): y := A^-1 y, and solveTransposed(y): y := A^-T y. A lower bound, hardly ever off by
/// more than a factor of three.
/// Source    Hager: Condition estimates, SIAM J. Sci. Stat. Comput. 5 (1984); the second starting
///           vector is Higham's, ACM Trans. Math. Softw. 14 (1988).
template <class Solve, class SolveTransposed>
double estimateInverseNorm(int n, Solve solve, SolveTransposed solveTransposed)
{
    if (n == 0) return 0.0;
    constexpr int kMostRounds = 5;
    std::vector<double> y(static_cast<std::size_t>(n), 1.0 / n);
    const auto sumOfMagnitudes = [&y] {
        double sum = 0.0;
        for (const double v : y) sum += std::fabs(v);
        return sum;
    };
    double best = 0.0;
    for (int round = 0, probe = -1; round < kMostRounds; ++round) {
        solve(y.data());
        const double norm = sumOfMagnitudes();
        if (!(norm > best)) {
            if (std::isnan(norm)) return std::numeric_limits<double>::infinity();
            break;
        }
        best = norm;
        for (double& v : y) v = v < 0.0 ? -1.0 : 1.0;
        solveTransposed(y.data());
        const auto largest = std::max_element(
            y.begin(), y.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        const int next = static_cast<int>(largest - y.begin());
        if (next == probe) break;
        probe = next;
        std::fill(y.begin(), y.end(), 0.0);
        y[static_cast<std::size_t>(probe)] = 1.0;
    }
    for (int i = 0; i < n; ++i)
        y[static_cast<std::size_t>(i)] =
            (i % 2 == 0 ? 1.0 : -1.0) * (1.0 + static_cast<double>(i) / std::max(1, n - 1));
    solve(y.data());
    const double other = 2.0 * sumOfMagnitudes() / (3.0 * n);
    return std::isnan(other) ? std::numeric_limits<double>::infinity() : std::max(best, other);
}

}  // namespace knotwork
