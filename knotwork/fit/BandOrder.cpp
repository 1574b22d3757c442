// SPDX-License-Identifier: MIT
#include "knotwork/fit/BandOrder.h"

#include <algorithm>

namespace knotwork {

BandOrder::BandOrder(const BsplineBasis& basis)
{
    if (!basis.closed()) return;
    const int n = unknowns_ = basis.unknowns();
    for (int f = 0; f < basis.count(); ++f) {
        const int unknown = f % n;
        places_.push_back(2 * unknown < n ? 2 * unknown : 2 * (n - 1 - unknown) + 1);
    }
}

BandOrder BandOrder::interleaved(int dimension) const
{
    BandOrder numbers;
    numbers.unknowns_ = unknowns_ * dimension;
    for (const int place : places_)
        for (int k = 0; k < dimension; ++k) numbers.places_.push_back(place * dimension + k);
    return numbers;
}

BandOrder::Placed BandOrder::placed(int first, const double* entries, int count,
                                    std::vector<double>& row) const
{
    if (!folded() || count == 0) return {first, count, entries};
    const auto begin = places_.begin() + first;
    const auto [least, most] = std::minmax_element(begin, begin + count);
    row.assign(static_cast<std::size_t>(*most - *least) + 1, 0.0);
    for (int i = 0; i < count; ++i)
        row[static_cast<std::size_t>(place(first + i) - *least)] += entries[i];
    return {*least, static_cast<int>(row.size()), row.data()};
}

void BandOrder::fold(NumberBlock& sums) const
{
    for (int f = unknowns_; f < static_cast<int>(places_.size()); ++f)
        for (int c = 0; c < sums.width; ++c) sums.add(f % unknowns_, c, sums.number(f, c));
}

}  // namespace knotwork
