// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "knotwork/fit/CurveFit.h"

/// What the fits are held against: the textbook recursion and the normal equations, in arithmetic
/// so long that their condition does not matter. Shares nothing with the library but the structs
/// that describe a problem.
namespace knotwork_test {

#ifdef __SIZEOF_FLOAT128__
__extension__ using Quad = __float128;
#else
using Quad = long double;
#endif

template <class Real>
Real magnitude(Real x)
{
    return x < 0 ? -x : x;
}

/// B-spline i of degree p at t, or its derivative of order r: Cox and de Boor's recursion, 0 / 0
/// being 0. The last span that is not empty includes its right end.
template <class Real>
Real basisFunction(const std::vector<double>& knots, std::size_t i, int p, double t, int r)
{
    const double left = knots[i];
    const double right = knots[i + static_cast<std::size_t>(p) + 1];
    if (p == 0)
        return left < right && left <= t && (t < right || (t == right && right == knots.back()));
    if (r > p) return 0;
    const Real leftWidth = static_cast<Real>(knots[i + static_cast<std::size_t>(p)]) - left;
    const Real rightWidth = static_cast<Real>(right) - knots[i + 1];
    const int below = r > 0 ? r - 1 : 0;
    Real total = 0;
    if (leftWidth > 0)
        total += basisFunction<Real>(knots, i, p - 1, t, below) / leftWidth *
                 (r > 0 ? static_cast<Real>(p) : static_cast<Real>(t) - left);
    if (rightWidth > 0)
        total += basisFunction<Real>(knots, i + 1, p - 1, t, below) / rightWidth *
                 (r > 0 ? -static_cast<Real>(p) : static_cast<Real>(right) - t);
    return total;
}

struct FitProblem {
    int dimension = 1;
    std::vector<double> points;  // point after point
    std::vector<double> parameters;
    knotwork::BsplineBasis basis;
    std::vector<knotwork::CurveConstraint> constraints;

    knotwork::FittedCurve fit(const knotwork::CurveFitOptions& options = {}) const
    {
        const int n = static_cast<int>(parameters.size());
        const DoubleVec t(parameters.data(), static_cast<unsigned>(n));
        return knotwork::fitCurve(TtupleVector(dimension, n, points.data()), t, basis, constraints,
                                  options);
    }
};

using QuadRows = std::vector<std::vector<Quad>>;

/// Solves in place: the columns behind the square part are right-hand sides. Partial pivoting.
inline void eliminate(QuadRows& rows)
{
    const std::size_t n = rows.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k; i < n; ++i)
            if (magnitude(rows[i][k]) > magnitude(rows[pivot][k])) pivot = i;
        std::swap(rows[k], rows[pivot]);
        for (std::size_t i = 0; i < n; ++i) {
            const Quad factor = i == k ? Quad(0) : rows[i][k] / rows[k][k];
            if (factor == 0) continue;
            for (std::size_t j = k; j < rows[i].size(); ++j) rows[i][j] -= factor * rows[k][j];
        }
    }
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t j = n; j < rows[k].size(); ++j) rows[k][j] /= rows[k][k];
}

/// The control points, point after point: normal equations bordered by Lagrange's multipliers.
inline std::vector<double> referenceControlPoints(const FitProblem& p)
{
    const auto n = static_cast<std::size_t>(p.basis.count());
    const auto d = static_cast<std::size_t>(p.dimension);
    const std::size_t size = n + p.constraints.size();
    QuadRows rows(size, std::vector<Quad>(size + d, Quad(0)));
    const auto basisRow = [&p, n](double t, int derivative) {
        std::vector<Quad> row(n);
        for (std::size_t j = 0; j < n; ++j)
            row[j] = basisFunction<Quad>(p.basis.knots(), j, p.basis.degree(), t, derivative);
        return row;
    };
    for (std::size_t i = 0; i < p.parameters.size(); ++i) {
        const std::vector<Quad> row = basisRow(p.parameters[i], 0);
        for (std::size_t a = 0; a < n; ++a) {
            if (row[a] == 0) continue;
            for (std::size_t b = 0; b < n; ++b) rows[a][b] += row[a] * row[b];
            for (std::size_t k = 0; k < d; ++k)
                rows[a][size + k] += row[a] * static_cast<Quad>(p.points[i * d + k]);
        }
    }
    for (std::size_t c = 0; c < p.constraints.size(); ++c) {
        const knotwork::CurveConstraint& constraint = p.constraints[c];
        const std::vector<Quad> row = basisRow(constraint.parameter, constraint.derivative);
        for (std::size_t a = 0; a < n; ++a) rows[a][n + c] = rows[n + c][a] = row[a];
        for (std::size_t k = 0; k < d; ++k) rows[n + c][size + k] = constraint.value[k];
    }
    eliminate(rows);
    std::vector<double> points;
    for (std::size_t a = 0; a < n; ++a)
        for (std::size_t k = 0; k < d; ++k)
            points.push_back(static_cast<double>(rows[a][size + k]));
    return points;
}

/// The largest difference, as a share of the largest number of its coordinate.
inline double deviation(const std::vector<double>& found, const std::vector<double>& expected,
                        int dimension)
{
    if (found.size() != expected.size()) return 1e300;
    double worst = 0.0;
    const auto d = static_cast<std::size_t>(dimension);
    for (std::size_t k = 0; k < d; ++k) {
        double largest = 0.0;
        double difference = 0.0;
        for (std::size_t i = k; i < found.size(); i += d) {
            if (!(found[i] == found[i])) return 1e300;
            largest = std::max(largest, magnitude(expected[i]));
            difference = std::max(difference, magnitude(found[i] - expected[i]));
        }
        if (difference > 0.0) worst = std::max(worst, difference / largest);
    }
    return worst;
}

inline double deviationFromReference(const FitProblem& p, const knotwork::FittedCurve& curve)
{
    return deviation(curve.controlPoints, referenceControlPoints(p), p.dimension);
}

}  // namespace knotwork_test
