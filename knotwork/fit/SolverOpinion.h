// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/FitReport.h"
#include "knotwork/fit/ResidualSums.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/solvers/TsolverReporter.h"

namespace knotwork {

/// What a solver makes of a system that is told to take small numbers for zero.
struct SolverOpinion {
    bool solvable = false;
    double zero = 0.0;      ///< as used
    std::vector<double> x;  ///< rows of as many numbers as the right-hand sides have
};

/// Asks the solver of a method, Thouseholder or TsolveConstrainedLsqQR, with the data rows
/// compressed. zero: its tolerance; estimateCutoff: may raise that to a gap in the singular values.
/// Throws std::bad_alloc where the dense system finds no room.
SolverOpinion askSolver(const ScaledRows& rows, const NumberBlock& rhs, FitMethod method,
                        double zero, bool estimateCutoff, TsolverReporter& reporter);

}  // namespace knotwork
