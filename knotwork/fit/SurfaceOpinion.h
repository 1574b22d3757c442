// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/ScaledSurface.h"
#include "knotwork/fit/SolverOpinion.h"

namespace knotwork {

/// Control points that are given, in the problem's scale, and where: where mask is 1.
struct HeldPoints {
    const IntGenMat& mask;
    const NumberBlock& points;  ///< zeros for the others
};

/// Asks the tensor-product solver with two solvers of the method, a dense matrix a direction, as
/// askSolver() does for curves. held: null where no control points are given. Its zero is the
/// larger one of both directions. Throws std::bad_alloc where a dense system finds no room.
SolverOpinion askSolvers(const ScaledSurface& problem, const FitOptions& options,
                         const HeldPoints* held);

}  // namespace knotwork
