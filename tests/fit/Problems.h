// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "tests/fit/Reference.h"
#include "tests/support/Dice.h"

namespace knotwork_test {

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
