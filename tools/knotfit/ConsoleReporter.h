// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/TsolverReporter.h"
#include "tools/knotfit/ProgressBar.h"

namespace knotfit {

/// Lets the solver speak on standard error; on a terminal all but its progress, since the whole fit
/// has a bar of its own.
class ConsoleReporter : public TsolverReporter {
  public:
    explicit ConsoleReporter(bool verbose) : TsolverReporter(!verbose) {}
    using TsolverReporter::report;
    void report(const char* text) override;

  private:
    ProgressBar bar_;  // the fit's, as far as a line of the solver's must not run into it
};

}  // namespace knotfit
