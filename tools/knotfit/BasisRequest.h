// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "knotwork/fit/BsplineBasis.h"

namespace knotfit {

/// A basis as the options ask for it.
struct BasisRequest {
    int degree;
    int spans;                ///< equal ones
    std::string knots;        ///< "T1,T2,...", interior ones instead of the spans; empty for none
    std::string knotsOption;  ///< what the user calls those
    double first;             ///< of the parameter range
    double last;
    std::optional<int> lines = {};  ///< of data, that have to fix the control points; not all known
    int equations = 0;              ///< constraints beside them
    bool closed = false;            ///< first to last is a period
    std::string wayOut = {};        ///< said where there are too few
};

/// Makes the basis. Throws a Failure: status 2 for what cannot be meant, status 1 for more control
/// points than there are equations.
knotwork::BsplineBasis basisFor(const BasisRequest& request);

}  // namespace knotfit
