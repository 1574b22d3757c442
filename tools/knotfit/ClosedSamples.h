// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/SampleOptions.h"

namespace knotfit {

/// What --period and --start say; throw a Failure with status 2 for what no period can be.
std::optional<double> periodOf(const SampleOptions& options);
std::optional<double> startOf(const SampleOptions& options);

/// Takes the samples for those of a closed curve: a repeated first point goes, and parameters that
/// are not in a column are spread anew, the way back included. Throws a Failure with status 2 where
/// no period holds them. period: where they have a column; without it the last point must repeat
/// the first.
void closeSamples(const SampleOptions& options, std::optional<double> period,
                  TableSamples& samples);

}  // namespace knotfit
