// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TtupleMatrix.h"

#include <cstddef>
#include <cstdint>

#include "knotwork/geometry/detail/TupleNumbers.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntVec.h"

namespace {

/// Whether all indices lie inside the vector; raises 0x3005 for the first that does not.
bool checkIndices(const DoubleVec& v, const IntVec& indices)
{
    for (int k = 0, n = static_cast<int>(indices.length()); k < n; ++k) {
        v.boundsCheck(indices(k));
        if (indices(k) < 0 || static_cast<unsigned>(indices(k)) >= v.length()) return false;
    }
    return true;
}

}  // namespace

TtupleMatrix::TtupleMatrix(int d, int rows, int cols, const DoubleVec& v)
    : numbers_(v),
      size_(d >= 1 && rows >= 0 && cols >= 0 ? d : 1),
      rows_(knotwork::extentOf(rows)),
      cols_(knotwork::extentOf(cols))
{
}

TtupleMatrix::TtupleMatrix(int d, int rows, int cols, double fill)
    : TtupleMatrix(d, rows, cols, DoubleVec(knotwork::numberCount({d, rows, cols}), fill))
{
    if (numbers_.length() > 0 || d == 0) return;
    if (rows_ > 0 && cols_ > 0) rows_ = cols_ = 0;  // the numbers could not be had
}

TtupleMatrix& TtupleMatrix::operator=(const TtupleMatrix& other)
{
    if (size_ == other.size_ && rows_ == other.rows_ && cols_ == other.cols_ &&
        numbers_.length() == other.numbers_.length())
        numbers_ = other.numbers_;
    return *this;
}

TtupleMatrix& TtupleMatrix::reference(const TtupleMatrix& other)
{
    numbers_.reference(other.numbers_);
    size_ = other.size_;
    rows_ = other.rows_;
    cols_ = other.cols_;
    return *this;
}

TtupleMatrix TtupleMatrix::copy() const
{
    return TtupleMatrix(size_, rows_, cols_, numbers_.copy());
}

DoubleVec TtupleMatrix::row(int i) const
{
    if (!correctRow(i) || !complete()) return DoubleVec();
    TtupleVector result(size_, cols_, 0.0);
    for (int j = 0; j < result.points(); ++j) result.point(j) = view(i, j);
    return result.data();
}

TtupleMatrix TtupleMatrix::cols(const IntVec& js) const
{
    const int count = static_cast<int>(js.length());
    if (!complete()) return TtupleMatrix();
    for (int n = 0; n < count; ++n)
        if (!correctCol(js(n))) return TtupleMatrix();
    TtupleMatrix result(size_, rows_, count, 0.0);
    for (int n = 0; n < result.cols_; ++n) result.column(n) = columnView(js(n));
    return result;
}

TtupleMatrix TtupleMatrix::rows(const IntVec& is) const
{
    if (!complete()) return TtupleMatrix();
    TtupleMatrix result(size_, static_cast<int>(is.length()), cols_, 0.0);
    for (int j = 0; j < result.cols_; ++j) {
        const DoubleVec numbers = column(j);
        if (!checkIndices(numbers, is)) return TtupleMatrix();
        result.column(j) = numbers.vecPick(is);
    }
    return result;
}

DoubleGenMat TtupleMatrix::component(int k)
{
    if (!correctTuple(k) || !complete()) return DoubleGenMat();
    const auto rows = static_cast<unsigned>(rows_);
    const auto cols = static_cast<unsigned>(cols_);
    return DoubleGenMat(numbers_.slice(k, rows * cols, size_), rows, cols);
}

void TtupleMatrix::setComponent(int k, const DoubleGenMat& m)
{
    DoubleGenMat target = component(k);
    for (int j = 0, n = static_cast<int>(target.cols()); j < n; ++j) target.col(j) = m.bccol(j);
}

DoubleGenMat TtupleMatrix::vecLen() const
{
    if (!complete()) return DoubleGenMat();
    DoubleGenMat lengths(static_cast<unsigned>(rows_), static_cast<unsigned>(cols_));
    for (int j = 0; j < cols_; ++j)
        for (int i = 0; i < rows_; ++i) lengths(i, j) = view(i, j).vecLen();
    return lengths;
}

void TtupleMatrix::applyTransformation(TxformMatrix& xf)
{
    if (size_ < 3 || !complete()) return;
    for (int i = 0; i < rows_; ++i)
        for (int j = 0; j < cols_; ++j) knotwork::transformPoint(view(i, j), xf);
}

bool TtupleMatrix::complete() const
{
    const std::int64_t needed = std::int64_t{rows_} * cols_;
    return numbers_.length() / static_cast<unsigned>(size_) >= needed;
}

DoubleVec TtupleMatrix::view(int i, int j) const
{
    const std::ptrdiff_t point = std::ptrdiff_t{rows_} * j + i;
    return knotwork::viewOf(numbers_, point * size_, static_cast<unsigned>(size_), 1);
}

DoubleVec TtupleMatrix::columnView(int j) const
{
    if (!correctCol(j) || !complete()) return DoubleVec();
    const std::ptrdiff_t length = std::ptrdiff_t{rows_} * size_;
    return knotwork::viewOf(numbers_, length * j, static_cast<unsigned>(length), 1);
}
