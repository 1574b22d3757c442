// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace checks {

/// The largest of many ratios and the case it comes from. NaN is larger than any number.
class WorstRatio {
  public:
    void take(double ratio, unsigned n, unsigned p, unsigned seed)
    {
        ++count_;
        if (ratio <= worst_ || worst_ != worst_) return;
        worst_ = ratio;
        std::ostringstream where;
        where << n << " x " << p << ", seed " << seed;
        where_ = where.str();
    }
    /// Fails above the bound; the ratio itself goes to the log and to the XML report.
    void expectBelow(double bound, const std::string& what) const
    {
        EXPECT_LT(worst_, bound) << what << " at " << where_;
        std::ostringstream text;
        text << worst_ << " (" << where_ << "; " << count_ << " matrices)";
        std::cout << "[   worst  ] " << what << ": " << text.str() << '\n';
        testing::Test::RecordProperty(what, text.str());
    }

  private:
    double worst_ = 0.0;
    int count_ = 0;
    std::string where_ = "none";
};

}  // namespace checks
