// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/WorkingMatrix.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "knotwork/linalg/detail/Array.h"
#include "knotwork/solvers/detail/SpanReader.h"
#include "knotwork/sparse/RowCompression.h"

namespace knotwork {

namespace {

SpanRows clampedRows(const SpanRows& rows, double tol)
{
    SpanRows clamped(rows.cols());
    clamped.reserve(rows.rows(), rows.entries());
    Array<double> kept(rows.cols());
    for (int i = 0; i < rows.rows(); ++i) {
        std::transform(rows.values(i), rows.values(i) + rows.count(i), kept.begin(),
                       [tol](double v) { return std::fabs(v) <= tol ? 0.0 : v; });
        clamped.appendTrimmed(rows.first(i), kept.data(), rows.count(i));
    }
    return clamped;
}

SpanRows cutRows(const SpanRows& rows, const IntVec& usedRows, const IntVec& usedCols)
{
    const int cols = static_cast<int>(usedCols.length());
    Array<int> before(rows.cols() + 1, 0);  // used columns left of
    for (int k = 0; k < cols; ++k) ++before[usedCols(k) + 1];
    for (int j = 0; j < rows.cols(); ++j) before[j + 1] += before[j];

    SpanRows cut(cols);
    cut.reserve(static_cast<int>(usedRows.length()), rows.entries());
    Array<double> kept(cols);
    for (int i = 0; i < static_cast<int>(usedRows.length()); ++i) {
        const int row = usedRows(i);
        const int first = before[rows.first(row)];
        const int end = before[rows.end(row)];
        for (int k = first; k < end; ++k)
            kept[k - first] = rows.values(row)[usedCols(k) - rows.first(row)];
        cut.appendTrimmed(first, kept.data(), end - first);
    }
    return cut;
}

DoubleGenMat cutMatrix(const DoubleGenMat& a, const IntVec& usedRows, const IntVec& usedCols)
{
    DoubleGenMat reduced(usedRows.length(), usedCols.length());
    for (int j = 0; j < static_cast<int>(usedCols.length()); ++j) {
        const double* from = a.col(usedCols(j)).data();
        double* to = reduced.col(j).data();
        for (int i = 0; i < static_cast<int>(usedRows.length()); ++i) to[i] = from[usedRows(i)];
    }
    return reduced;
}

/// The positions of those that are not 0.
IntVec positionsOf(const Array<char>& flags)
{
    IntVec positions(static_cast<unsigned>(std::count(flags.begin(), flags.end(), 1)));
    int next = 0;
    for (int i = 0; i < flags.size(); ++i)
        if (flags[i] != 0) positions(next++) = i;
    return positions;
}

}  // namespace

unsigned WorkingMatrix::rows() const
{
    return spans_ ? static_cast<unsigned>(spans_->rows()) : dense_.rows();
}

unsigned WorkingMatrix::cols() const
{
    return spans_ ? static_cast<unsigned>(spans_->cols()) : dense_.cols();
}

void WorkingMatrix::read(const DoubleGenMat& a, bool takesSpans)
{
    SpanRows rows;
    if (takesSpans && readSpans(a, rows))
        spans_ = std::make_shared<SpanRows>(std::move(rows));
    else
        dense_.reference(a.copy());
}

void WorkingMatrix::copyFrom(const WorkingMatrix& other)
{
    dense_.reference(other.dense_.copy());
    spans_ = other.spans_;
}

void WorkingMatrix::reference(const WorkingMatrix& other)
{
    DoubleGenMat shared(other.dense_);
    dense_.reference(shared);
    spans_ = other.spans_;
}

void WorkingMatrix::release()
{
    dense_.reference(DoubleGenMat());
    spans_.reset();
}

void WorkingMatrix::expand()
{
    dense_.reference(expanded());
    spans_.reset();
}

DoubleGenMat WorkingMatrix::expanded() const
{
    if (!spans_) return dense_;
    DoubleGenMat matrix(rows(), cols(), 0.0);
    forEachEntry([&](int i, int j, double v) { matrix(i, j) = v; });
    return matrix;
}

/// visit(row, column, value) for every entry, in each row from left to right; zeros outside of
/// spans are passed over.
template <class Visit>
void WorkingMatrix::forEachEntry(Visit visit) const
{
    if (spans_) {
        for (int i = 0; i < spans_->rows(); ++i)
            for (int k = 0; k < spans_->count(i); ++k)
                visit(i, spans_->first(i) + k, spans_->values(i)[k]);
        return;
    }
    const int rowCount = static_cast<int>(dense_.rows());
    for (int j = 0; j < static_cast<int>(dense_.cols()); ++j) {
        const DoubleVec column = dense_.col(j);
        for (int i = 0; i < rowCount; ++i) visit(i, j, column(i));
    }
}

DoubleVec WorkingMatrix::column(int j) const
{
    if (j < 0 || j >= static_cast<int>(cols())) return DoubleVec();
    if (!spans_) return DoubleGenMat(dense_).col(j);
    DoubleVec column(rows(), 0.0);
    for (int i = 0; i < spans_->rows(); ++i)
        if (spans_->first(i) <= j && j < spans_->end(i))
            column(i) = spans_->values(i)[j - spans_->first(i)];
    return column;
}

double WorkingMatrix::largestEntry() const
{
    if (!spans_) return maxValue(dense_.dataVec());
    double largest = 0.0;  // a matrix with spans has zeros beside them
    for (const double v : spans_->numbers()) largest = std::max(largest, v);
    return largest;
}

DoubleGenMat WorkingMatrix::condensed() const
{
    if (!spans_) return dense_;
    const RowCompression compression(*spans_);
    const BandTriangle& R = compression.triangle();
    DoubleGenMat matrix(cols(), cols(), 0.0);
    for (int j = 0; j < R.size(); ++j)
        for (int k = 0; k < R.count(j); ++k) matrix(j, j + k) = R.row(j)[k];
    return matrix;
}

bool WorkingMatrix::findZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols,
                              double tol) const
{
    if (rows() == 0 || cols() == 0) return false;
    const char outside = 0.0 <= tol ? 0 : 1;  // whether even a zero is beyond the tolerance
    Array<char> rowUsed(static_cast<int>(rows()), outside);
    Array<char> colUsed(static_cast<int>(cols()), outside);
    forEachEntry([&](int i, int j, double v) {
        const char nonZero = std::fabs(v) <= tol ? 0 : 1;
        rowUsed[i] |= nonZero;
        colUsed[j] |= nonZero;
    });
    const int fixedCount = static_cast<int>(fixedCols.length());
    for (int j = 0, cursor = 0; j < colUsed.size() && cursor < fixedCount; ++j) {
        if (fixedCols(cursor) != j) continue;
        colUsed[j] = 0;
        ++cursor;
    }
    usedCols.reference(positionsOf(colUsed));
    usedRows.reference(positionsOf(rowUsed));
    return true;
}

