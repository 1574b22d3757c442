// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/RowBlocks.h"

#include <algorithm>

namespace knotwork {

namespace {

constexpr int kBlockRows = 32;
constexpr int kWordBits = 64;

}  // namespace

RowBlocks::RowBlocks(const DoubleGenMat& a)
    : columns_(static_cast<int>(a.cols())),
      wordsPerColumn_((std::size_t{a.rows()} + kBlockRows * kWordBits - 1) /
                      (kBlockRows * kWordBits)),
      words_(wordsPerColumn_ * (std::size_t{a.cols()} + 1))
{
    const int rows = static_cast<int>(a.rows());
    const double* column = a.data();
    for (int j = 0; j < columns_; ++j, column += rows)
        for (int first = 0; first < rows; first += kBlockRows) {
            const double* end = column + std::min(first + kBlockRows, rows);
            if (std::any_of(column + first, end, [](double x) { return x != 0.0; })) mark(j, first);
        }
}

bool RowBlocks::meet(int j, int k) const
{
    const Word* a = wordsOf(j);
    const Word* b = wordsOf(k);
    for (std::size_t w = 0; w < wordsPerColumn_; ++w)
        if ((a[w] & b[w]) != 0) return true;
    return false;
}

void RowBlocks::merge(int into, int from)
{
    Word* a = wordsOf(into);
    const Word* b = wordsOf(from);
    for (std::size_t w = 0; w < wordsPerColumn_; ++w) a[w] |= b[w];
}

void RowBlocks::clear(int j)
{
    std::fill_n(wordsOf(j), wordsPerColumn_, Word{0});
}

void RowBlocks::mergeRows(int into, int from, int begin, int end)
{
    if (begin >= end) return;
    Word* a = wordsOf(into);
    const Word* b = wordsOf(from);
    const int firstBlock = begin / kBlockRows;
    const int lastBlock = (end - 1) / kBlockRows;
    for (int w = firstBlock / kWordBits; w <= lastBlock / kWordBits; ++w) {
        Word inside = ~Word{0};
        if (w == firstBlock / kWordBits) inside &= ~Word{0} << firstBlock % kWordBits;
        if (w == lastBlock / kWordBits)
            inside &= ~Word{0} >> (kWordBits - 1 - lastBlock % kWordBits);
        a[w] |= b[w] & inside;
    }
}

void RowBlocks::exchange(int j, int k)
{
    std::swap_ranges(wordsOf(j), wordsOf(j) + wordsPerColumn_, wordsOf(k));
}

void RowBlocks::mark(int j, int row)
{
    const int block = row / kBlockRows;
    wordsOf(j)[block / kWordBits] |= Word{1} << block % kWordBits;
}

void RowBlocks::appendRanges(int j, int begin, int end, RowRanges& ranges) const
{
    if (begin >= end) return;
    const Word* words = wordsOf(j);
    const std::size_t first = ranges.size();
    for (int block = begin / kBlockRows, last = (end - 1) / kBlockRows; block <= last; ++block) {
        const Word word = words[block / kWordBits] >> block % kWordBits;
        if (word == 0) {  // nothing up to the end of this word
            block |= kWordBits - 1;
            continue;
        }
        if ((word & 1) == 0) continue;
        const std::ptrdiff_t from = std::max(block * kBlockRows, begin);
        const std::ptrdiff_t to = std::min((block + 1) * kBlockRows, end);
        if (ranges.size() > first && ranges.back().end == from)
            ranges.back().end = to;
        else
            ranges.push_back({from, to});
    }
}

}  // namespace knotwork
