// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

namespace knotfit {

/// Adds `knotfit eval` to the command line; it runs while the line is parsed.
void addEvalCommand(CLI::App& app);

}  // namespace knotfit
