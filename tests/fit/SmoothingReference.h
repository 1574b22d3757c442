// SPDX-License-Identifier: MIT
#pragma once

#include "tests/fit/Problems.h"

/// What smoothed fits are held against: the whole normal equations with Lagrange's multipliers, the
/// penalty from Taylor's series at the left ends of spans.
namespace knotwork_test {

using knotwork_measures::Quad;
using QuadRows = std::vector<std::vector<Quad>>;

/// Solves in place: the columns behind the square part are right-hand sides. Partial pivoting.
inline void eliminate(QuadRows& rows)
{
    const std::size_t n = rows.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k; i < n; ++i)
            if (rows[i][k] * rows[i][k] > rows[pivot][k] * rows[pivot][k]) pivot = i;
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

struct SmoothedAnswer {
    std::vector<double> controlPoints;
    double freedom = 0.0;
};

struct SmoothedProblem {
    FitProblem problem;
    std::vector<double> weights;
    double lambda = 0.0;
    int order = 1;

    knotwork::CurveFitOptions unsmoothed() const
    {
        knotwork::CurveFitOptions options;
        options.weights.reference(DoubleVec(weights.data(), static_cast<unsigned>(weights.size())));
        return options;
    }
    knotwork::FittedCurve fit() const
    {
        knotwork::CurveFitOptions options = unsmoothed();
        options.smoothing = lambda;
        options.smoothingOrder = order;
        return problem.fit(options);
    }

    std::vector<Quad> row(double t, int derivative) const
    {
        const knotwork::BsplineBasis& basis = problem.basis;
        std::vector<Quad> entries(static_cast<std::size_t>(basis.unknowns()));
        Quad values[knotwork::BsplineBasis::kMostDegree + 1];
        const int first = knotwork_measures::basisRow(basis, t, derivative, values);
        for (int j = 0; j <= basis.degree(); ++j)
            entries[static_cast<std::size_t>((first + j) % basis.unknowns())] += values[j];
        return entries;
    }

    /// T^(2K - 1) times the integral of the product of K-th derivatives, for any two unknowns.
    QuadRows roughness() const
    {
        const knotwork::BsplineBasis& basis = problem.basis;
        const auto n = static_cast<std::size_t>(basis.unknowns());
        QuadRows gram(n, std::vector<Quad>(n, Quad(0)));
        const Quad range = static_cast<Quad>(basis.last()) - basis.first();
        Quad factor = 1;
        for (int i = 0; i < 2 * order - 1; ++i) factor *= range;
        const std::vector<double> ends = basis.breakpoints();
        for (std::size_t s = 0; s + 1 < ends.size(); ++s) {
            const Quad h = static_cast<Quad>(ends[s + 1]) - ends[s];
            QuadRows series;  // C^(K) over the span: the coefficients of powers of (t - left) / h
            Quad scale = 1;
            for (int r = 0; order + r <= basis.degree(); ++r) {
                if (r > 0) scale *= h / r;
                series.push_back(row(ends[s], order + r));
                for (Quad& x : series.back()) x *= scale;
            }
            for (std::size_t r = 0; r < series.size(); ++r)
                for (std::size_t q = 0; q < series.size(); ++q)
                    for (std::size_t a = 0; a < n; ++a)
                        for (std::size_t b = 0; b < n; ++b)
                            gram[a][b] += factor * h * series[r][a] * series[q][b] /
                                          static_cast<Quad>(r + q + 1);
        }
        return gram;
    }

    SmoothedAnswer answer() const
    {
        const auto n = static_cast<std::size_t>(problem.basis.unknowns());
        const auto d = static_cast<std::size_t>(problem.dimension);
        const std::size_t size = n + problem.constraints.size();
        QuadRows data(n, std::vector<Quad>(n, Quad(0)));
        QuadRows rows(size, std::vector<Quad>(size + d + n, Quad(0)));  // behind: of data, data
        Quad total = 0;
        for (std::size_t i = 0; i < problem.parameters.size(); ++i) {
            const std::vector<Quad> entries = row(problem.parameters[i], 0);
            const Quad w = weights[i];
            total += w;
            for (std::size_t a = 0; a < n; ++a) {
                for (std::size_t b = 0; b < n; ++b) data[a][b] += w * entries[a] * entries[b];
                for (std::size_t k = 0; k < d; ++k)
                    rows[a][size + k] += w * entries[a] * problem.points[i * d + k];
            }
        }
        const QuadRows rough = roughness();
        for (std::size_t a = 0; a < n; ++a)
            for (std::size_t b = 0; b < n; ++b) {
                rows[a][b] = data[a][b] + lambda * total * rough[a][b];
                rows[a][size + d + b] = data[a][b];
            }
        for (std::size_t c = 0; c < problem.constraints.size(); ++c) {
            const knotwork::CurveConstraint& asked = problem.constraints[c];
            const std::vector<Quad> entries = row(asked.parameter, asked.derivative);
            for (std::size_t a = 0; a < n; ++a) rows[a][n + c] = rows[n + c][a] = entries[a];
            for (std::size_t k = 0; k < d; ++k) rows[n + c][size + k] = asked.value[k];
        }
        eliminate(rows);
        SmoothedAnswer found;
        for (int f = 0; f < problem.basis.count(); ++f)
            for (std::size_t k = 0; k < d; ++k)
                found.controlPoints.push_back(
                    static_cast<double>(rows[static_cast<std::size_t>(f) % n][size + k]));
        Quad trace = 0;
        for (std::size_t a = 0; a < n; ++a) trace += rows[a][size + d + a];
        found.freedom = static_cast<double>(trace);
        return found;
    }
};

inline SmoothedProblem randomSmoothed(Dice& dice)
{
    const auto below = [&dice](int n) {
        return static_cast<int>(dice.below(static_cast<unsigned>(n)));
    };
    SmoothedProblem p;
    const int degree = 1 + below(5);
    const int spans = degree + 1 + below(8);
    p.order = 1 + below(degree);
    p.lambda = std::pow(10.0, 12.0 * dice.unit() - 8.0);
    std::vector<double> ends = {-1.0};
    for (int s = 0; s < spans; ++s) ends.push_back(ends.back() + 0.2 + dice.unit());
    FitProblem& q = p.problem;
    q.dimension = 1 + below(2);
    q.basis = below(2) == 0 ? knotwork::BsplineBasis::periodic(degree, ends)
                            : knotwork::BsplineBasis::clamped(
                                  degree, ends.front(), ends.back(),
                                  std::vector<double>(ends.begin() + 1, ends.end() - 1));
    const double from = q.basis.first();
    const double length = q.basis.period();
    const double reach = below(2) == 0 ? 1.0 : 0.4 + 0.4 * dice.unit();  // a gap at the end
    const int count = degree + 2 + below(3 * spans);
    for (int i = 0; i < count; ++i) {
        q.parameters.push_back(from + reach * length * (i + dice.unit()) / count);
        p.weights.push_back(i > degree && below(4) == 0 ? 0.0 : std::pow(10.0, 2.0 * dice.unit()));
        for (int k = 0; k < q.dimension; ++k) q.points.push_back(2.0 * dice.unit() - 1.0);
    }
    for (int c = below(3); c > 0; --c)
        q.constraints.push_back(
            {from + length * (0.3 * c + 0.2 * dice.unit()), below(std::min(degree, 2)),
             std::vector<double>(static_cast<std::size_t>(q.dimension), 2.0 * dice.unit() - 1.0)});
    return p;
}

}  // namespace knotwork_test
