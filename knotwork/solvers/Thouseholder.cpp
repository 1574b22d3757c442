// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"

#include <algorithm>

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/solvers/detail/OutOfMemory.h"
#include "knotwork/solvers/detail/TwoPhase.h"

namespace {

constexpr int kMostPivots = 65535;  // what 16-bit work vectors can hold

/// The length of the work vectors: counts reduced to 16 bits before they are compared, as hosts
/// laid them down. min(rows, cols) fits as long as it is at most kMostPivots.
unsigned workLength(const DoubleGenMat& a)
{
    return std::max(a.rows() & 0xFFFFu, a.cols() & 0xFFFFu);
}

/// to = factor from; rows of neighbours, the common case, go in one move.
void copyScaled(int n, double factor, const double* from, std::ptrdiff_t fromStep, double* to,
                std::ptrdiff_t toStep)
{
    if (fromStep == 1 && toStep == 1)
        for (int c = 0; c < n; ++c) to[c] = factor * from[c];
    else
        for (int c = 0; c < n; ++c) to[toStep * c] = factor * from[fromStep * c];
}

}  // namespace

Thouseholder::Thouseholder(TsolverReporter& reporter, double tolerance, int maxEntriesPerRow,
                           bool keepMatrixCopy)
    : TsolveConstrainedLsq(reporter, keepMatrixCopy), negligible_(1e-13)
{
    tolerance_ = tolerance;
    maxEntriesPerRow_ = maxEntriesPerRow;
}

Thouseholder::Thouseholder(double tolerance, int maxEntriesPerRow, bool keepMatrixCopy)
    : Thouseholder(knotwork::defaultReporter(), tolerance, maxEntriesPerRow, keepMatrixCopy)
{
}

Thouseholder::Thouseholder(const Thouseholder& other)
    : TsolveConstrainedLsq(other),
      negligible_(other.negligible_),
      beta_(other.beta_),
      diagonal_(other.diagonal_),
      norms_(other.norms_),
      rowOrder_(other.rowOrder_),
      colOrder_(other.colOrder_),
      factored_(other.factored_),
      blocks_(other.blocks_)
{
    Thouseholder::deepenShallowCopy();
}

Thouseholder::~Thouseholder() = default;

Thouseholder& Thouseholder::reference(Thouseholder& other)
{
    TsolveConstrainedLsq::reference(other);
    negligible_ = other.negligible_;
    beta_.reference(other.beta_);
    diagonal_.reference(other.diagonal_);
    norms_.reference(other.norms_);
    rowOrder_.reference(other.rowOrder_);
    colOrder_.reference(other.colOrder_);
    factored_.reference(other.factored_);
    blocks_ = other.blocks_;
    return *this;
}

void Thouseholder::deepenShallowCopy()
{
    TsolveConstrainedLsq::deepenShallowCopy();
    beta_.deepenShallowCopy();
    diagonal_.deepenShallowCopy();
    norms_.deepenShallowCopy();
    rowOrder_.deepenShallowCopy();
    colOrder_.deepenShallowCopy();
    factored_.deepenShallowCopy();
}

bool Thouseholder::factor()
{
    negligible_ = tolerance_ / 10.0;
    rowOrder_.reference(IntVec(working_.rows(), 0, 1));
    colOrder_.reference(IntVec(working_.cols(), 0, 1));
    beta_.reference(DoubleVec(workLength(working_), 0.0));
    norms_.reference(DoubleVec(workLength(working_), 0.0));
    diagonal_.reference(DoubleVec(workLength(working_), 0.0));
    releaseFactors();
    factored_.reference(working_.copy());
    blocks_ = std::make_shared<knotwork::RowBlocks>(factored_);
    if (inPlace()) dependent_ = false;
    return !dependent_;
}

void Thouseholder::releaseFactors()
{
    factored_.reference(DoubleGenMat());
    blocks_.reset();
}

bool Thouseholder::inPlace()
{
    if (numConstraints_ > static_cast<int>(factored_.rows())) return false;
    if (!dependent_) return true;
    const knotwork::TwoPhaseLayout layout(factored_, numConstraints_);
    if (!layout.valid() || std::min(layout.rows, layout.cols) > kMostPivots) return false;
    return knotwork::TwoPhaseFactor(layout, arrays(), negligible_, reporter_).run();
}

knotwork::TwoPhaseArrays Thouseholder::arrays() const
{
    DoubleGenMat factored(factored_);
    DoubleVec beta(beta_);
    DoubleVec diagonal(diagonal_);
    DoubleVec norms(norms_);
    IntVec rowOrder(rowOrder_);
    IntVec colOrder(colOrder_);
    return {factored.data(), beta.data(),     diagonal.data(), norms.data(),
            rowOrder.data(), colOrder.data(), blocks_.get()};
}

