// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace knotwork {

// What a curve can be asked to meet. Where there is a mask, it has a flag a coordinate, and what is
// asked holds for those whose flag is not 0; empty: for all. Values have a number a coordinate all
// the same.

/// Its value, or a derivative, at a parameter.
struct CurveConstraint {
    double parameter;
    int derivative;             ///< 0: the value; k: the k-th derivative by the parameter
    std::vector<double> value;  ///< one number a coordinate, in the data's units
    std::vector<char> mask = {};
};

/// A sum over several places: of factor times value or derivative at each.
struct LinearConstraint {
    struct Term {
        double factor;
        double parameter;
        int derivative;
    };
    std::vector<Term> terms;
    std::vector<double> value;
    std::vector<char> mask = {};
};

/// The direction of its tangent at a parameter; of length and sense nothing is asked.
struct DirectionConstraint {
    double parameter;
    std::vector<double> direction;  ///< one number a coordinate, not all of them 0
};

/// A control point that is given.
struct HeldControlPoint {
    int number;  ///< from 0; of a closed curve below the number of its unknowns
    std::vector<double> value;
    std::vector<char> mask = {};
};

}  // namespace knotwork
