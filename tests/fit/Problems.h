// SPDX-License-Identifier: MIT
#pragma once

#include "measures/FitOracle.h"
#include "tests/support/Testing.h"

namespace knotwork_test {

inline knotwork::FittedCurve fitOf(const knotwork_measures::CurveProblem& p,
                                   knotwork::CurveFitOptions options = {})
{
    const int n = static_cast<int>(p.parameters.size());
    const DoubleVec t(p.parameters.data(), static_cast<unsigned>(n));
    if (p.method != knotwork::FitMethod::kHouseholder) options.method = p.method;
    if (!p.weights.empty())
        options.weights.reference(DoubleVec(p.weights.data(), static_cast<unsigned>(n)));
    return knotwork::fitCurve(TtupleVector(p.dimension, n, p.points.data()), t, p.basis,
                              p.constraints, options);
}

struct FitProblem : knotwork_measures::CurveProblem {
    knotwork::FittedCurve fit(const knotwork::CurveFitOptions& options = {}) const
    {
        return fitOf(*this, options);
    }
};

/// The largest difference, as a share of the largest number of its coordinate.
inline double deviation(const Numbers& found, const Numbers& expected, int dimension)
{
    return knotwork_measures::deviationOf(found, expected, dimension).perCoordinate;
}

/// From what quadruple precision finds.
inline double deviationFromReference(const FitProblem& p, const knotwork::FittedCurve& curve)
{
    return deviation(curve.controlPoints, answerFor(p).controlPoints, p.dimension);
}

/// A point of a curve less another one, or its derivative, by the textbook recursion.
inline std::vector<knotwork_measures::Quad> differenceAt(const knotwork::BsplineBasis& basis,
                                                         const Numbers& controlPoints, double t,
                                                         int derivative, const double* from, int d)
{
    knotwork_measures::Quad row[knotwork::BsplineBasis::kMostDegree + 1];
    const int first = knotwork_measures::basisRow(basis, t, derivative, row);
    std::vector<knotwork_measures::Quad> left(from, from + d);
    for (int k = 0; k < d; ++k) {
        left[static_cast<std::size_t>(k)] *= -1;
        for (int j = 0; j <= basis.degree(); ++j)
            left[static_cast<std::size_t>(k)] +=
                row[j] * controlPoints[static_cast<std::size_t>((first + j) * d + k)];
    }
    return left;
}

/// What control points leave of the data and of values to be met, not by the curve's own means.
struct Residuals {
    double rms = 0.0;
    double largest = 0.0;
    double largestAt = 0.0;
    double constraint = 0.0;
};

inline Residuals residualsOf(const knotwork_measures::CurveProblem& p, const Numbers& controlPoints)
{
    Residuals found;
    const auto squaresAt = [&](double t, const double* target) {
        double squares = 0.0;
        for (const auto x : differenceAt(p.basis, controlPoints, t, 0, target, p.dimension))
            squares += static_cast<double>(x * x);
        return squares;
    };
    for (std::size_t i = 0; i < p.parameters.size(); ++i) {
        const double squares =
            squaresAt(p.parameters[i], &p.points[i * static_cast<std::size_t>(p.dimension)]);
        found.rms += squares / static_cast<double>(p.parameters.size());
        if (std::sqrt(squares) <= found.largest) continue;
        found.largest = std::sqrt(squares);
        found.largestAt = p.parameters[i];
    }
    for (const knotwork::CurveConstraint& c : p.constraints)
        if (c.derivative == 0)
            found.constraint =
                std::max(found.constraint, std::sqrt(squaresAt(c.parameter, c.value.data())));
    found.rms = std::sqrt(found.rms);
    return found;
}

/// Points about a smooth curve, with noise, at parameters spread unevenly over every span.
inline FitProblem noisyProblem(int degree, int spans, int dimension, Dice& dice)
{
    FitProblem p;
    p.dimension = dimension;
    p.basis = knotwork::BsplineBasis::uniform(degree, 0.0, 1.0, spans);
    const int count = 3 * p.basis.count();
    for (int i = 0; i < count; ++i) {
        p.parameters.push_back((i + dice.unit()) / count);
        for (int k = 0; k < dimension; ++k)
            p.points.push_back(std::sin((5.0 + k) * p.parameters.back() + k) + 0.2 * dice.unit());
    }
    return p;
}

/// Constraints of random orders at places in different spans, the values as large as the data's.
inline void addConstraints(FitProblem& p, int count, Dice& dice)
{
    const int spans = p.basis.count() - p.basis.degree();
    for (int c = 0; c < count; ++c) {
        const double t = (c + 0.1 + 0.8 * dice.unit()) / spans;
        const int order = static_cast<int>(dice.below(static_cast<unsigned>(p.basis.degree()) + 1));
        const double size = std::pow(5.0, order);
        std::vector<double> value;
        for (int k = 0; k < p.dimension; ++k) value.push_back(size * (2.0 * dice.unit() - 1.0));
        p.constraints.push_back({t, order, value});
    }
}

/// The same problem in other units, a factor for each coordinate and one for the parameter.
inline FitProblem scaled(const FitProblem& p, const std::vector<double>& coordinates,
                         double parameter, double parameterOffset = 0.0)
{
    FitProblem q = p;
    const auto moved = [=](double t) { return t * parameter + parameterOffset; };
    std::vector<double> knots = p.basis.knots();
    for (double& knot : knots) knot = moved(knot);
    q.basis = knotwork::BsplineBasis(p.basis.degree(), knots);
    for (double& t : q.parameters) t = moved(t);
    for (std::size_t i = 0; i < q.points.size(); ++i)
        q.points[i] *= coordinates[i % coordinates.size()];
    for (knotwork::CurveConstraint& c : q.constraints) {
        c.parameter = moved(c.parameter);
        for (std::size_t k = 0; k < c.value.size(); ++k)
            c.value[k] *= coordinates[k % coordinates.size()];
        for (int order = 0; order < c.derivative; ++order)
            for (double& value : c.value) value /= parameter;
    }
    return q;
}

}  // namespace knotwork_test
