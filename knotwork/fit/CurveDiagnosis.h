// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveSystem.h"

namespace knotwork {

/// Why points at these parameters do not fix every control point: the spans without data when there
/// are any ("spans 5 to 7 hold no data", counted from 0), otherwise the control points that no
/// parameter is left for (Schoenberg and Whitney's condition), otherwise nothing: they do, if only
/// just.
std::string whyUndetermined(const BsplineBasis& basis, std::vector<double> parameters);
/// The first half of that, by a flag for each pair of neighbouring knots of the range.
std::string whyUndetermined(const BsplineBasis& basis, const std::vector<char>& holdsData);

/// The control points that data and constraints together do not fix, or hardly. numbers: unknowns
/// that each of them is.
std::string whyNotFixed(const BandFit& fit, int numbers = 1);
std::string whyTooClose(const BandFit& fit, int numbers = 1);

constexpr const char* kTooCloseToDependent =
    "the system is too close to dependent for a trustworthy answer";

/// That constraints depend on each other, and which ones: the first that is a combination of others
/// before it, with those, counted from 0.
std::string whyDependent(const BandFit& fit);
/// The same, and whether they repeat or contradict each other, and by how much in the units of the
/// last of them; exponents: of the powers of two by which coordinates are divided.
std::string whyDependent(const BandFit& fit, const CurveSystem& system,
                         const std::vector<int>& exponents);

}  // namespace knotwork
