// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/TsolverReporter.h"

namespace knotfit {

/// Lets the solver speak on standard error; on a terminal its progress becomes a bar.
class ConsoleReporter : public TsolverReporter {
  public:
    explicit ConsoleReporter(bool verbose);
    using TsolverReporter::report;
    void report(const char* text) override;

  private:
    bool terminal_;
};

}  // namespace knotfit
