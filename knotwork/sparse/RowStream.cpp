// SPDX-License-Identifier: MIT
#include "knotwork/sparse/RowStream.h"

#include <algorithm>

#include "knotwork/sparse/RowCompression.h"

namespace knotwork {

namespace {

constexpr int kFewestWaiting = 4096;
constexpr int kWaitingPerColumn = 8;  // so that the triangle itself is a small part of the work

}  // namespace

RowStream::RowStream(int cols, int rhsWidth)
    : waiting_(cols),
      triangle_(std::vector<int>(static_cast<std::size_t>(cols), 0)),
      rhs_(static_cast<std::size_t>(cols) * static_cast<std::size_t>(rhsWidth), 0.0),
      rhsWidth_(rhsWidth),
      mostWaiting_(std::max(kFewestWaiting, kWaitingPerColumn * cols))
{
}

const double* RowStream::rhs(int j) const
{
    return rhs_.data() + std::ptrdiff_t{rhsWidth_} * j;
}

void RowStream::add(int first, const double* values, int count, const double* rhs)
{
    if (waiting_.rows() == mostWaiting_) finish();
    waiting_.appendTrimmed(first, values, count);
    waitingRhs_.insert(waitingRhs_.end(), rhs, rhs + rhsWidth_);
    ++rows_;
}

void RowStream::finish()
{
    if (waiting_.rows() == 0) return;
    for (int j = 0; j < waiting_.cols(); ++j)
        waiting_.appendTrimmed(j, triangle_.row(j), triangle_.count(j));
    waitingRhs_.insert(waitingRhs_.end(), rhs_.begin(), rhs_.end());

    const RowCompression compression(waiting_);
    std::vector<double> lanes(static_cast<std::size_t>(waiting_.cols()) * kFewLanes);
    for (int first = 0; first < rhsWidth_; first += kFewLanes) {
        const int width = std::min(kFewLanes, rhsWidth_ - first);
        compression.compress<kFewLanes>(
            [&](int i, double* to) {
                std::copy_n(
                    &waitingRhs_[static_cast<std::size_t>(i) * static_cast<std::size_t>(rhsWidth_) +
                                 static_cast<std::size_t>(first)],
                    width, to);
            },
            lanes.data());
        for (int j = 0; j < waiting_.cols(); ++j)
            std::copy_n(lanes.data() + std::ptrdiff_t{kFewLanes} * j, width,
                        rhs_.data() + std::ptrdiff_t{rhsWidth_} * j + first);
    }
    triangle_ = compression.triangle();
    waiting_.clear();
    waitingRhs_.clear();
}

}  // namespace knotwork
