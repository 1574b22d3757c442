// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "knotwork/solvers/detail/TwoPhase.h"

namespace knotwork {

template <class Block>
TwoPhaseSolve<Block>::TwoPhaseSolve(const TwoPhaseLayout& layout, const TwoPhaseArrays& arrays,
                                    double negligible, int width)
    : at_(layout),
      arrays_(arrays),
      negligible_(negligible),
      rhs_(layout.rows, width),
      x_(layout.cols, width),
      row_(static_cast<std::size_t>(layout.cols))
{
}

template <class Block>
void TwoPhaseSolve<Block>::run()
{
    x_.clear();
    if (at_.firstConstraint > 0) reflectRhs();
    backSubstitute();
    if (at_.firstConstraint < at_.rows) restoreUnknowns();
}

template <class Block>
void TwoPhaseSolve<Block>::reflectRhs()
{
    for (int k = 0; k < at_.freeCols; ++k) {
        const int r = at_.firstPivot + k;
        ranges_.clear();
        arrays_.blocks->appendRanges(k, 0, at_.firstPivot, ranges_);
        arrays_.blocks->appendRanges(k, r, at_.firstConstraint, ranges_);
        rhs_.reflect(ranges_, column(k), arrays_.beta[at_.position(r)], negligible_);
    }
}

/// Column by column from the last, so the constraint unknowns come first. An entry on a negligible
/// diagonal is not divided, which is intended. With fewer rows than columns the unknowns without a
/// pivot stay 0.
template <class Block>
void TwoPhaseSolve<Block>::backSubstitute()
{
    double values[kInterleaved] = {};
    for (int i = at_.rows - 1; i >= at_.firstPivot; --i) {
        const int j = at_.pivotColumn(i);
        const double diagonal = arrays_.diagonal[at_.position(i)];
        const bool divide = std::fabs(diagonal) > negligible_;
        for (int c = 0; c < rhs_.width(); ++c) {
            values[c] = divide ? rhs_.at(i, c) / diagonal : rhs_.at(i, c);
            x_.at(j, c) = values[c];
        }
        ranges_.clear();
        arrays_.blocks->appendRanges(j, at_.firstPivot, i, ranges_);
        rhs_.subtract(ranges_, column(j), values);
    }
}

/// Turns the unknowns that phase 1 changed back into the caller's: its reflections, the last first.
template <class Block>
void TwoPhaseSolve<Block>::restoreUnknowns()
{
    for (int i = at_.firstConstraint; i < at_.rows; ++i) {
        const int last = at_.pivotColumn(i);
        for (int j = 0; j <= last; ++j) row_[static_cast<std::size_t>(j)] = column(j)[i];
        x_.reflect(RowRange{0, last + 1}, row_.data(), arrays_.beta[at_.position(i)], negligible_);
    }
}

template class TwoPhaseSolve<ColumnBlock>;
template class TwoPhaseSolve<InterleavedBlock>;

}  // namespace knotwork
