// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "knotwork/fit/SurfaceFit.h"
#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/FitCommand.h"

namespace knotfit {

/// What `knotfit surface` was asked, as typed.
struct SurfaceOptions : FitCommandOptions {
    std::string input;
    bool triples = false;
    int columns = 0;
    std::string degree = "3";
    std::string spans = "8";
    std::string knotsU;
    std::string knotsV;
    std::string border = "free";
    std::string hold;
    std::string obj;
    int steps = 8;
};

/// The fit that the options ask of a table.
struct SurfaceRequest {
    TtupleMatrix points;  // rows in u, columns in v
    DoubleVec uParameters;
    DoubleVec vParameters;
    knotwork::BsplineBasis u;
    knotwork::BsplineBasis v;
    knotwork::SurfaceFitOptions options;
    IntGenMat mask;  // of control points that are held; empty when none are
    TtupleMatrix held;
};

/// Puts options and data together; throws a Failure, status 2 for what cannot be meant, status 1
/// for more control points than there are samples.
SurfaceRequest makeSurfaceRequest(const SurfaceOptions& options, const CsvTable& table);

}  // namespace knotfit
