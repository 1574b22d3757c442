// SPDX-License-Identifier: MIT
#include "knotwork/fit/SolverOpinion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "knotwork/factor/RowStream.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"

namespace knotwork {

namespace {

std::unique_ptr<TsolveConstrainedLsq> makeSolver(FitMethod method, TsolverReporter& reporter,
                                                 double tolerance)
{
    if (method == FitMethod::kQr)
        return std::make_unique<TsolveConstrainedLsqQR>(reporter, tolerance, false);
    return std::make_unique<Thouseholder>(reporter, tolerance, 0, false);
}

/// The arrays end the process where memory runs out, so it is tried here first.
void requireRoom(std::uint64_t rows, std::uint64_t cols)
{
    constexpr std::uint64_t kMatrices = 4;  // the system's, and what the solver makes of it
    const std::uint64_t numbers = rows * cols;
    if (numbers > std::numeric_limits<unsigned>::max()) throw std::bad_alloc();
    ::operator delete(::operator new(kMatrices* numbers * sizeof(double)));
}

/// What a row of constraints is multiplied by: its weight counts where it is fitted.
double factorOf(const ScaledRows& rows, int row, FitMethod method)
{
    return method == FitMethod::kQr ? std::sqrt(rows.weight(row)) : 1.0;
}

/// The data rows as a triangle, the constraint rows behind them.
DoubleGenMat denseSystem(const ScaledRows& rows, const BandTriangle& triangle, FitMethod method)
{
    const int cols = rows.cols();
    DoubleGenMat matrix(static_cast<unsigned>(cols + rows.constraints()),
                        static_cast<unsigned>(cols), 0.0);
    for (int j = 0; j < cols; ++j)
        for (int k = 0; k < triangle.count(j); ++k) matrix(j, j + k) = triangle.row(j)[k];
    for (int c = 0; c < rows.constraints(); ++c) {
        const int row = rows.dataRows() + c;
        for (int k = 0; k < rows.width(); ++k)
            matrix(cols + c, rows.firstColumn(row) + k) =
                factorOf(rows, row, method) * rows.entries(row)[k];
    }
    return matrix;
}

}  // namespace

SolverOpinion askSolver(const ScaledRows& rows, const NumberBlock& rhs, FitMethod method,
                        double zero, bool estimateCutoff, TsolverReporter& reporter)
{
    const int cols = rows.cols();
    const int d = rhs.width;
    requireRoom(static_cast<std::uint64_t>(cols) + static_cast<std::uint64_t>(rows.constraints()),
                static_cast<std::uint64_t>(cols));
    RowStream stream(cols, d);
    std::vector<double> row(static_cast<std::size_t>(rows.width()));
    std::vector<double> right(static_cast<std::size_t>(d));
    for (int i = 0; i < rows.dataRows(); ++i) {
        const double root = std::sqrt(rows.weight(i));
        std::transform(rows.entries(i), rows.entries(i) + rows.width(), row.begin(),
                       [root](double x) { return root * x; });
        for (int c = 0; c < d; ++c)
            right[static_cast<std::size_t>(c)] = root * rhs.high[rhs.at(i, c)];
        stream.add(rows.firstColumn(i), row.data(), rows.width(), right.data());
    }
    stream.finish();

    TtupleVector b(d, cols + rows.constraints(), 0.0);
    double* to = b.data().data();
    for (int j = 0; j < cols; ++j, to += d) std::copy_n(stream.rhs(j), d, to);
    for (int i = rows.dataRows(); i < rows.count(); ++i)
        for (int c = 0; c < d; ++c) *to++ = factorOf(rows, i, method) * rhs.high[rhs.at(i, c)];
    const std::unique_ptr<TsolveConstrainedLsq> solver(makeSolver(method, reporter, zero));
    SolverOpinion opinion;
    opinion.solvable = solver->setMatrix(denseSystem(rows, stream.triangle(), method),
                                         rows.constraints(), false, false, estimateCutoff) == 0;
    opinion.zero = solver->tolerance();
    if (!opinion.solvable) return opinion;
    TtupleVector x(d, cols, 0.0);
    opinion.solvable = solver->solve(b, &x, false) == kSolved;
    const double* numbers = x.numbers().data();
    opinion.x.assign(numbers, numbers + x.numbers().length());
    return opinion;
}

}  // namespace knotwork
