// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/TsolverReporter.h"
#include "tools/knotfit/ProgressBar.h"

namespace knotfit {

/// Lets the solver speak on standard error; on a terminal its progress becomes a bar, unless the
/// whole fit has one of its own.
class ConsoleReporter : public TsolverReporter {
  public:
    enum class Progress { kBar, kLeftToTheFit };

    explicit ConsoleReporter(bool verbose, Progress progress = Progress::kBar);
    using TsolverReporter::report;
    void report(const char* text) override;

  private:
    Progress progress_;
    ProgressBar bar_;
};

}  // namespace knotfit
