// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/BsplineBasis.h"

namespace knotwork {

/// Why points at these parameters do not fix every control point: the spans without data when there
/// are any ("spans 5 to 7 hold no data", counted from 0), otherwise the control points that no
/// parameter is left for (Schoenberg and Whitney's condition), otherwise nothing: they do, if only
/// just.
std::string whyUndetermined(const BsplineBasis& basis, std::vector<double> parameters);
/// The first half of that, by a flag for each pair of neighbouring knots of the range.
std::string whyUndetermined(const BsplineBasis& basis, const std::vector<char>& holdsData);

/// The control points that data and constraints together do not fix, or hardly.
std::string whyNotFixed(const BandFit& fit);
std::string whyTooClose(const BandFit& fit);

constexpr const char* kTooCloseToDependent =
    "the system is too close to dependent for a trustworthy answer";

/// That constraints depend on each other, and which ones: the first that is a combination of others
/// before it, with those, counted from 0.
std::string whyDependent(const BandFit& fit);

}  // namespace knotwork
