// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <utility>

namespace knotwork {

/// Tells how much of a piece of work is done, in shares of 1 that never fall, a percent or more at
/// a time and 1 at the end.
class WorkMeter {
  public:
    /// total: what the steps' costs will add up to, in any unit.
    WorkMeter(std::function<void(double)> tell, double total)
        : tell_(std::move(tell)), total_(total)
    {
    }

    void add(double cost)
    {
        done_ = std::min(total_, done_ + cost);
        if (tell_ == nullptr || done_ < next_) return;
        tell_(done_ / total_);
        next_ = done_ + kStep * total_;
    }
    void finish()
    {
        if (tell_ != nullptr) tell_(1.0);
    }

  private:
    static constexpr double kStep = 0.01;

    std::function<void(double)> tell_;
    double total_;
    double done_ = 0.0;
    double next_ = 0.0;
};

}  // namespace knotwork
