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

std::unique_ptr<TsolveConstrainedLsq> solverOf(FitMethod method, TsolverReporter& reporter,
                                               double tolerance)
{
    if (method == FitMethod::kQr)
        return std::make_unique<TsolveConstrainedLsqQR>(reporter, tolerance, false);
    return std::make_unique<Thouseholder>(reporter, tolerance, 0, false);
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

SolverOpinion askSolver(const CurveProblem& problem, const SpanTriangles& rows, FitMethod method,
                        double zero, bool estimateCutoff, TsolverReporter& reporter)
{
    const BandOrder& order = problem.order();
    const int cols = order.unknowns(rows.cols());
    const int d = rows.rhsWidth();
    const int constraints = static_cast<int>(problem.constraintRows().size());
    const RowStream stream = compressed(rows, order, true);

    const double factor = constraintFactor(method, problem.constraintWeight());
    TtupleVector b(d, cols + constraints, 0.0);
    double* to = b.data().data();
    for (int j = 0; j < cols; ++j, to += d) std::copy_n(stream.rhs(j), d, to);
    for (const double right : problem.constraintRhs().high) *to++ = factor * right;
    const std::unique_ptr<TsolveConstrainedLsq> solver(solverOf(method, reporter, zero));
    SolverOpinion opinion;
    opinion.solvable =
        solver->setMatrix(denseSystem(stream.triangle(), problem.constraintRows(), factor, order),
                          constraints, false, false, estimateCutoff) == 0;
    opinion.zero = solver->tolerance();
    if (!opinion.solvable) return opinion;
    TtupleVector x(d, cols, 0.0);
    opinion.solvable = solver->solve(b, &x, false) == kSolved;
    for (int f = 0; f < rows.cols(); ++f)
        for (int k = 0; k < d; ++k) opinion.x.push_back(x.numbers()(order.place(f) * d + k));
    return opinion;
}

}  // namespace knotwork
