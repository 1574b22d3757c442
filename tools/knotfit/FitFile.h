// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"

namespace knotfit {

/// What a fit's JSON says of its curve (one basis) or surface (u, then v).
struct FitFile {
    std::vector<knotwork::BsplineBasis> bases;
    int dimension = 0;
    std::vector<double> controlPoints;  ///< point after point; of a surface in rows of constant v

    bool isSurface() const { return bases.size() == 2; }
};

/// Reads a fit back. Throws a Failure with status 2 that names the file and what is wrong in it.
FitFile readFit(const std::string& path);

}  // namespace knotfit