int Thouseholder::solveInPlace(DoubleVec& rhs, DoubleVec* x) const
{
    if (x == nullptr) return knotwork::kBadArgument;
    TtupleVector points(1, rhs);
    TtupleVector solution(1, *x);
    return solveInPlace(points, &solution);
}

int Thouseholder::solveInPlace(TtupleVector& rhs, TtupleVector* x) const
{
    const int rows = static_cast<int>(factored_.rows());
    const int cols = static_cast<int>(factored_.cols());
    if (x == nullptr || x->points() < cols || rhs.points() < rows) return knotwork::kBadArgument;
    if (x->size() != rhs.size()) return knotwork::kBadArgument;
    if (isDependent()) return knotwork::kDependent;

    return knotwork::withoutBadAlloc(
        [&] {
            solveCoordinates(rhs, *x);
            return knotwork::kSolved;
        },
        knotwork::kBadArgument);
}

/// Many coordinates go through the factor together, few of them a column each.
void Thouseholder::solveCoordinates(TtupleVector& rhs, TtupleVector& x) const
{
    for (int first = 0; first < rhs.size();) {
        const int left = rhs.size() - first;
        const int width = std::min(left, left > knotwork::kPanel ? knotwork::kInterleaved : left);
        if (left > knotwork::kPanel)
            solveSome<knotwork::InterleavedBlock>(rhs, x, first, width);
        else
            solveSome<knotwork::ColumnBlock>(rhs, x, first, width);
        first += width;
    }
}

template <class Block>
void Thouseholder::solveSome(TtupleVector& rhs, TtupleVector& x, int first, int width) const
{
    const bool scaled = rhsMult_.length() == static_cast<unsigned>(rhs.points());
    const knotwork::TwoPhaseLayout layout(factored_, numConstraints_);
    knotwork::TwoPhaseSolve<Block> solve(layout, arrays(), negligible_, width);
    const DoubleVec right(rhs.data());
    const std::ptrdiff_t step = right.stride();
    for (int i = 0; i < layout.rows; ++i) {
        const int row = rowOrder_(i);
        const double factor = scaled ? rhsMult_(row) : 1.0;
        const double* numbers = right.data() + (std::ptrdiff_t{rhs.size()} * row + first) * step;
        double* to = &solve.rhs().at(i, 0);
        const std::ptrdiff_t toStep = width > 1 ? &solve.rhs().at(i, 1) - to : 1;
        copyScaled(width, factor, numbers, step, to, toStep);
    }
    solve.run();

    DoubleVec solution(x.data());
    const std::ptrdiff_t stride = solution.stride();
    const auto numbersOf = [&](int unknown) {
        return solution.data() + (std::ptrdiff_t{x.size()} * unknown + first) * stride;
    };
    for (int i = 0; i < x.points(); ++i)
        for (int c = 0; c < width; ++c) numbersOf(i)[stride * c] = 0.0;
    for (int j = 0; j < layout.cols; ++j) {
        const double* from = &solve.x().at(j, 0);
        const std::ptrdiff_t fromStep = width > 1 ? &solve.x().at(j, 1) - from : 1;
        copyScaled(width, 1.0, from, fromStep, numbersOf(colOrder_(j)), stride);
    }
}

TtupleVector Thouseholder::altSolve(const TtupleVector& rhs, int depth)
{
    const int usedRows = static_cast<int>(usedRowIndex_.length());
    const int n = static_cast<int>(working_.cols());
    const int rowsNeeded = usedRows > 0 ? usedRowIndex_(usedRows - 1) + 1 : 0;
    const int points = rhs.points();
    if (depth < 1 || points < static_cast<int>(working_.rows()) || points < rowsNeeded)
        return TtupleVector();

    const bool scaled = rhsMult_.length() == static_cast<unsigned>(usedRows);
    TtupleVector source(rhs);
    TtupleVector stacked(rhs.size(), usedRows + n, 0.0);
    for (int k = 0; k < rhs.size(); ++k) {
        DoubleVec upper(stacked.component(k).slice(0, static_cast<unsigned>(usedRows), 1));
        upper = source.component(k).vecPick(usedRowIndex_);
        if (scaled) upper *= rhsMult_;
    }

    Thouseholder damped(reporter_, tolerance_, 0, keepMatrixCopy_);
    damped.setMatrix(altMatrix(), 0, false, false, false);
    TtupleVector found;
    if (damped.isDependent())
        found.reference(damped.altSolve(stacked, depth - 1));
    else
        found.reference(damped.TbaseSolver::solve(stacked));

    TtupleVector x(found.size(), totalCols_, 0.0);
    if (usedCols() == totalCols_ || usedCols() != found.points())
        x.reference(found);
    else
        for (int k = 0; k < found.size(); ++k)
            x.component(k).vecPick(usedColIndex_) = found.component(k);
    return x;
}
