// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/approx/AP_SURFACE.h"

namespace knotwork {

/// The workspace that an evaluator along a line of constant v takes, in numbers.
inline int evaluatorSize(const AP_SURFACE& s)
{
    return std::max(s.vCount() - 1, 4) * s.Coords() * s.uCount();
}

}  // namespace knotwork
