// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <vector>

#include "measures/FitOracle.h"
#include "measures/Numbers.h"

/// Surface fits that several tests start from.
namespace knotwork_test {

inline DoubleVec vectorOf(const std::vector<double>& v)
{
    return DoubleVec(v.data(), static_cast<unsigned>(v.size()));
}

inline TtupleMatrix gridOf(const knotwork_measures::SurfaceProblem& p)
{
    return TtupleMatrix(p.dimension, static_cast<int>(p.uParameters.size()),
                        static_cast<int>(p.vParameters.size()), vectorOf(p.points));
}

inline knotwork::SurfaceFitOptions optionsOf(const knotwork_measures::SurfaceProblem& p)
{
    knotwork::SurfaceFitOptions options;
    options.method = p.method;
    options.acrossU = p.acrossU;
    options.acrossV = p.acrossV;
    if (!p.uWeights.empty()) options.uWeights.reference(vectorOf(p.uWeights));
    if (!p.vWeights.empty()) options.vWeights.reference(vectorOf(p.vWeights));
    return options;
}

inline knotwork::FittedSurface fitOf(const knotwork_measures::SurfaceProblem& p,
                                     const knotwork::SurfaceFitOptions& options)
{
    return knotwork::fitSurface(gridOf(p), vectorOf(p.uParameters), vectorOf(p.vParameters), p.u,
                                p.v, options);
}

inline knotwork::FittedSurface fitOf(const knotwork_measures::SurfaceProblem& p)
{
    return fitOf(p, optionsOf(p));
}

/// Noise of two coordinates on 9 x 7 samples; cubic by quadratic, 3 x 2 spans.
inline knotwork_measures::SurfaceProblem noisySheet()
{
    knotwork_measures::SurfaceProblem p;
    p.u = knotwork::BsplineBasis::uniform(3, 0, 8, 3);
    p.v = knotwork::BsplineBasis::uniform(2, 0, 6, 2);
    p.dimension = 2;
    knotwork_measures::Dice dice(31);
    for (int i = 0; i <= 8; ++i) p.uParameters.push_back(i);
    for (int j = 0; j <= 6; ++j) p.vParameters.push_back(j);
    for (int n = 0; n < 9 * 7 * 2; ++n) p.points.push_back(dice.unit());
    return p;
}

/// Cubic in u, 8 spans, of which the last has nothing but a sample 2^-(k+1) behind its first knot.
inline knotwork_measures::SurfaceProblem hardlyDetermined(int k)
{
    knotwork_measures::SurfaceProblem p;
    p.u = knotwork::BsplineBasis::uniform(3, 0, 8, 8);
    p.v = knotwork::BsplineBasis::uniform(1, 0, 1, 1);
    for (int i = 0; i <= 35; ++i) p.uParameters.push_back(i / 5.0);
    p.uParameters.push_back(7 + std::ldexp(0.5, -k));
    p.vParameters = {0, 0.5, 1};
    for (int n = 0; n < 37 * 3; ++n) p.points.push_back(std::cos(1.0 * n));
    return p;
}

}  // namespace knotwork_test
