// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "knotwork/fit/BandFit.h"
#include "knotwork/linalg/IntGenMat.h"

namespace knotwork {

/// A fit along u for each column of control points, around those that are held in it, where the
/// mask is 1; neighbours with the same ones share it.
class ColumnFits {
  public:
    ColumnFits(const BandTriangle& data, const IntGenMat& mask);

    int held() const { return held_; }
    const BandFit& of(int j) const { return *fits_[static_cast<std::size_t>(j)]; }
    bool solvable() const;
    double amplification(double weights) const;  ///< the largest one

  private:
    std::vector<std::shared_ptr<const BandFit>> fits_;
    int held_ = 0;
};

}  // namespace knotwork
