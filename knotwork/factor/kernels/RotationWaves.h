// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/kernels/PanelLoops.h"
#include "knotwork/factor/kernels/Rotation.h"

namespace knotwork {

/// Rotations of neighbouring columns that run through a matrix from the left to the right, wave
/// after wave. They are kept until there is no more room and then applied together, some rows at a
/// time, which stay in the cache for all of them.
/// Source    Van Zee, van de Geijn, Quintana-Orti: Restructuring the tridiagonal and bidiagonal QR
///           algorithms for performance, ACM TOMS 40 (2014).
class RotationWaves {
  public:
    /// room: rows for the longest wave, and two columns for each wave that is to be kept, at least
    /// two. A matrix without columns is none.
    RotationWaves(const Panel& matrix, const Panel& room);

    void begin(int column);  ///< the next wave, whose first rotation is of this column and the next
    void add(const Rotation& rotation)
    {
        *room_.at(length_, 2 * wave_) = rotation.c;
        *room_.at(length_, 2 * wave_ + 1) = rotation.s;
        ++length_;
    }
    void apply();  ///< all that is kept

  private:
    static constexpr int kMostWaves = 32;

    void end();

    Panel matrix_;
    Panel room_;
    int most_;
    int wave_ = 0;    // the one that is being added to
    int length_ = 0;  // its rotations
    int firsts_[kMostWaves];
    int lengths_[kMostWaves];
};

}  // namespace knotwork
