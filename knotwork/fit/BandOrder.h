// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/FitRows.h"

namespace knotwork {

/// Where the unknowns of a fit stand in its band. Those of an open basis stand in their order. A
/// periodic one is folded: unknowns from both sides of the seam in turn, 0, n - 1, 1, n - 2 and so
/// on, so that the rows that cross the seam, and those opposite, stay within 2 degree + 1 columns
/// and everything about bands serves closed fits too. Functions that are one unknown share a place.
class BandOrder {
  public:
    BandOrder() = default;  ///< as they come, however many there are
    explicit BandOrder(const BsplineBasis& basis);

    /// The same for control points of `dimension` numbers, each an unknown.
    BandOrder interleaved(int dimension) const;

    bool folded() const { return !places_.empty(); }
    int unknowns(int functions) const { return folded() ? unknowns_ : functions; }
    int functions(int unknowns) const
    {
        return folded() ? static_cast<int>(places_.size()) : unknowns;
    }
    int place(int function) const
    {
        return folded() ? places_[static_cast<std::size_t>(function)] : function;
    }

    /// A row's entries, one a function from `first` on, as they stand in the band, from the first
    /// place on; `row` is overwritten.
    struct Placed {
        int first;
        int count;
        const double* entries;
    };
    Placed placed(int first, const double* entries, int count, std::vector<double>& row) const;

    /// Adds the sums of repeated functions to those of the first ones.
    void fold(NumberBlock& sums) const;

  private:
    int unknowns_ = 0;
    std::vector<int> places_;  // of functions
};

}  // namespace knotwork
