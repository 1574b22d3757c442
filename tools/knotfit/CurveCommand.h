// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

namespace knotfit {

/// Adds `knotfit curve` to the command line; it runs while the line is parsed.
void addCurveCommand(CLI::App& app);

}  // namespace knotfit
