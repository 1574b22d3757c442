// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "knotwork/factor/BandTriangle.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleGenMat.h"

namespace knotwork {

/// A system of scaled rows as a solver gets it: the data rows compressed to as many as there are
/// unknowns, the constraint rows behind them as they are. Least squares and constraints remain what
/// they were; what the data's residuals have beyond the compressed rows no unknown can change.
/// Method    a stretch of data rows at a time is compressed together with the triangle so far, so
///           that time grows with the number of rows and memory does not.
class CompressedRows {
  public:
    /// progress(n): n more data rows are through; may be null. The rows have to live on.
    CompressedRows(const ScaledRows& rows, std::function<void(int)> progress);

    /// The right-hand sides that go with matrix(), from one point a row of the system. Every call
    /// goes through the rows once more.
    TtupleVector compress(const TtupleVector& rhs);
    DoubleGenMat matrix() const;  ///< behind the first compress()

  private:
    const ScaledRows& rows_;
    std::function<void(int)> progress_;
    BandTriangle triangle_;
};

}  // namespace knotwork
