// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

/// Why points at these parameters do not fix every control point: the spans without data when there
/// are any ("spans 5 to 7 hold no data", counted from 0), otherwise the control points that no
/// parameter is left for (Schoenberg and Whitney's condition), otherwise nothing: they do, if only
/// just.
std::string whyUndetermined(const BsplineBasis& basis, std::vector<double> parameters);

/// That data and constraints together do not fix these control points.
std::string notFixed(const std::vector<int>& controlPoints, const BsplineBasis& basis);

constexpr const char* kTooCloseToDependent =
    "the system is too close to dependent for a trustworthy answer";
/// The same where these control points are hardly fixed.
std::string hardlyFixed(const std::vector<int>& controlPoints, const BsplineBasis& basis);

/// That the constraints of a system depend on each other, and which ones: the first that is a
/// combination of others before it, with those, counted from 0.
std::string whyDependent(const ScaledRows& rows);

}  // namespace knotwork
