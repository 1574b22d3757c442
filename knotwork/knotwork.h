// SPDX-License-Identifier: MIT
#pragma once

/// Every public header of the library, from the ground up.
// clang-format off: in the order of the rooms
#include "knotwork/platform/base.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/LXBlock.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/SCharVec.h"
#include "knotwork/linalg/SCharVecPick.h"
#include "knotwork/factor/DoubleSVDecomp.h"
#include "knotwork/geometry/TnumberSequence.h"
#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/solvers/TbaseReporter.h"
#include "knotwork/solvers/TbaseSolver.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsq.h"
#include "knotwork/solvers/TsolveSystems.h"
#include "knotwork/solvers/TsolveTensorProductLsq.h"
#include "knotwork/solvers/TsolverReporter.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/CurvePicture.h"
#include "knotwork/fit/Parameters.h"
// clang-format on
