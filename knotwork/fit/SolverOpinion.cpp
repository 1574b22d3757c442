// SPDX-License-Identifier: MIT
#include "knotwork/fit/SolverOpinion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"

namespace knotwork {

namespace {

constexpr double kAgreement = 1e-8;  // of an answer with small numbers taken for zero

}  // namespace

std::unique_ptr<TsolveConstrainedLsq> solverOf(const FitOptions& options, TsolverReporter& quiet)
{
    TsolverReporter& reporter = options.reporter != nullptr ? *options.reporter : quiet;
    if (options.method == FitMethod::kQr)
        return std::make_unique<TsolveConstrainedLsqQR>(reporter, options.zero, false);
    return std::make_unique<Thouseholder>(reporter, options.zero, 0, false);
}

DoubleGenMat denseSystem(const BandTriangle& triangle, const std::vector<ConstraintRow>& rows,
                         double factor, const BandOrder& order)
{
    const int cols = triangle.size();
    if ((cols + static_cast<double>(rows.size())) * cols > std::numeric_limits<int>::max())
        throw std::bad_alloc();
    DoubleGenMat matrix(static_cast<unsigned>(cols) + static_cast<unsigned>(rows.size()),
                        static_cast<unsigned>(cols), 0.0);
    for (int j = 0; j < cols; ++j)
        for (int k = 0; k < triangle.count(j); ++k) matrix(j, j + k) = triangle.row(j)[k];
    for (std::size_t c = 0; c < rows.size(); ++c)
        for (std::size_t k = 0; k < rows[c].entries.size(); ++k)
            matrix(cols + static_cast<int>(c), order.place(rows[c].first + static_cast<int>(k))) +=
                factor * rows[c].entries[k].high;
    return matrix;
}

double constraintFactor(FitMethod method, double weight)
{
    return method == FitMethod::kQr ? std::sqrt(weight) : 1.0;
}

bool SolverOpinion::sharedBy(const NumberBlock& answer, int dimension) const
{
    const auto d = static_cast<std::size_t>(dimension);
    for (std::size_t k = 0; k < d; ++k) {
        double size = 1.0;  // the data's
        double difference = 0.0;
        for (std::size_t i = k; i < answer.high.size(); i += d) {
            size = std::max(size, std::fabs(answer.high[i]));
            const double off = std::fabs(x[i] - answer.high[i]);
            if (!(off <= difference)) difference = off;  // negated, so that a NaN stays
        }
        if (!(difference <= kAgreement * size)) return false;
    }
    return true;
}

const char* whyZeroIsTooCoarse(double asked, double used)
{
    return used > asked ? "the estimated cut-off is too coarse for this system"
                        : "what counts as zero is too coarse for this system";
}

SolverOpinion askSolver(const CurveProblem& problem, const CurveSystem& system,
                        const SpanTriangles& rows, const FitOptions& options)
{
    const RowStream stream = compressed(rows, problem.order(), true);
    const int columns = stream.triangle().size();
    std::vector<double> sides;
    for (int j = 0; j < columns; ++j)
        sides.insert(sides.end(), stream.rhs(j), stream.rhs(j) + system.dimension);
    sides = system.rightSides(sides);
    const double factor = constraintFactor(options.method, problem.constraintWeight());
    for (const double right : system.rhs.high) sides.push_back(factor * right);

    const int d = system.kinds();
    const int cols = system.unknowns(columns);
    const TtupleVector b(d, cols + system.equations(), sides.data());
    const BandOrder order = system.order(problem.order());
    TsolverReporter quiet(true);
    const std::unique_ptr<TsolveConstrainedLsq> solver(solverOf(options, quiet));
    SolverOpinion opinion;
    opinion.solvable =
        solver->setMatrix(
            denseSystem(system.triangle(stream.triangle()), system.rows, factor, order),
            system.equations(), false, false, options.estimateCutoff) == 0;
    opinion.zero = solver->tolerance();
    if (!opinion.solvable) return opinion;
    TtupleVector x(d, cols, 0.0);
    opinion.solvable = solver->solve(b, &x, false) == kSolved;
    for (int f = 0; f < order.functions(cols); ++f)
        for (int k = 0; k < d; ++k) opinion.x.push_back(x.numbers()(order.place(f) * d + k));
    return opinion;
}

}  // namespace knotwork
