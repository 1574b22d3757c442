// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/TbaseReporter.h"

/// The diagnostics channel of the solvers.
class KNOTWORK_EXPORT TsolverReporter : public TbaseReporter {
  public:
    explicit TsolverReporter(bool quiet) : TbaseReporter(quiet) {}
    ~TsolverReporter() override;

    /// Reports "Constraint solving ... ", the fraction in percent and " completed.".
    void progress(double fraction);
};

namespace knotwork {

/// The quiet reporter of solvers that were given none; exists before any static solver.
TsolverReporter& defaultReporter();

}  // namespace knotwork
