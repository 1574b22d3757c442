// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "knotwork/fit/FitReport.h"
#include "knotwork/solvers/TsolveConstrainedLsq.h"

namespace knotwork {

/// The solver of a method, which borrows the reporter.
std::unique_ptr<TsolveConstrainedLsq> makeSolver(FitMethod method, TsolverReporter& reporter,
                                                 double tolerance);

}  // namespace knotwork
