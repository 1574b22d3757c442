// SPDX-License-Identifier: MIT
#pragma once

#include "measures/Worst.h"
#include "tests/support/Testing.h"

namespace knotwork_measures {

/// Fails where a ratio of these (`for (const Worst* w : ratios.all())`) is not below its bound, and
/// keeps the figures in the test's report.
template <class Ratios>
void expectBounds(const Ratios& ratios)
{
    for (const Worst* worst : ratios.all()) {
        testing::Test::RecordProperty(worst->name(), std::to_string(worst->value()));
        EXPECT_LT(worst->value(), worst->bound()) << worst->name() << ", seed " << worst->seed();
    }
}

}  // namespace knotwork_measures
