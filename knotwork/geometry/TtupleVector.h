// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/linalg/DoubleVec.h"

class TxformMatrix;

/// Points of a common dimension d, point after point in one vector: point i is numbers i*d to
/// i*d + d - 1. A coordinate is stored as it is; a fourth one is a homogeneous weight to
/// applyTransformation() and never divided by.
/// Sharing   copies, data(), lPoints() and what mutable accessors return are views and write
///           through; const accessors, components(), rPoints() and copy() give numbers of their
///           own. data() and component() have no const form: share a constant vector first,
///           TtupleVector(points).component(0). operator= copies elements and does nothing, says
///           nothing, when the tuple sizes or the lengths differ; reference() re-points.
/// Counts    points() is length / d, a remainder left out. A vector handed over is not measured.
/// Errors    none of its own: bad indices give empty results or false; point(), operator() and
///           operator[] look at no index. 0x3008 for more numbers than a vector can hold; the
///           points are then none, should a host's handler return.
class KNOTWORK_EXPORT TtupleVector {
  public:
    TtupleVector() : size_(1) {}
    TtupleVector(const TtupleVector&) = default;  ///< shares
    TtupleVector(int d, const DoubleVec& v);      ///< shares v; d is at least 1
    /// |d| |n| numbers; the tuple size is d where d >= 1 and n >= 0, otherwise 1. So too below.
    TtupleVector(int d, int n, double fill);
    TtupleVector(int d, int n, const double* data);  ///< data lies point after point
    /// |d| |n| numbers, of which number i (not i*d + k) becomes the last coordinate of rows[i]; the
    /// others stay uninitialised and d is kept even below 1, when points() is 0. Intended: a proper
    /// layout comes from the flat array.
    TtupleVector(int d, int n, const double* const* rows);

    TtupleVector& operator=(const TtupleVector& other);
    TtupleVector& reference(const TtupleVector& other);  ///< takes the tuple size too
    TtupleVector copy() const;
    void deepenShallowCopy() { numbers_.deepenShallowCopy(); }
    void resize(int n);  ///< to n points; points that stay keep their numbers, new ones are 0

    int size() const { return size_; }  ///< coordinates in a point, d
    int points() const { return size_ < 1 ? 0 : static_cast<int>(numbers_.length() / tuple()); }
    DoubleVec data() { return numbers_; }  ///< shares
    /// To read from; counts no sharer, so several threads may.
    const DoubleVec& numbers() const { return numbers_; }

    DoubleVec point(int i) { return realPoint(i); }
    DoubleVec point(int i) const { return realPoint(i); }
    DoubleVec operator()(int i) { return realPoint(i); }
    DoubleVec operator[](int i)
    {
        boundsCheck(i);
        return realPoint(i);
    }

    DoubleVec component(int k);  ///< a view of coordinate k of all points; empty for a bad k
    TtupleVector components(const IntVec& ks) const;  ///< a bad k: no points, tuple size 1
    TtupleVector components(int first, int count) const;
    TtupleVector lPoints(int first, int count);        ///< a view; a bad range: no points
    TtupleVector rPoints(int first, int count) const;  ///< a bad range: no points, the same size
    TtupleVector rPoints(const IntVec& is) const;      ///< a bad index: no points, tuple size 1

    /// Point is(j) becomes point j of src, in order of j. Tuples of src may be shorter: further
    /// coordinates stay. False at the first index that either side lacks; what was written stays.
    bool setPoints(const IntVec& is, const TtupleVector& src);
    /// Points from first on become the first `count` points of src, on the same terms.
    bool setPoints(int first, int count, const TtupleVector& src);

    DoubleVec vecLen() const;  ///< the Euclidean length of each point
    /// Row vector (x, y, z, w) times matrix for every point, w being 1 for tuples of three and
    /// then dropped. Tuples shorter than three stay as they are.
    void applyTransformation(TxformMatrix& xf);

  protected:
    DoubleVec realPoint(int i) { return view(i); }
    DoubleVec realPoint(int i) const { return view(i).copy(); }
    bool correctIndex(int i) const { return 0 <= i && i < points(); }
    bool correctTuple(int k) const { return 0 <= k && k < size_; }
    void boundsCheck(int) const {}  // intended: operator[] is as unchecked as operator()

  private:
    unsigned tuple() const { return size_ < 1 ? 0U : static_cast<unsigned>(size_); }
    bool correctRange(int first, int count) const;
    DoubleVec view(int i) const;
    DoubleVec view(int first, int count) const;
    TtupleVector like(const DoubleVec& numbers) const;  // same tuple size; shares

    DoubleVec numbers_;
    int size_;
};
