// SPDX-License-Identifier: MIT
#include "knotwork/solvers/Thouseholder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <numeric>

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/detail/Array.h"
#include "knotwork/linalg/detail/OutOfMemory.h"
#include "knotwork/solvers/detail/LiteralRoad.h"
#include "knotwork/solvers/detail/ProgressMeter.h"

namespace {

using knotwork::Array;

/// 0 as long as the first points have no number that is not finite.
double sumOfZeros(const TtupleVector& points, int count)
{
    const DoubleVec& numbers = points.numbers();
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

/// Which coordinates have a number that is not finite in their first points.
Array<char> spoiltCoordinates(const TtupleVector& points, int count)
{
    Array<char> spoilt(points.size(), 0);
    if (sumOfZeros(points, count) == 0.0) return spoilt;
    TtupleVector source(points);
    for (int k = 0; k < points.size(); ++k)
        if (sumOfZeros(TtupleVector(1, source.component(k).copy()), count) != 0.0) spoilt[k] = 1;
    return spoilt;
}

/// The largest magnitude; less than any for a number that is not finite.
double largestFinite(const double* numbers, int count, std::ptrdiff_t step)
{
    double most = 0.0;
    double zero = 0.0;
    for (const double* end = numbers + step * count; numbers != end; numbers += step) {
        const double magnitude = std::fabs(*numbers);
        most = most < magnitude ? magnitude : most;
        zero += 0.0 * magnitude;
    }
    return zero == 0.0 ? most : -1.0;
}

bool isZero(const TtupleVector& rhs, int coordinate, int rows)
{
    const DoubleVec numbers(TtupleVector(rhs).component(coordinate));
    for (int i = 0; i < rows; ++i)
        if (numbers(i) != 0.0) return false;
    return true;
}

/// Lanes to the coordinates from `first` on; points beyond the unknowns are cleared.
void writeLanes(const double* found, int unknowns, const knotwork::LaneReader& lanes, int first,
                TtupleVector& x)
{
    DoubleVec numbers(x.data());
    const std::ptrdiff_t step = numbers.stride();
    const int width = lanes.width();
    for (int i = 0; i < x.points(); ++i, found += lanes.lanes()) {
        double* to = numbers.data() + (std::ptrdiff_t{x.size()} * i + first) * step;
        if (i >= unknowns)
            for (int c = 0; c < width; ++c) to[step * c] = 0.0;
        else if (step == 1)
            std::copy_n(found, width, to);
        else
            for (int c = 0; c < width; ++c) to[step * c] = found[c];
    }
}

}  // namespace

/// The road that was taken, and the literal one, which is made when a right-hand side first asks
/// for it: each is only read from then on.
struct Thouseholder::Factors {
    std::unique_ptr<const knotwork::Road> road;
    double negligible = 0.0;  // at the set-up
    std::once_flag literalMade;
    std::unique_ptr<const knotwork::LiteralRoad> literal;
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

Thouseholder::Thouseholder(const Thouseholder& other) = default;

Thouseholder::~Thouseholder() = default;

Thouseholder& Thouseholder::reference(Thouseholder& other)
{
    TsolveConstrainedLsq::reference(other);
    negligible_ = other.negligible_;
    factors_ = other.factors_;
    return *this;
}

void Thouseholder::deepenShallowCopy()
{
    TsolveConstrainedLsq::deepenShallowCopy();
}

bool Thouseholder::factor()
{
    negligible_ = tolerance_ / 10.0;
    releaseFactors();
    if ((!literalOnly_ && findShortRoad()) || inPlace()) dependent_ = false;
    return !dependent_;
}

void Thouseholder::releaseFactors()
{
    factors_.reset();
}

void Thouseholder::hold(std::unique_ptr<const knotwork::Road> road)
{
    factors_ = std::make_shared<Factors>();
    factors_->road = std::move(road);
    factors_->negligible = negligible_;
}

bool Thouseholder::findShortRoad()
{
    if (workingCols() > static_cast<unsigned>(knotwork::LiteralRoad::kMostPivots)) return false;
    auto road = knotwork::findShortRoad(system_, numConstraints_, negligible_);
    if (!road) return false;
    hold(std::move(road));
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

/// Answers of the literal road have no least one.
bool Thouseholder::onShortRoad() const
{
    return factors_ && factors_->road->leastAnswer() >= 0.0;
}

bool Thouseholder::inPlace()
{
    if (numConstraints_ > static_cast<int>(workingRows())) return false;
    if (!dependent_) return true;
    system_.expand();
    auto road =
        std::make_unique<knotwork::LiteralRoad>(working_, numConstraints_, negligible_, reporter_);
    const bool stands = road->everyPivotStands();
    hold(std::move(road));
    return stands;
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
    const int rows = static_cast<int>(workingRows());
    const int cols = static_cast<int>(workingCols());
    if (x == nullptr || x->points() < cols || rhs.points() < rows) return knotwork::kBadArgument;
    if (x->size() != rhs.size()) return knotwork::kBadArgument;
    if (isDependent() || !factors_) return knotwork::kDependent;
    return knotwork::withoutBadAlloc(
        [&] {
            solveCoordinates(rhs, *x);
            return knotwork::kSolved;
        },
        knotwork::kBadArgument);
}

/// Many coordinates go through the factors together. What is not finite spoils its own, and an
/// answer within reach of the thresholds comes from the literal road.
void Thouseholder::solveCoordinates(const TtupleVector& rhs, TtupleVector& x) const
{
    const int rows = static_cast<int>(workingRows());
    const int cols = static_cast<int>(workingCols());
    const bool scaled = rhsMult_.length() == static_cast<unsigned>(rhs.points());
    const DoubleVec rowFactors(scaled ? rhsMult_ : DoubleVec());
    const Array<char> spoilt = spoiltCoordinates(rhs, rows);
    const double least = factors_->road->leastAnswer();
    Array<double> found;
    for (int first = 0; first < rhs.size();) {
        const knotwork::LaneReader right(rhs, rowFactors, first);
        const int step = right.lanes();
        found.resize(std::ptrdiff_t{step} * cols);
        factors_->road->solve(right, found.data());
        for (int c = 0; c < right.width(); ++c) {
            double* lane = found.data() + c;
            if (spoilt[first + c] != 0) {
                for (int j = 0; j < cols; ++j)
                    lane[std::ptrdiff_t{step} * j] = std::numeric_limits<double>::quiet_NaN();
                continue;
            }
            const double most = largestFinite(lane, cols, step);
            if (most < least && !(most == 0.0 && isZero(rhs, first + c, rows)))
                solveLiterally(rhs, rowFactors, first + c, lane, step);
        }
        writeLanes(found.data(), cols, right, first, x);
        first += right.width();
    }
}

/// One coordinate; unknown j goes to x[step * j].
void Thouseholder::solveLiterally(const TtupleVector& rhs, const DoubleVec& rowFactors,
                                  int coordinate, double* x, int step) const
{
    std::call_once(factors_->literalMade, [this] {
        factors_->literal = std::make_unique<knotwork::LiteralRoad>(
            denseWorking(), numConstraints_, factors_->negligible, knotwork::defaultReporter());
    });
    if (!factors_->literal->everyPivotStands()) return;
    const knotwork::LaneReader right(rhs, rowFactors, coordinate, 1);
    const int lanes = right.lanes();
    Array<double> found(std::ptrdiff_t{lanes} * static_cast<int>(workingCols()));
    factors_->literal->solve(right, found.data());
    for (int j = 0; j < static_cast<int>(workingCols()); ++j)
        x[std::ptrdiff_t{step} * j] = found[std::ptrdiff_t{lanes} * j];
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
