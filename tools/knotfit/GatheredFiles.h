// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/CurveAccumulator.h"

namespace knotfit {

/// Reads what `knotfit gather` wrote and merges it, in the order of the names; "-" is standard
/// input. Throws a Failure that names the file which is none, or which does not go with those
/// before it.
knotwork::CurveAccumulator readGathered(const std::vector<std::string>& names);

}  // namespace knotfit
