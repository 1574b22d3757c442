// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/RowBlocks.h"

#include "knotwork/linalg/DoubleGenMat.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;

/// Every non-zero lies in a range, ranges ascend without touching, and stay inside [begin, end).
void expectCovers(const DoubleGenMat& a, const RowBlocks& blocks, int j, int begin, int end)
{
    RowRanges ranges;
    blocks.appendRanges(j, begin, end, ranges);
    std::ptrdiff_t at = begin;
    const auto expectZeros = [&](std::ptrdiff_t to) {
        for (; at < to; ++at) EXPECT_EQ(a(static_cast<int>(at), j), 0.0) << at << ", " << j;
    };
    for (std::size_t k = 0; k < ranges.size(); ++k) {
        EXPECT_LT(ranges[k].begin, ranges[k].end);
        EXPECT_LE(ranges[k].end, end);
        EXPECT_GE(ranges[k].begin, k == 0 ? begin : ranges[k - 1].end + 1);
        expectZeros(ranges[k].begin);
        at = ranges[k].end;
    }
    expectZeros(end);
}

}  // namespace

TEST(RowBlocksTest, RangesCoverEveryEntryOfAnyCut)
{
    knotwork_measures::Dice dice(7);
    for (const int rows : {1, 31, 32, 33, 64, 2047, 2048, 2049, 5000}) {
        DoubleGenMat a(static_cast<unsigned>(rows), 3, 0.0);
        for (int n = 0; n < 6; ++n)
            a(static_cast<int>(dice.below(static_cast<unsigned>(rows))), 1) = 1.0;
        a.col(2) = 1.0;
        const RowBlocks blocks(a);
        for (int n = 0; n < 50; ++n) {
            const int begin = static_cast<int>(dice.below(static_cast<unsigned>(rows + 1)));
            const int end =
                begin + static_cast<int>(dice.below(static_cast<unsigned>(rows - begin + 1)));
            for (int j = 0; j < 3; ++j) expectCovers(a, blocks, j, begin, end);
        }
    }
}

TEST(RowBlocksTest, CutMarksHoldTheBlocksOfTheirRowsAndNoOthers)
{
    DoubleGenMat a(6000, 2, 1.0);
    for (const auto& [begin, end] :
         {std::pair{0, 6000}, std::pair{2048, 4096}, std::pair{33, 34}, std::pair{2047, 2049},
          std::pair{5999, 6000}, std::pair{7, 7}}) {
        RowBlocks blocks(a);
        blocks.clear(blocks.scratch());
        blocks.mergeRows(blocks.scratch(), 0, begin, end);
        RowRanges ranges;
        blocks.appendRanges(blocks.scratch(), begin, end, ranges);
        if (begin == end) {
            EXPECT_TRUE(ranges.empty());
            EXPECT_FALSE(blocks.meet(1, blocks.scratch()));
            continue;
        }
        ASSERT_EQ(ranges.size(), 1u);
        EXPECT_EQ(ranges[0].begin, begin);
        EXPECT_EQ(ranges[0].end, end);
        RowRanges outside;
        blocks.appendRanges(blocks.scratch(), 0, begin / 32 * 32, outside);
        blocks.appendRanges(blocks.scratch(), (end + 31) / 32 * 32, 6000, outside);
        EXPECT_TRUE(outside.empty());
    }
}
