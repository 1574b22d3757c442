// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/LineConstraint.h"
#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork {

/// What a surface is fitted to and with.
struct SurfaceData {
    const TtupleMatrix& points;
    const DoubleVec& uParameters;
    const DoubleVec& vParameters;
    const BsplineBasis& u;
    const BsplineBasis& v;
    const DoubleVec& uWeights;  // none: all are 1
    const DoubleVec& vWeights;
};

}  // namespace knotwork
