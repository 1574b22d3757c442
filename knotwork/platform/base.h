// SPDX-License-Identifier: MIT
#pragma once

/// The seam to the base class library that a host owns. A host with the real one names its header
/// at configure time (KNOTWORK_BASE_HEADER) and links it; everybody else gets the stand-ins. The
/// choice is the library's, made when it is built, and stands in choice.h.
#include "knotwork/platform/choice.h"

#ifdef KNOTWORK_BASE_HEADER
#include KNOTWORK_BASE_HEADER
#else
#include "knotwork/platform/base/T4dDblMatrix.h"
#include "knotwork/platform/base/T4dDblPoint.h"
#include "knotwork/platform/base/Texception.h"
#include "knotwork/platform/base/TmemoryException.h"
#include "knotwork/platform/base/Tmetaclass.h"
#include "knotwork/platform/base/Tstring.h"
#include "knotwork/platform/base/TxformMatrix.h"
#endif
