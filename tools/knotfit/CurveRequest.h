// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/Parameters.h"
#include "tools/knotfit/CsvTable.h"

namespace knotfit {

/// What `knotfit curve` was asked, as typed.
struct CurveOptions {
    std::string input;
    int degree = 3;
    int spans = 8;
    std::string knots;
    std::string parameter;
    int weights = 0;  ///< the column with a weight for each point, counted from 1; 0: none
    std::vector<std::string> pass;
    std::vector<std::string> values;
    std::vector<std::string> slopes;
    bool cutoff = false;
    double zero = 0.0;
    std::string method = "householder";
    std::string output;
    std::string svg;
    bool verbose = false;
};

/// The fit that the options ask of a table: points, parameters, basis, constraints.
struct CurveRequest {
    TtupleVector points;
    DoubleVec parameters;
    DoubleVec weights;  ///< empty without any
    knotwork::BsplineBasis basis;
    std::vector<knotwork::CurveConstraint> constraints;
};

/// Puts options and data together; throws a Failure with status 2 for what cannot be meant, with
/// status 1 for more control points than there are equations.
CurveRequest makeCurveRequest(const CurveOptions& options, CsvTable table);

}  // namespace knotfit
