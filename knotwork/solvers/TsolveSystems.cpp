// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveSystems.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "knotwork/solvers/detail/SpanSystem.h"

namespace {

struct Shape {
    int rows;
    int cols;
    explicit Shape(const DoubleGenMat& a)
        : rows(static_cast<int>(a.rows())), cols(static_cast<int>(a.cols()))
    {
    }
};

/// Euclidean lengths of the rows, in one sweep over the columns.
DoubleVec rowLengths(const DoubleGenMat& a)
{
    const Shape shape(a);
    DoubleVec squares(a.rows(), 0.0);
    double* square = squares.data();
    for (int j = 0; j < shape.cols; ++j) {
        const double* column = a.col(j).data();
        for (int i = 0; i < shape.rows; ++i) square[i] += column[i] * column[i];
    }
    // Squares that came near the ends of the range have lost digits: those rows are measured anew.
    for (int i = 0; i < shape.rows; ++i) {
        if (square[i] > 1e-280 && square[i] < 1e280) {
            square[i] = std::sqrt(square[i]);
            continue;
        }
        const double length = a.row(i).vecLen();
        // BLAS libraries differ in what they make of infinite numbers.
        if (!(std::isinf(square[i]) && std::isnan(length))) square[i] = length;
    }
    return squares;
}

}  // namespace

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
      matrixCopy_(other.matrixCopy_),
      working_(other.working_),
      maxEntriesPerRow_(other.maxEntriesPerRow_),
      spans_(other.spans_),
      spansCopy_(other.spansCopy_)
{
    TsolveSystems::deepenShallowCopy();
}

TsolveSystems::~TsolveSystems() = default;

TsolveSystems& TsolveSystems::reference(TsolveSystems& other)
{
    TbaseSolver::reference(other);
    matrixCopy_.reference(other.matrixCopy_);
    working_.reference(other.working_);
    maxEntriesPerRow_ = other.maxEntriesPerRow_;
    spans_ = other.spans_;
    spansCopy_ = other.spansCopy_;
    return *this;
}

void TsolveSystems::deepenShallowCopy()
{
    TbaseSolver::deepenShallowCopy();
    matrixCopy_.deepenShallowCopy();
    working_.deepenShallowCopy();
}

unsigned TsolveSystems::workingRows() const
{
    return spans_ ? static_cast<unsigned>(spans_->rows()) : working_.rows();
}

unsigned TsolveSystems::workingCols() const
{
    return spans_ ? static_cast<unsigned>(spans_->cols()) : working_.cols();
}

DoubleGenMat TsolveSystems::denseWorking() const
{
    return spans_ ? knotwork::expanded(*spans_) : working_;
}

void TsolveSystems::expandWorking()
{
    working_.reference(denseWorking());
    spans_.reset();
}

void TsolveSystems::releaseMatrices()
{
    matrixCopy_.reference(DoubleGenMat());
    working_.reference(DoubleGenMat());
    spans_.reset();
    spansCopy_.reset();
}

DoubleVec TsolveSystems::originalColumn(int col)
{
    if (spansCopy_ && col >= 0 && col < spansCopy_->cols())
        return knotwork::columnOf(*spansCopy_, col);
    const bool kept = keepMatrixCopy_ && col >= 0 && col < Shape(matrixCopy_).cols;
    return kept ? matrixCopy_.col(col) : DoubleVec();
}

void TsolveSystems::preSetMatrix(const IntVec& fixedCols, double resetCutoff, bool normalise,
                                 bool clean)
{
    matrixCopy_.reference(keepMatrixCopy_ ? working_.copy() : DoubleGenMat());
    spansCopy_ = keepMatrixCopy_ ? spans_ : nullptr;
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
    const double limit = std::min(largestEntry(), 1.0) * 0.99;
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
    clampZeros();
}

double TsolveSystems::largestEntry() const
{
    return spans_ ? knotwork::largestEntry(*spans_) : maxValue(working_.dataVec());
}

void TsolveSystems::clampZeros()
{
    if (spans_)
        spans_ = std::make_shared<knotwork::SpanRows>(knotwork::clampedSpans(*spans_, tolerance_));
    else
        working_.dataVec().clampZero(tolerance_);
}

bool TsolveSystems::findAllZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols,
                                 double tol) const
{
    if (!spans_) return findZero(working_, fixedCols, usedRows, usedCols, tol);
    knotwork::findZeroSpans(*spans_, fixedCols, usedRows, usedCols, tol);
    return true;
}

