// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <numeric>
#include <vector>

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/solvers/detail/DenseRoad.h"
#include "knotwork/solvers/detail/OutOfMemory.h"
#include "knotwork/solvers/detail/ProgressMeter.h"
#include "knotwork/solvers/detail/SpanSystem.h"
#include "knotwork/solvers/detail/SparseRoad.h"
#include "knotwork/solvers/detail/TwoPhase.h"

namespace {

constexpr int kMostPivots = 65535;  // what 16-bit work vectors can hold

/// The length of the work vectors: counts reduced to 16 bits before they are compared, as hosts
/// laid them down. min(rows, cols) fits as long as it is at most kMostPivots.
unsigned workLength(const DoubleGenMat& a)
{
    return std::max(a.rows() & 0xFFFFu, a.cols() & 0xFFFFu);
}

/// 0 as long as the first points have no number that is not finite.
double sumOfZeros(const TtupleVector& points, int count)
{
    const DoubleVec numbers(TtupleVector(points).data());
    const std::ptrdiff_t step = numbers.stride();
    const std::ptrdiff_t total = std::ptrdiff_t{points.size()} * count;
    const double* from = numbers.data();
    constexpr int kSums = 16;  // side by side, as vectors
    double sums[kSums] = {};
    std::ptrdiff_t at = 0;
    for (; step == 1 && at + kSums <= total; at += kSums)
        for (int l = 0; l < kSums; ++l) sums[l] += 0.0 * from[at + l];
    for (; at < total; ++at) sums[0] += 0.0 * from[step * at];
    return std::accumulate(sums, sums + kSums, 0.0);
}

/// The largest magnitude; a NaN when a number is not finite.
double largestOrNaN(const double* numbers, int count, std::ptrdiff_t step)
{
    double most = 0.0;
    double zero = 0.0;
    for (const double* end = numbers + step * count; numbers != end; numbers += step) {
        const double magnitude = std::fabs(*numbers);
        most = most < magnitude ? magnitude : most;
        zero += 0.0 * magnitude;
    }
    return most + zero;
}

/// Which coordinates have a number that is not finite in their first points; empty for none.
std::vector<char> spoiltCoordinates(const TtupleVector& points, int count)
{
    std::vector<char> spoilt;
    if (sumOfZeros(points, count) == 0.0) return spoilt;
    TtupleVector source(points);
    for (int k = 0; k < points.size(); ++k)
        spoilt.push_back(sumOfZeros(TtupleVector(1, source.component(k).copy()), count) == 0.0 ? 0
                                                                                               : 1);
    return spoilt;
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

/// The short road, sparse or dense, which is only read and which copies share, and a solver of the
/// same system on the literal road, which is made when a right-hand side first asks for it. That
/// one is of arrays, which count who shares them unsynchronised, so that every copy has its own.
struct Thouseholder::Shortcut {
    Shortcut() = default;
    Shortcut(const Shortcut& other)
        : sparse(other.sparse), dense(other.dense), tolerance(other.tolerance)
    {
    }
    Shortcut& operator=(const Shortcut&) = delete;

    std::shared_ptr<const knotwork::SparseRoad> sparse;
    std::shared_ptr<const knotwork::DenseRoad> dense;
    double tolerance = 0.0;  // at the set-up
    std::once_flag literalMade;
    std::unique_ptr<Thouseholder> literal;
};

Thouseholder::Thouseholder(TsolverReporter& reporter, double tolerance, int maxEntriesPerRow,
                           bool keepMatrixCopy)
    : TsolveConstrainedLsq(reporter, keepMatrixCopy), negligible_(1e-13)
{
    tolerance_ = tolerance;
    maxEntriesPerRow_ = maxEntriesPerRow;
    takeSpansAs(typeid(Thouseholder));
}

Thouseholder::Thouseholder(double tolerance, int maxEntriesPerRow, bool keepMatrixCopy)
    : Thouseholder(knotwork::defaultReporter(), tolerance, maxEntriesPerRow, keepMatrixCopy)
{
}

Thouseholder::Thouseholder(const Thouseholder& other)
    : TsolveConstrainedLsq(other),
      negligible_(other.negligible_),
      literalOnly_(other.literalOnly_),
      beta_(other.beta_),
      diagonal_(other.diagonal_),
      norms_(other.norms_),
      rowOrder_(other.rowOrder_),
      colOrder_(other.colOrder_),
      factored_(other.factored_),
      blocks_(other.blocks_),
      shortcut_(other.shortcut_)
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
    shortcut_ = other.shortcut_;
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
    if (shortcut_.use_count() < 2) return;
    knotwork::completed([&] { shortcut_ = std::make_shared<Shortcut>(*shortcut_); },
                        [&] { dependent_ = true; });
}

bool Thouseholder::factor()
{
    negligible_ = tolerance_ / 10.0;
    releaseFactors();
    if (!literalOnly_ && findShortcut()) {
        dependent_ = false;
        return true;
    }
    expandWorking();
    rowOrder_.reference(IntVec(working_.rows(), 0, 1));
    colOrder_.reference(IntVec(working_.cols(), 0, 1));
    beta_.reference(DoubleVec(workLength(working_), 0.0));
    norms_.reference(DoubleVec(workLength(working_), 0.0));
    diagonal_.reference(DoubleVec(workLength(working_), 0.0));
    factored_.reference(working_.copy());
    blocks_ = std::make_shared<knotwork::RowBlocks>(factored_);
    if (inPlace()) dependent_ = false;
    return !dependent_;
}

void Thouseholder::releaseFactors()
{
    factored_.reference(DoubleGenMat());
    blocks_.reset();
    shortcut_.reset();
}

bool Thouseholder::findShortcut()
{
    if (workingCols() > static_cast<unsigned>(kMostPivots)) return false;
    auto shortcut = std::make_shared<Shortcut>();
    shortcut->tolerance = tolerance_;
    if (spans_)
        shortcut->sparse = knotwork::SparseRoad::find(*spans_, numConstraints_, negligible_);
    else
        shortcut->dense = knotwork::DenseRoad::find(working_, numConstraints_, negligible_);
    if (!shortcut->sparse && !shortcut->dense) return false;
    shortcut_ = std::move(shortcut);
    reportSteps();
    return true;
}

/// What the literal road tells of its progress.
void Thouseholder::reportSteps() const
{
    const int rows = static_cast<int>(workingRows());
    const int cols = static_cast<int>(workingCols());
    const auto phase = [this](int steps, int weight) {
        knotwork::ProgressMeter progress(reporter_, steps, weight);
        for (int i = 0; i < steps; ++i) progress.step();
        progress.finish();
    };
    phase(numConstraints_, cols);
    if (rows > numConstraints_) phase(cols - numConstraints_, rows);
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
    const auto rows = static_cast<int>(shortcut_ ? workingRows() : factored_.rows());
    const auto cols = static_cast<int>(shortcut_ ? workingCols() : factored_.cols());
    if (x == nullptr || x->points() < cols || rhs.points() < rows) return knotwork::kBadArgument;
    if (x->size() != rhs.size()) return knotwork::kBadArgument;
    if (isDependent()) return knotwork::kDependent;

    return knotwork::withoutBadAlloc(
        [&] {
            const std::vector<char> spoilt = spoiltCoordinates(rhs, rows);
            if (shortcut_)
                solveShort(rhs, *x, spoilt);
            else
                solveCoordinates(rhs, *x);
            for (int k = 0; k < static_cast<int>(spoilt.size()); ++k)
                if (spoilt[static_cast<std::size_t>(k)] != 0)
                    x->component(k).slice(0, static_cast<unsigned>(cols), 1) =
                        std::numeric_limits<double>::quiet_NaN();
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

void Thouseholder::solveShort(const TtupleVector& rhs, TtupleVector& x,
                              const std::vector<char>& spoilt) const
{
    for (int first = 0; first < rhs.size();) {
        const int left = rhs.size() - first;
        if (left > knotwork::kFewLanes)
            solveLanes<knotwork::kManyLanes>(rhs, x, first, std::min(left, knotwork::kManyLanes),
                                             spoilt);
        else
            solveLanes<knotwork::kFewLanes>(rhs, x, first, left, spoilt);
        first += left > knotwork::kFewLanes ? knotwork::kManyLanes : knotwork::kFewLanes;
    }
}

template <int Lanes>
void Thouseholder::solveLanes(const TtupleVector& rhs, TtupleVector& x, int first, int width,
                              const std::vector<char>& spoilt) const
{
    const int cols = static_cast<int>(workingCols());
    const bool scaled = rhsMult_.length() == static_cast<unsigned>(rhs.points());
    const DoubleVec right(TtupleVector(rhs).data());
    const std::ptrdiff_t step = right.stride();
    const double* numbers = right.data() + first * step;
    const std::ptrdiff_t pointStep = std::ptrdiff_t{rhs.size()} * step;
    double largest[Lanes] = {};
    const auto fetch = [&](int i, double* lanes) {
        const double factor = scaled ? rhsMult_(i) : 1.0;
        const double* from = numbers + pointStep * i;
        const auto take = [&](int count, std::ptrdiff_t apart) {
            for (int c = 0; c < count; ++c) {
                lanes[c] = factor * from[apart * c];
                const double magnitude = std::fabs(lanes[c]);
                largest[c] = largest[c] < magnitude ? magnitude : largest[c];
            }
        };
        if (width == Lanes && step == 1)
            take(Lanes, 1);  // the counts are known here, which makes vectors of it
        else
            take(width, step);
    };
    std::vector<double> found(static_cast<std::size_t>(cols) * Lanes);
    if (shortcut_->sparse)
        shortcut_->sparse->solve<Lanes>(fetch, found.data());
    else
        shortcut_->dense->solve<Lanes>(fetch, found.data());
    const double least =
        shortcut_->sparse ? shortcut_->sparse->leastAnswer() : shortcut_->dense->leastAnswer();
    for (int c = 0; c < width; ++c) {
        if (!spoilt.empty() && spoilt[static_cast<std::size_t>(first + c)] != 0) continue;
        const double most = largestOrNaN(found.data() + c, cols, Lanes);
        if (most >= least || (most == 0.0 && largest[c] == 0.0)) continue;
        solveLiterally(rhs, first + c, found.data() + c, Lanes);
    }

    DoubleVec solution(x.data());
    const std::ptrdiff_t stride = solution.stride();
    for (int i = 0; i < x.points(); ++i) {
        double* to = solution.data() + (std::ptrdiff_t{x.size()} * i + first) * stride;
        if (i < cols)
            copyScaled(width, 1.0, found.data() + std::ptrdiff_t{Lanes} * i, 1, to, stride);
        else
            for (int c = 0; c < width; ++c) to[stride * c] = 0.0;
    }
}

/// One coordinate of the right-hand side on the literal road; unknown j goes to x[step * j].
void Thouseholder::solveLiterally(const TtupleVector& rhs, int coordinate, double* x,
                                  std::ptrdiff_t step) const
{
    std::call_once(shortcut_->literalMade, [this] {
        auto literal = std::make_unique<Thouseholder>(shortcut_->tolerance, 0, false);
        literal->keepToLiteralRoad();
        literal->working_.reference(denseWorking());
        literal->numConstraints_ = numConstraints_;
        literal->rhsMult_.reference(rhsMult_.copy());
        literal->factor();
        literal->working_.reference(DoubleGenMat());
        shortcut_->literal = std::move(literal);
    });
    DoubleVec right(TtupleVector(rhs).component(coordinate).copy());
    DoubleVec solution(workingCols(), 0.0);
    if (shortcut_->literal->solveInPlace(right, &solution) != knotwork::kSolved) return;
    for (int j = 0; j < static_cast<int>(solution.length()); ++j) x[step * j] = solution(j);
}

TtupleVector Thouseholder::altSolve(const TtupleVector& rhs, int depth)
{
    return knotwork::orEmpty([&] { return dampedSolve(rhs, depth); });
}

TtupleVector Thouseholder::dampedSolve(const TtupleVector& rhs, int depth)
{
    const int usedRows = static_cast<int>(usedRowIndex_.length());
    const int n = static_cast<int>(workingCols());
    const int rowsNeeded = usedRows > 0 ? usedRowIndex_(usedRows - 1) + 1 : 0;
    const int points = rhs.points();
    if (depth < 1 || points < static_cast<int>(workingRows()) || points < rowsNeeded)
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
