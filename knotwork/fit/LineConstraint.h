// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace knotwork {

/// What a surface must meet along a whole line: its value, or a derivative across the line, at one
/// parameter of the line's own direction.
struct LineConstraint {
    double parameter;
    int derivative;              ///< 0: the value; k: the k-th derivative by this parameter
    std::vector<double> values;  ///< a point for each sample along the line, in the data's units
};

}  // namespace knotwork
