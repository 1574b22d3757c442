// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "measures/FitOracle.h"

/// Fits to try a library on, the same for a seed and an index everywhere: the easy, the hard and
/// those that have no answer.
namespace knotwork_measures {

/// Curves of 2 to 34 control points.
CurveProblem randomCurve(std::uint64_t seed, std::uint64_t index);
/// Closed curves of 1 to 34 control points that differ, some parameters and constraints periods
/// away.
CurveProblem randomClosedCurve(std::uint64_t seed, std::uint64_t index);
/// Surfaces of up to 12 by 12.
SurfaceProblem randomSurface(std::uint64_t seed, std::uint64_t index);

/// One line: the sizes and what is special.
std::string described(const CurveProblem& problem);
std::string described(const SurfaceProblem& problem);

/// Every number, so that the problem can be set up again.
std::string dumped(const CurveProblem& problem);
std::string dumped(const SurfaceProblem& problem);

}  // namespace knotwork_measures
