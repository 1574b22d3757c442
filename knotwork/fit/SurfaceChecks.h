// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "knotwork/fit/ScaledSurface.h"
#include "knotwork/fit/SurfaceFit.h"

namespace knotwork {

/// What is wrong with a request, as a sentence's end; empty when nothing is. Parameters, weights
/// and constraints are counted from 0 in their direction.
std::string inputFault(const SurfaceData& data, const SurfaceFitOptions& options);

/// The same for control points that are given.
std::string maskFault(const SurfaceData& data, const IntGenMat& mask, const TtupleMatrix& held);

}  // namespace knotwork
