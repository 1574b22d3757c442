// SPDX-License-Identifier: MIT
#include "knotwork/fit/ColumnFits.h"

#include <algorithm>
#include <utility>

namespace knotwork {

namespace {

constexpr int kFixed = 1;

/// Constraints that hold unknowns.
std::vector<ConstraintRow> unitRows(const std::vector<int>& held)
{
    std::vector<ConstraintRow> rows;
    for (const int column : held) rows.push_back({column, {DoubleDouble(1.0)}});
    return rows;
}

}  // namespace

ColumnFits::ColumnFits(const BandTriangle& data, const IntGenMat& mask)
{
    std::vector<int> before;
    for (int j = 0; j < static_cast<int>(mask.cols()); ++j) {
        std::vector<int> now;
        for (int i = 0; i < static_cast<int>(mask.rows()); ++i)
            if (mask(i, j) == kFixed) now.push_back(i);
        held_ += static_cast<int>(now.size());
        if (j == 0 || now != before)
            fits_.push_back(
                std::make_shared<const BandFit>(data, unitRows(now), FitMethod::kHouseholder));
        else
            fits_.push_back(fits_.back());
        before = std::move(now);
    }
}

bool ColumnFits::solvable() const
{
    return std::all_of(fits_.begin(), fits_.end(),
                       [](const auto& fit) { return fit->state() == BandFit::State::kSolvable; });
}

double ColumnFits::amplification(double weights) const
{
    double most = 0.0;
    for (const auto& fit : fits_) most = std::max(most, fit->amplification(weights));
    return most;
}

}  // namespace knotwork
