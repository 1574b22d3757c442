// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "knotwork/solvers/detail/TwoPhase.h"

namespace knotwork {

TwoPhaseSolve::TwoPhaseSolve(const TwoPhaseLayout& layout, const TwoPhaseArrays& arrays,
                             double negligible)
    : at_(layout),
      arrays_(arrays),
      negligible_(negligible),
      rhs_(static_cast<std::size_t>(layout.rows)),
      unknowns_(static_cast<std::size_t>(layout.cols))
{
}

void TwoPhaseSolve::run(double* rhs, double* x)
{
    for (int i = 0; i < at_.rows; ++i) rhs_[static_cast<std::size_t>(i)] = rhs[arrays_.rowOrder[i]];
    std::fill(unknowns_.begin(), unknowns_.end(), 0.0);
    if (at_.firstConstraint > 0) reflectRhs();
    backSubstitute();
    if (at_.firstConstraint < at_.rows) restoreUnknowns();
    for (int j = 0; j < at_.cols; ++j)
        x[arrays_.colOrder[j]] = unknowns_[static_cast<std::size_t>(j)];
}

void TwoPhaseSolve::reflectRhs()
{
    double* rhs = rhs_.data();
    for (int k = 0; k < at_.freeCols; ++k) {
        const int r = at_.firstPivot + k;
        ranges_.clear();
        arrays_.blocks->appendRanges(k, 0, at_.firstPivot, ranges_);
        arrays_.blocks->appendRanges(k, r, at_.firstConstraint, ranges_);
        double product = 0.0;
        panelDot(ranges_, column(k), &rhs, 1, &product);
        if (std::fabs(product) <= negligible_) continue;
        product *= arrays_.beta[at_.position(r)];
        panelUpdate(ranges_, column(k), &rhs, 1, &product);
    }
}

/// Column by column from the last, so the constraint unknowns come first. An entry on a negligible
/// diagonal is not divided, which is intended. With fewer rows than columns the unknowns without a
/// pivot stay 0.
void TwoPhaseSolve::backSubstitute()
{
    for (int i = at_.rows - 1; i >= at_.firstPivot; --i) {
        const int c = at_.pivotColumn(i);
        const double diagonal = arrays_.diagonal[at_.position(i)];
        double value = rhs_[static_cast<std::size_t>(i)];
        if (std::fabs(diagonal) > negligible_) value /= diagonal;
        unknowns_[static_cast<std::size_t>(c)] = value;
        if (value == 0.0) continue;
        ranges_.clear();
        arrays_.blocks->appendRanges(c, at_.firstPivot, i, ranges_);
        const double factor = -value;
        double* rhs = rhs_.data();
        panelUpdate(ranges_, column(c), &rhs, 1, &factor);
    }
}

/// Turns the unknowns that phase 1 changed back into the caller's: its reflections, the last first.
void TwoPhaseSolve::restoreUnknowns()
{
    for (int i = at_.firstConstraint; i < at_.rows; ++i) {
        const int last = at_.pivotColumn(i);
        double product = 0.0;
        for (int j = 0; j <= last; ++j)
            product += column(j)[i] * unknowns_[static_cast<std::size_t>(j)];
        if (std::fabs(product) <= negligible_) continue;
        product *= arrays_.beta[at_.position(i)];
        for (int j = 0; j <= last; ++j)
            unknowns_[static_cast<std::size_t>(j)] += product * column(j)[i];
    }
}

}  // namespace knotwork
