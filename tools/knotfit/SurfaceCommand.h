// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

namespace knotfit {

/// Adds `knotfit surface` to the command line; it runs while the line is parsed.
void addSurfaceCommand(CLI::App& app);

}  // namespace knotfit
