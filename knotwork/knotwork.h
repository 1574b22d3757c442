// SPDX-License-Identifier: MIT
#pragma once

/// Every public header of the library.
#include "knotwork/geometry/TnumberSequence.h"
#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/factor/DoubleSVDecomp.h"
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
#include "knotwork/platform/base.h"
