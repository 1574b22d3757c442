// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/BandTriangle.h"
#include "knotwork/factor/SpanRows.h"

namespace knotwork {

/// The entries of (S^T S)^-1 within the band of an upper triangle S, without those beyond it.
/// Method    from the last row up each row of the inverse follows from those below it in the band:
///           O(n w^2) for n rows of w entries.
/// Accuracy  some eps times the condition of S, of the largest entry; infinite or NaN where a
///           diagonal entry is 0.
/// Source    Takahashi, Fagan, Chin: Formation of a sparse bus impedance matrix and its application
///           to short circuit study, Proc. 8th PICA Conference (1973); for splines Hutchinson, de
///           Hoog: Smoothing noisy data with spline functions, Numer. Math. 47 (1985).
class InverseBand {
  public:
    explicit InverseBand(const BandTriangle& S);

    int size() const { return static_cast<int>(starts_.size()) - 1; }
    int end(int i) const { return i + static_cast<int>(start(i + 1) - start(i)); }
    /// i <= j < end(i)
    double entry(int i, int j) const { return values_[static_cast<std::size_t>(start(i) + j - i)]; }

    double trace() const;
    /// The sum of f^T (S^T S)^-1 f over rows f from `first` to before `end`, which have to be among
    /// those that S was made from: how much of the fit is theirs.
    double trace(const SpanRows& rows, int first, int end) const;

  private:
    std::ptrdiff_t start(int i) const { return starts_[static_cast<std::size_t>(i)]; }

    std::vector<std::ptrdiff_t> starts_ = {0};
    std::vector<double> values_;
};

}  // namespace knotwork
