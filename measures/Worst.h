// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace knotwork_measures {

/// The largest of many ratios, the seed of the matrix it came from, and the bound it is held to.
/// NaN counts as the worst there can be.
class Worst {
  public:
    explicit Worst(std::string name, double bound = 10.0) : name_(std::move(name)), bound_(bound) {}

    void see(double ratio, unsigned seed)
    {
        ++count_;
        if (ratio <= value_) return;
        value_ = std::isnan(ratio) ? std::numeric_limits<double>::infinity() : ratio;
        seed_ = seed;
    }
    const std::string& name() const { return name_; }
    double bound() const { return bound_; }
    double value() const { return value_; }
    unsigned seed() const { return seed_; }
    int count() const { return count_; }

  private:
    std::string name_;
    double bound_;
    double value_ = 0.0;
    unsigned seed_ = 0;
    int count_ = 0;
};

}  // namespace knotwork_measures
