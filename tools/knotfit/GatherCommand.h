// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

namespace knotfit {

/// Adds `knotfit gather` to the command line; it runs while the line is parsed.
void addGatherCommand(CLI::App& app);

}  // namespace knotfit
