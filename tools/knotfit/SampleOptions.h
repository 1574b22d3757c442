// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace knotfit {

/// What shapes the rows of a curve fit, as typed: where the samples are and what basis they meet.
struct SampleOptions {
    std::string input;
    int degree = 3;
    int spans = 8;
    std::string knots;
    std::string parameter;
    bool closed = false;
    std::string period;  ///< of a closed curve, as typed
    std::string start;   ///< where its period begins
    int weights = 0;     ///< the column with a weight for each point, counted from 1; 0: none
};

/// Adds them to a command. Returns all but --parameter, which commands describe on their own, and
/// --closed.
std::vector<CLI::Option*> addSampleOptions(CLI::App& command, SampleOptions& options);

}  // namespace knotfit