bool TsolveSystems::findZero(const DoubleGenMat& A, const IntVec& fixedCols, IntVec& usedRows,
                             IntVec& usedCols, double tol)
{
    const Shape shape(A);
    if (shape.rows == 0 || shape.cols == 0) return false;
    std::vector<char> rowUsed(A.rows(), 0);
    std::vector<char> colUsed(A.cols(), 0);
    int cursor = 0;
    const int fixedCount = static_cast<int>(fixedCols.length());
    for (int j = 0; j < shape.cols; ++j) {
        const DoubleVec column = A.col(j);
        char any = 0;
        for (int i = 0; i < shape.rows; ++i) {
            const char nonZero = std::fabs(column(i)) <= tol ? 0 : 1;
            any |= nonZero;
            rowUsed[static_cast<std::size_t>(i)] |= nonZero;
        }
        const bool fixed = cursor < fixedCount && fixedCols(cursor) == j;
        if (fixed) ++cursor;
        colUsed[static_cast<std::size_t>(j)] = fixed ? 0 : any;
    }
    usedCols.reference(knotwork::positionsOf(colUsed));
    usedRows.reference(knotwork::positionsOf(rowUsed));
    return true;
}

void TsolveSystems::resetMatrix()
{
    const int rows = static_cast<int>(usedRowIndex_.length());
    const int cols = static_cast<int>(usedColIndex_.length());
    if (rows == static_cast<int>(workingRows()) && cols == static_cast<int>(workingCols())) return;
    if (spans_) {
        spans_ = std::make_shared<knotwork::SpanRows>(
            knotwork::cutSpans(*spans_, usedRowIndex_, usedColIndex_));
        return;
    }
    DoubleGenMat reduced(usedRowIndex_.length(), usedColIndex_.length());
    for (int j = 0; j < cols; ++j) {
        const double* from = working_.col(usedColIndex_(j)).data();
        double* to = reduced.col(j).data();
        for (int i = 0; i < rows; ++i) to[i] = from[usedRowIndex_(i)];
    }
    working_.reference(reduced);
}

void TsolveSystems::tryNormalise()
{
    normalised_ = true;
    if (spans_) {
        auto scaled = std::make_shared<knotwork::SpanRows>(*spans_);
        rhsMult_.reference(knotwork::normaliseSpans(*scaled));
        spans_ = std::move(scaled);
        return;
    }
    const Shape shape(working_);
    rhsMult_.reference(rowLengths(working_));
    double* factor = rhsMult_.data();
    for (int i = 0; i < shape.rows; ++i) factor[i] = knotwork::rowFactor(factor[i]);
    for (int j = 0; j < shape.cols; ++j) {
        double* column = working_.col(j).data();
        for (int i = 0; i < shape.rows; ++i)
            column[i] = factor[i] == 0.0 ? 0.0 : column[i] * factor[i];
    }
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
    const Shape shape(working_);
    const int k = maxEntriesPerRow_;
    if (!thins(working_.cols())) return;
    std::vector<char> keepsDiagonal(working_.rows(), 0);
    std::vector<double> magnitude(static_cast<std::size_t>(k));
    for (int i = 0; i < std::min(shape.rows, shape.cols); ++i) {
        const double diagonal = working_(i, i);
        for (int s = 0; s < k; ++s)
            magnitude[static_cast<std::size_t>(s)] = std::fabs(working_(i, s));
        for (int pass = k; pass < shape.cols; ++pass) {
            const auto smallest = std::min_element(magnitude.begin(), magnitude.end());
            if (!(diagonal > *smallest)) break;  // nor will any later pass find a smaller one
            *smallest = std::fabs(diagonal);
            const int slot = static_cast<int>(smallest - magnitude.begin());
            if (slot != i) working_(i, slot) = 0.0;
            keepsDiagonal[static_cast<std::size_t>(i)] = 1;
        }
    }
    for (int j = k; j < shape.cols; ++j) {
        const bool keeps = j < shape.rows && keepsDiagonal[static_cast<std::size_t>(j)] != 0;
        const double diagonal = keeps ? working_(j, j) : 0.0;
        working_.col(j) = 0.0;
        if (keeps) working_(j, j) = diagonal;
    }
}
