// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceOpinion.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "knotwork/solvers/TsolveTensorProductLsq.h"
#include "knotwork/sparse/RowStream.h"

namespace knotwork {

namespace {

/// One direction as a solver takes it, its right-hand sides compressed like its rows.
struct DenseDirection {
    DoubleGenMat matrix;
    NumberBlock rhs;  ///< one row a row of the matrix
};

/// b: right-hand sides of the rows and behind them those of the constraints.
DenseDirection denseDirection(const ScaledRows& rows, const std::vector<ConstraintRow>& constraints,
                              double factor, const NumberBlock& b)
{
    RowStream stream(rows.cols(), b.width);
    std::vector<double> entries(static_cast<std::size_t>(rows.width()));
    std::vector<double> right(static_cast<std::size_t>(b.width));
    const auto take = [&right, &b](int row, double times) {
        for (std::size_t c = 0; c < right.size(); ++c) right[c] = times * b.high[b.at(row, 0) + c];
    };
    for (int i = 0; i < rows.count(); ++i) {
        const double root = std::sqrt(rows.weight(i));
        std::transform(rows.entries(i), rows.entries(i) + rows.width(), entries.begin(),
                       [root](double x) { return root * x; });
        take(i, root);
        stream.add(rows.firstColumn(i), entries.data(), rows.width(), right.data());
    }
    stream.finish();
    const int held = static_cast<int>(constraints.size());
    DenseDirection direction{denseSystem(stream.triangle(), constraints, factor),
                             NumberBlock(rows.cols() + held, b.width, false)};
    double* to = direction.rhs.high.data();
    for (int j = 0; j < rows.cols(); ++j, to += b.width) std::copy_n(stream.rhs(j), b.width, to);
    for (int c = 0; c < held; ++c, to += b.width) {
        take(rows.count() + c, factor);
        std::copy(right.begin(), right.end(), to);
    }
    return direction;
}

TtupleMatrix gridOf(const NumberBlock& block, int dimension)
{
    const int rows = block.width / dimension;
    const auto cols = static_cast<int>(block.high.size() / static_cast<std::size_t>(block.width));
    return TtupleMatrix(dimension, rows, cols,
                        DoubleVec(block.high.data(), static_cast<unsigned>(block.high.size())));
}

}  // namespace

SolverOpinion askSolvers(const ScaledSurface& problem, const FitOptions& options,
                         const HeldPoints* held)
{
    const int d = problem.dimension();
    const int nu = problem.inU().cols();
    const int nv = problem.inV().cols();
    const int linesU = static_cast<int>(problem.constraintsInU().size());
    const int linesV = static_cast<int>(problem.constraintsInV().size());
    const DenseDirection v = denseDirection(
        problem.inV(), problem.constraintsInV(),
        constraintFactor(options.method, problem.inV().constraintWeight()), problem.rhs());
    const DenseDirection u =
        denseDirection(problem.inU(), problem.constraintsInU(),
                       constraintFactor(options.method, problem.inU().constraintWeight()),
                       transposed(v.rhs, nv + linesV, d));
    const TtupleMatrix b(gridOf(transposed(u.rhs, nu + linesU, d), d));

    TsolverReporter quiet(true);
    const auto solverU = solverOf(options, quiet);
    const auto solverV = solverOf(options, quiet);
    TsolveTensorProductLsq solver(*solverU, *solverV);
    SolverOpinion opinion;
    // With held points this is for the cut-offs only: the solvers are set anew around those.
    opinion.solvable = solver.setMatrix(u.matrix, v.matrix, linesU, linesV, false, false, false,
                                        false, options.estimateCutoff, options.estimateCutoff) == 0;
    opinion.zero = std::max(solverU->tolerance(), solverV->tolerance());
    if (!opinion.solvable && held == nullptr) return opinion;
    TtupleMatrix x(held != nullptr ? gridOf(held->points, d) : TtupleMatrix(d, nu, nv, 0.0));
    const int code = held != nullptr ? solver.solveFixed(u.matrix, v.matrix, held->mask, b, &x)
                                     : solver.solve(b, &x);
    // The shapes go together, so what this says is that there was no room.
    if (code == kBadArgument) throw std::bad_alloc();
    opinion.solvable = code == kSolved;
    const double* numbers = x.numbers().data();
    opinion.x.assign(numbers, numbers + x.numbers().length());
    return opinion;
}

}  // namespace knotwork
