// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>

#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/geometry/TtupleVector.h"

namespace knotwork {

/// Some coordinates of right-hand sides, read row by row into lanes: kFewLanes of them, or
/// kManyLanes where there are more than those. Lanes beyond the width are left alone.
class LaneReader {
  public:
    /// Of the coordinates from `first` on as many as there are and go into the lanes, `most` at
    /// most. factors: one a row, or none.
    LaneReader(const TtupleVector& rhs, const DoubleVec& factors, int first, int most = kManyLanes)
        : width_(std::min(rhs.size() - first, most)),
          step_(rhs.numbers().stride()),
          rowStep_(step_ * rhs.size()),
          numbers_(rhs.numbers().data() + step_ * first),
          factorStep_(factors.stride()),
          factors_(factors.length() > 0 ? factors.data() : nullptr)
    {
    }

    int width() const { return width_; }
    int lanes() const { return width_ > kFewLanes ? kManyLanes : kFewLanes; }

    template <int Lanes>
    void read(int row, double* to) const
    {
        const double factor = factors_ == nullptr ? 1.0 : factors_[factorStep_ * row];
        const double* from = numbers_ + rowStep_ * row;
        if (width_ == Lanes && step_ == 1)
            for (int c = 0; c < Lanes; ++c) to[c] = factor * from[c];  // in vectors
        else
            for (int c = 0; c < width_; ++c) to[c] = factor * from[step_ * c];
    }

  private:
    int width_;
    std::ptrdiff_t step_;
    std::ptrdiff_t rowStep_;
    const double* numbers_;
    std::ptrdiff_t factorStep_;
    const double* factors_;
};

}  // namespace knotwork
