// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveConstraints.h"

namespace knotfit {

/// What a curve is to hold on to, as typed.
struct ConstraintOptions {
    std::vector<std::string> values;
    std::vector<std::string> slopes;
    std::vector<std::string> directions;
    std::vector<std::string> held;
};

void addConstraintOptions(CLI::App& command, ConstraintOptions& options);

/// The same for the library.
struct AskedOfCurve {
    std::vector<knotwork::CurveConstraint> constraints;
    std::vector<knotwork::DirectionConstraint> directions;
    std::vector<knotwork::HeldControlPoint> held;
};

/// Adds what was typed; throws a Failure with status 2.
void addAsked(const ConstraintOptions& options, const knotwork::BsplineBasis& basis, int dimension,
              AskedOfCurve& asked);

}  // namespace knotfit
