// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace knotwork {

/// A stretch of samples, in memory that stays the caller's.
struct SampleStretch {
    int count;
    const double* parameters;
    const double* points;             ///< point after point
    const double* weights = nullptr;  ///< of the squared residuals; null: all are 1
};

/// Hands samples out from the start, a stretch after the other, to what it is given; the same ones
/// in the same order as often as it is called.
using SampleReader = std::function<void(const std::function<void(const SampleStretch&)>& take)>;

}  // namespace knotwork
