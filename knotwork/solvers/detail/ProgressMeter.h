// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/solvers/TsolverReporter.h"

namespace knotwork {

/// Prints a few lines for a large system and none for a small one.
class ProgressMeter {
  public:
    ProgressMeter(TsolverReporter& reporter, int steps, int weight)
        : reporter_(reporter), steps_(steps), weight_(weight)
    {
    }
    void step()
    {
        if (!reporter_.isActive()) return;
        const double fraction = static_cast<double>(++done_) / steps_;
        accumulated_ += static_cast<long long>((1.0 - fraction) * weight_);
        if (accumulated_ <= kLine) return;
        reporter_.progress(fraction);
        accumulated_ -= kLine;
        reported_ = true;
    }
    void finish()
    {
        if (reported_) reporter_.progress(1.0);
    }

  private:
    static constexpr long long kLine = 10000;
    TsolverReporter& reporter_;
    int steps_;
    int weight_;
    int done_ = 0;
    long long accumulated_ = 0;
    bool reported_ = false;
};

}  // namespace knotwork
