// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "knotwork/fit/BandOrder.h"
#include "knotwork/fit/CurveProblem.h"
#include "knotwork/fit/FitOptions.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/TsolveConstrainedLsq.h"
#include "knotwork/solvers/TsolverReporter.h"
#include "knotwork/sparse/BandTriangle.h"

namespace knotwork {

/// What a solver makes of a system that is told to take small numbers for zero.
struct SolverOpinion {
    bool solvable = false;
    double zero = 0.0;      ///< as used
    std::vector<double> x;  ///< a row a function, of as many numbers as the right-hand sides have

    /// Whether it differs from an answer by next to nothing of its or the data's size, for each of
    /// the `dimension` numbers of a point.
    bool sharedBy(const NumberBlock& answer, int dimension) const;
};

/// Why a fit is refused that the opinion does not share. asked: the tolerance; used: it too, unless
/// a cut-off raised it.
const char* whyZeroIsTooCoarse(double asked, double used);

/// Asks the solver of the method, Thouseholder or TsolveConstrainedLsqQR, about a system of a
/// curve, with `zero` for its tolerance. rows: those of the problem that are fitted. Throws
/// std::bad_alloc where the dense system finds no room.
SolverOpinion askSolver(const CurveProblem& problem, const CurveSystem& system,
                        const SpanTriangles& rows, const FitOptions& options);

/// What a question to a solver is made of: itself, and the data rows as a triangle, the constraint
/// rows, times a factor, behind them. quiet: hears it where the options name nobody. Throws
/// std::bad_alloc.
std::unique_ptr<TsolveConstrainedLsq> solverOf(const FitOptions& options, TsolverReporter& quiet);
DoubleGenMat denseSystem(const BandTriangle& triangle, const std::vector<ConstraintRow>& rows,
                         double factor, const BandOrder& order = BandOrder());
/// The factor: a constraint's weight counts where it is fitted.
double constraintFactor(FitMethod method, double weight);

}  // namespace knotwork
