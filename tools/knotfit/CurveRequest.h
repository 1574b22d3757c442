// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/Parameters.h"
#include "tools/knotfit/ConstraintOptions.h"
#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/FitCommand.h"
#include "tools/knotfit/SampleOptions.h"

namespace knotfit {

/// What `knotfit curve` was asked, as typed.
struct CurveOptions : SampleOptions, FitCommandOptions, ConstraintOptions {
    std::vector<std::string> from;  ///< gathered parts instead of points, or lists of them
    std::vector<std::string> pass;
    std::string smooth;  ///< a number, or auto; empty: not
    int smoothOrder = 0;
    bool clamped = false;
};

/// The samples of a table.
struct TableSamples {
    TtupleVector points;
    DoubleVec parameters;
    DoubleVec weights;                                 ///< empty without any
    std::optional<knotwork::Parameterisation> spread;  ///< none where a column holds parameters

    // Of a closed curve:
    double period = 0.0;
    bool firstRepeated = false;  ///< at the end, where it was taken away
    bool lastNearFirst = false;  ///< but another point
};

/// The fit that the options ask of a table: samples, basis, constraints.
struct CurveRequest : TableSamples {
    knotwork::BsplineBasis basis;
    AskedOfCurve asked;
};

/// Tells parameters, coordinates and weights apart; throws a Failure with status 2.
TableSamples samplesOf(const SampleOptions& options, CsvTable table);

/// Puts options and data together; throws a Failure with status 2 for what cannot be meant, with
/// status 1 for more control points than there are equations.
CurveRequest makeCurveRequest(const CurveOptions& options, CsvTable table);

}  // namespace knotfit
