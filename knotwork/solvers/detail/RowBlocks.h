// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "knotwork/factor/PanelKernels.h"
#include "knotwork/linalg/DoubleGenMat.h"

namespace knotwork {

/// Which blocks of 32 rows of each column of a matrix may hold anything but zeros. Rows of a
/// B-spline system have a handful of entries among hundreds of columns; work that stays inside the
/// marked blocks never multiplies the zeros between them. A dense matrix costs one mark a block.
class RowBlocks {
  public:
    RowBlocks() = default;
    explicit RowBlocks(const DoubleGenMat& a);  ///< a must be contiguous

    /// One column of marks beyond the matrix's own, for unions and cuts.
    int scratch() const { return columns_; }

    bool meet(int j, int k) const;  ///< whether two columns have a marked block in common
    void clear(int j);
    void merge(int into, int from);  ///< the first column gets the second one's marks too
    void mergeRows(int into, int from, int begin, int end);  ///< those of rows [begin, end) only
    void exchange(int j, int k);
    void mark(int j, int row);  ///< marks the block of one row

    /// The marked rows of column j within [begin, end), appended as runs.
    void appendRanges(int j, int begin, int end, RowRanges& ranges) const;

  private:
    using Word = std::uint64_t;
    Word* wordsOf(int j) { return &words_[static_cast<std::size_t>(j) * wordsPerColumn_]; }
    const Word* wordsOf(int j) const
    {
        return &words_[static_cast<std::size_t>(j) * wordsPerColumn_];
    }

    int columns_ = 0;
    std::size_t wordsPerColumn_ = 0;
    std::vector<Word> words_;
};

}  // namespace knotwork
