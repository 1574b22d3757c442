// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleGenMat.h"

class TxformMatrix;

/// A grid of rows x cols points of a common dimension d in one vector, column after column:
/// point (i, j) is numbers (rows*j + i)*d to (rows*j + i)*d + d - 1.
/// Sharing   as TtupleVector: copies, data(), component() and what mutable accessors return are
///           views; const accessors give numbers of their own. row() and rowVector() are copies
///           always. operator= copies elements and does nothing, says nothing, for another shape.
/// Errors    none of its own but those of rows(is): bad indices give empty results; point() and
///           operator() look at no index. 0x3008 for more numbers than a vector can hold; the
///           grid is then empty, should a host's handler return.
class KNOTWORK_EXPORT TtupleMatrix {
  public:
    TtupleMatrix() : size_(1), rows_(0), cols_(0) {}
    TtupleMatrix(const TtupleMatrix&) = default;  ///< shares
    /// Shares v, whose length is not checked; with fewer than d*rows*cols numbers every index is a
    /// bad one. The tuple size is d where d >= 1, rows >= 0 and cols >= 0, otherwise 1; the shape
    /// takes absolute values.
    TtupleMatrix(int d, int rows, int cols, const DoubleVec& v);
    TtupleMatrix(int d, int rows, int cols, double fill);  ///< |d| |rows| |cols| numbers, likewise

    TtupleMatrix& operator=(const TtupleMatrix& other);
    TtupleMatrix& reference(const TtupleMatrix& other);  ///< takes tuple size and shape too
    TtupleMatrix copy() const;
    void deepenShallowCopy() { numbers_.deepenShallowCopy(); }

    int size() const { return size_; }  ///< coordinates in a point, d
    int rows() const { return rows_; }
    int cols() const { return cols_; }
    DoubleVec data() { return numbers_; }  ///< shares
    /// To read from; counts no sharer, so several threads may.
    const DoubleVec& numbers() const { return numbers_; }

    DoubleVec point(int i, int j) { return realPoint(i, j); }
    DoubleVec point(int i, int j) const { return realPoint(i, j); }
    DoubleVec operator()(int i, int j)
    {
        boundsCheck(i, j);
        return realPoint(i, j);
    }

    DoubleVec column(int j) { return columnView(j); }  ///< rows*d numbers; empty for a bad j
    DoubleVec column(int j) const { return columnView(j).copy(); }
    TtupleVector columnVector(int j) { return TtupleVector(size_, column(j)); }
    TtupleVector columnVector(int j) const { return TtupleVector(size_, column(j)); }
    DoubleVec row(int i) const;  ///< a copy: cols*d numbers, point after point; empty for a bad i
    TtupleVector rowVector(int i) const { return TtupleVector(size_, row(i)); }

    TtupleMatrix cols(const IntVec& js) const;  ///< copies, repeats allowed; a bad index: empty
    /// Column by column the numbers (not the points) that `is` names. Intended: with d > 1 they do
    /// not fill a column of the result and the assignment faults, 0x300F; whole rows of points come
    /// from rowVector(). 0x3005 for an index outside the column.
    TtupleMatrix rows(const IntVec& is) const;

    DoubleGenMat component(int k);  ///< a view with stride d; empty for a bad k
    /// Coordinate k of every point becomes the entry of m. Nothing happens for a bad k; 0x300F for
    /// other rows, 0x4007 for too few columns, and columns beyond the last are not read.
    void setComponent(int k, const DoubleGenMat& m);
    DoubleGenMat vecLen() const;  ///< the Euclidean length of each point
    /// As TtupleVector::applyTransformation, row by row.
    void applyTransformation(TxformMatrix& xf);

  protected:
    DoubleVec realPoint(int i, int j) { return view(i, j); }
    DoubleVec realPoint(int i, int j) const { return view(i, j).copy(); }
    bool correctRow(int i) const { return 0 <= i && i < rows_; }
    bool correctCol(int j) const { return 0 <= j && j < cols_; }
    bool correctTuple(int k) const { return 0 <= k && k < size_; }
    void boundsCheck(int, int) const {}  // intended: operator() is as unchecked as point()

  private:
    bool complete() const;  // whether there are numbers for all points
    DoubleVec view(int i, int j) const;
    DoubleVec columnView(int j) const;

    DoubleVec numbers_;
    int size_;
    int rows_;
    int cols_;
};
