// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveSystems.h"

#include <algorithm>
#include <cmath>

#include "knotwork/linalg/detail/Array.h"

TsolveSystems::TsolveSystems(TsolverReporter& reporter, bool keepMatrixCopy)
    : TbaseSolver(reporter, keepMatrixCopy), maxEntriesPerRow_(0)
{
}

TsolveSystems::TsolveSystems(bool keepMatrixCopy)
    : TbaseSolver(keepMatrixCopy), maxEntriesPerRow_(0)
{
}

TsolveSystems::TsolveSystems(const TsolveSystems& other)
    : TbaseSolver(other),
      system_(other.system_),
      systemCopy_(other.systemCopy_),
      maxEntriesPerRow_(other.maxEntriesPerRow_)
{
    TsolveSystems::deepenShallowCopy();
}

TsolveSystems::~TsolveSystems() = default;

TsolveSystems& TsolveSystems::reference(TsolveSystems& other)
{
    TbaseSolver::reference(other);
    system_.reference(other.system_);
    systemCopy_.reference(other.systemCopy_);
    maxEntriesPerRow_ = other.maxEntriesPerRow_;
    return *this;
}

void TsolveSystems::deepenShallowCopy()
{
    TbaseSolver::deepenShallowCopy();
    system_.deepenShallowCopy();
    systemCopy_.deepenShallowCopy();
}

unsigned TsolveSystems::workingRows() const
{
    return system_.rows();
}

unsigned TsolveSystems::workingCols() const
{
    return system_.cols();
}

DoubleGenMat TsolveSystems::denseWorking() const
{
    return system_.expanded();
}

DoubleVec TsolveSystems::originalColumn(int col)
{
    return keepMatrixCopy_ ? systemCopy_.column(col) : DoubleVec();
}

void TsolveSystems::preSetMatrix(const IntVec& fixedCols, double resetCutoff, bool normalise,
                                 bool clean)
{
    systemCopy_.release();
    if (keepMatrixCopy_) systemCopy_.copyFrom(system_);
    totalCols_ = static_cast<int>(workingCols());
    totalRows_ = static_cast<int>(workingRows());
    useAll();
    if (reporter_.isActive()) reporter_.report(" Region cutoff value set to %f", tolerance_);
    if (clean && totalRows_ > 0 && totalCols_ > 0) cleanZeros(fixedCols, resetCutoff);
    if (normalise) tryNormalise();
}

void TsolveSystems::useAll()
{
    usedColIndex_.reference(IntVec(workingCols(), 0, 1));
    usedRowIndex_.reference(IntVec(workingRows(), 0, 1));
    rhsMult_.reference(DoubleVec());
    normalised_ = false;
}

void TsolveSystems::cleanZeros(const IntVec& fixedCols, double resetCutoff)
{
    // The signed maximum is meant, not the largest magnitude.
    const double limit = std::min(system_.largestEntry(), 1.0) * 0.99;
    bool usable = true;
    if (tolerance_ > limit) {
        usable = resetCutoff > 0.0 && limit > resetCutoff;
        if (usable) tolerance_ = resetCutoff;
        if (reporter_.isActive())
            reporter_.report(
                " Region cutoff value too large (maximal allowed value %5.3f). Reset to %5.3f.",
                limit, tolerance_);
    }
    if (usable) {
        zeroOutCount();
        cleanZero(fixedCols, tolerance_);
    }
    // An over-large tolerance drops nothing and still clamps, which is intended.
    system_.clamp(tolerance_);
}

bool TsolveSystems::findAllZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols,
                                 double tol) const
{
    return system_.findZeros(fixedCols, usedRows, usedCols, tol);
}

bool TsolveSystems::findZero(const DoubleGenMat& A, const IntVec& fixedCols, IntVec& usedRows,
                             IntVec& usedCols, double tol)
{
    return knotwork::WorkingMatrix(A).findZeros(fixedCols, usedRows, usedCols, tol);
}

void TsolveSystems::resetMatrix()
{
    system_.cut(usedRowIndex_, usedColIndex_);
}

void TsolveSystems::tryNormalise()
{
    normalised_ = true;
    rhsMult_.reference(system_.normalise());
}

bool TsolveSystems::thins(unsigned cols) const
{
    return maxEntriesPerRow_ >= 1 && maxEntriesPerRow_ < static_cast<int>(cols);
}

/// A row keeps its first k entries; the smallest of them can be displaced by the row's entry on the
/// diagonal. That the row's own index, not a running column, is looked at is intended, and so is
/// the signed comparison of that entry with magnitudes.
void TsolveSystems::zeroOutCount()
{
    if (!thins(working_.cols())) return;
    const int rows = static_cast<int>(working_.rows());
    const int cols = static_cast<int>(working_.cols());
    const int k = maxEntriesPerRow_;
    knotwork::Array<char> keepsDiagonal(rows, 0);
    knotwork::Array<double> magnitude(k);
    for (int i = 0; i < std::min(rows, cols); ++i) {
        const double diagonal = working_(i, i);
        for (int s = 0; s < k; ++s) magnitude[s] = std::fabs(working_(i, s));
        for (int pass = k; pass < cols; ++pass) {
            const auto smallest = std::min_element(magnitude.begin(), magnitude.end());
            if (!(diagonal > *smallest)) break;  // nor will any later pass find a smaller one
            *smallest = std::fabs(diagonal);
            const int slot = static_cast<int>(smallest - magnitude.begin());
            if (slot != i) working_(i, slot) = 0.0;
            keepsDiagonal[i] = 1;
        }
    }
    for (int j = k; j < cols; ++j) {
        const bool keeps = j < rows && keepsDiagonal[j] != 0;
        const double diagonal = keeps ? working_(j, j) : 0.0;
        working_.col(j) = 0.0;
        if (keeps) working_(j, j) = diagonal;
    }
}
