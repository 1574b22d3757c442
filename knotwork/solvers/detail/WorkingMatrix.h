// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork {

class SpanRows;

/// The matrix of a system as a solver prepares it: dense, or sparse as rows of spans, which are
/// never changed in place, so that copies may share them. Both forms do the same.
class WorkingMatrix {
  public:
    WorkingMatrix() = default;
    explicit WorkingMatrix(const DoubleGenMat& a) : dense_(a) {}  ///< shares it

    DoubleGenMat& dense() { return dense_; }  ///< empty while there are spans
    const DoubleGenMat& dense() const { return dense_; }
    const SpanRows* spans() const { return spans_.get(); }  ///< null where the matrix is dense
    unsigned rows() const;
    unsigned cols() const;

    /// A copy of a, as spans where these are taken and few of its entries are not zero.
    void read(const DoubleGenMat& a, bool takesSpans);
    void copyFrom(const WorkingMatrix& other);
    void reference(const WorkingMatrix& other);
    void deepenShallowCopy() { dense_.deepenShallowCopy(); }
    void release();
    void expand();                  ///< from spans to dense
    DoubleGenMat expanded() const;  ///< shares what is dense

    DoubleVec column(int j) const;   ///< empty for a bad j
    double largestEntry() const;     ///< the signed one
    DoubleGenMat condensed() const;  ///< has the same singular values, but for rounding
    /// See TsolveSystems::findZero.
    bool findZeros(const IntVec& fixedCols, IntVec& usedRows, IntVec& usedCols, double tol) const;
    void clamp(double tol);  ///< magnitudes up to tol become 0
    void cut(const IntVec& usedRows, const IntVec& usedCols);
    /// Rows to length 1; the result has their factors, 0 for a row of zeros and a NaN for an
    /// infinite one, which has no direction and makes the system dependent.
    DoubleVec normalise();

  private:
    template <class Visit>
    void forEachEntry(Visit visit) const;
    double rowLength(int i) const;

    DoubleGenMat dense_;
    std::shared_ptr<const SpanRows> spans_;
};

}  // namespace knotwork