void WorkingMatrix::clamp(double tol)
{
    if (spans_)
        spans_ = std::make_shared<SpanRows>(clampedRows(*spans_, tol));
    else
        dense_.dataVec().clampZero(tol);
}

void WorkingMatrix::cut(const IntVec& usedRows, const IntVec& usedCols)
{
    if (usedRows.length() == rows() && usedCols.length() == cols()) return;
    if (spans_)
        spans_ = std::make_shared<SpanRows>(cutRows(*spans_, usedRows, usedCols));
    else
        dense_.reference(cutMatrix(dense_, usedRows, usedCols));
}

/// From the numbers themselves, whatever their squares would be.
double WorkingMatrix::rowLength(int i) const
{
    if (!spans_) return dense_.row(i).vecLen();
    DoubleVec entries(static_cast<unsigned>(spans_->count(i)));
    std::copy_n(spans_->values(i), spans_->count(i), entries.data());
    return entries.vecLen();
}

DoubleVec WorkingMatrix::normalise()
{
    DoubleVec factors(rows(), 0.0);
    double* factor = factors.data();
    forEachEntry([factor](int i, int, double v) { factor[i] += v * v; });
    for (int i = 0; i < static_cast<int>(rows()); ++i) {
        const double squares = factor[i];
        double length = std::sqrt(squares);
        // Squares that came near the ends of the range have lost digits: those rows are measured
        // anew. BLAS libraries differ in what they make of infinite numbers.
        if (!(squares > 1e-280 && squares < 1e280)) {
            const double anew = rowLength(i);
            if (!(std::isinf(squares) && std::isnan(anew))) length = anew;
        }
        factor[i] = !(length > 0.0) ? 0.0 : 1.0 / length;
        if (std::isinf(length)) factor[i] = std::numeric_limits<double>::quiet_NaN();
    }
    const auto scaled = [](double v, double by) { return by == 0.0 ? 0.0 : v * by; };
    if (spans_) {
        SpanRows rowsOfOne(*spans_);
        for (int i = 0; i < rowsOfOne.rows(); ++i)
            for (int k = 0; k < rowsOfOne.count(i); ++k)
                rowsOfOne.values(i)[k] = scaled(rowsOfOne.values(i)[k], factor[i]);
        spans_ = std::make_shared<SpanRows>(std::move(rowsOfOne));
    } else {
        for (int j = 0; j < static_cast<int>(cols()); ++j) {
            double* column = dense_.col(j).data();
            for (int i = 0; i < static_cast<int>(rows()); ++i)
                column[i] = scaled(column[i], factor[i]);
        }
    }
    return factors;
}

}  // namespace knotwork
