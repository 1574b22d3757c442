// SPDX-License-Identifier: MIT
#include "knotwork/fit/FitSolver.h"

#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"

namespace knotwork {

std::unique_ptr<TsolveConstrainedLsq> makeSolver(FitMethod method, TsolverReporter& reporter,
                                                 double tolerance)
{
    if (method == FitMethod::kQr)
        return std::make_unique<TsolveConstrainedLsqQR>(reporter, tolerance, false);
    return std::make_unique<Thouseholder>(reporter, tolerance, 0, false);
}

}  // namespace knotwork
