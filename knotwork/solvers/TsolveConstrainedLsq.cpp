// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveConstrainedLsq.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "knotwork/factor/DoubleSVDecomp.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr double kResetCutoff = 0.001;         // what an over-large tolerance is reset to
constexpr std::uint64_t kSlowEntries = 50000;  // more than these make the cut-off worth a message
constexpr double kRidge = 0.2;                 // so 0.04 in the normal equations

/// Values that rounding cannot tell from zero, in a matrix of that size, are zero.
DoubleVec singularValues(const DoubleGenMat& A, unsigned size)
{
    DoubleSVDecomp decomposition;
    decomposition.computeLeftVecs(0);
    decomposition.computeRightVecs(0);
    decomposition.factor(A);
    DoubleVec values(decomposition.singularValues().copy());
    const double largest = values.length() > 0 ? values(0) : 0.0;
    values.clampZero(std::numeric_limits<double>::epsilon() * size * largest);
    return values;
}

}  // namespace

TsolveConstrainedLsq::TsolveConstrainedLsq(TsolverReporter& reporter, bool keepMatrixCopy)
    : TsolveSystems(reporter, keepMatrixCopy), numConstraints_(0), dependent_(true)
{
}

TsolveConstrainedLsq::TsolveConstrainedLsq(bool keepMatrixCopy)
    : TsolveSystems(keepMatrixCopy), numConstraints_(0), dependent_(true)
{
}

TsolveConstrainedLsq::TsolveConstrainedLsq(const TsolveConstrainedLsq& other) = default;

TsolveConstrainedLsq::~TsolveConstrainedLsq() = default;

bool TsolveConstrainedLsq::isSolvable() const
{
    return !dependent_;
}

TsolveConstrainedLsq& TsolveConstrainedLsq::reference(TsolveConstrainedLsq& other)
{
    TsolveSystems::reference(other);
    dependent_ = other.dependent_;
    numConstraints_ = other.numConstraints_;
    return *this;
}

void TsolveConstrainedLsq::deepenShallowCopy()
{
    TsolveSystems::deepenShallowCopy();
}

int TsolveConstrainedLsq::setMatrix(const DoubleGenMat& A, const IntVec& fixedCols,
                                    int numConstraints, bool normalise, bool cleanZeros,
                                    bool computeCutoff)
{
    return realSetMatrix(A, fixedCols, numConstraints, normalise, cleanZeros, computeCutoff);
}

int TsolveConstrainedLsq::setMatrix(const DoubleGenMat& A, int numConstraints, bool normalise,
                                    bool cleanZeros, bool computeCutoff)
{
    return realSetMatrix(A, IntVec(), numConstraints, normalise, cleanZeros, computeCutoff);
}

int TsolveConstrainedLsq::realSetMatrix(const DoubleGenMat& A, const IntVec& fixedCols,
                                        int numConstraints, bool normalise, bool cleanZeros,
                                        bool computeCutoff)
{
    numConstraints_ = std::clamp(numConstraints, 0, static_cast<int>(A.rows()));
    dependent_ = true;
    return knotwork::withoutBadAlloc(
        [&] {
            copyMatrix(A, cleanZeros, computeCutoff);
            preSetMatrix(fixedCols, kResetCutoff, normalise, cleanZeros);
            const int rows = static_cast<int>(workingRows());
            const int cols = static_cast<int>(workingCols());
            numConstraints_ = rows < cols ? rows : std::min(cols, numConstraints_);
            factor();
            return dependent_ ? -1 : 0;
        },
        -1);
}

/// The first steps of a set-up: an earlier system goes before the new one comes. A derived class
/// may hand in that earlier system's own matrix, which `source` then keeps alive.
void TsolveConstrainedLsq::copyMatrix(const DoubleGenMat& A, bool cleanZeros, bool computeCutoff)
{
    const DoubleGenMat source(A);
    releaseFactors();
    system_.release();
    systemCopy_.release();
    const bool thinned = cleanZeros && thins(source.cols());
    system_.read(source, mayTakeSpans() && source.rows() >= source.cols() && !thinned);
    if (!computeCutoff) return;
    // The clamp is meant to act on the system that is solved, not only on the estimate.
    if (cleanZeros) system_.clamp(kResetCutoff);
    const std::uint64_t entries = std::uint64_t{source.rows()} * source.cols();
    if (reporter_.isActive() && entries > kSlowEntries)
        reporter_.report("%s", "Computing region cutoff... (could take some time)");
    const unsigned size = std::max(source.rows(), source.cols());
    tolerance_ = std::max(tolerance_, cutoffFrom(singularValues(system_.condensed(), size)));
}

void TsolveConstrainedLsq::takeNoSpans()
{
    takesSpans_ = false;
    spansClass_ = nullptr;
}

bool TsolveConstrainedLsq::mayTakeSpans() const
{
    return takesSpans_ || (spansClass_ != nullptr && typeid(*this) == *spansClass_);
}

double TsolveConstrainedLsq::trySVD(const DoubleGenMat& A)
{
    return cutoffFrom(singularValues(A, std::max(A.rows(), A.cols())));
}

double TsolveConstrainedLsq::cutoffFrom(const DoubleVec& s)
{
    const int n = static_cast<int>(s.length());
    if (n < 2) return 0.0;
    int first = s(0) < 1.0 ? 0 : -1;  // of the values below 1; it is only marked, never tested
    for (int k = 1; k < n; ++k) {
        const double v = s(k);
        if (!(v < 1.0)) continue;
        if (first < 0) {
            first = k;
            continue;
        }
        const bool vanishes = std::fabs(v) <= 1e-10;
        const bool gap = s(first) / v > 20.0 && s(k - 1) / v > 2.0;
        if (vanishes || gap) return (9.0 * v + s(k - 1)) / 10.0;
    }
    return 0.0;
}

DoubleGenMat TsolveConstrainedLsq::altMatrix()
{
    return knotwork::orEmpty([&] {
        DoubleGenMat stacked(denseWorking().copy());
        const int m = static_cast<int>(stacked.rows());
        const int n = static_cast<int>(stacked.cols());
        stacked.resize(stacked.rows() + stacked.cols(), stacked.cols());
        for (int j = 0; j < n; ++j) stacked(m + j, j) = kRidge;
        return stacked;
    });
}
