// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/SCharVec.h"

/// What vectors can do beyond their public face; the library itself has no use for it.
namespace knotwork {

DoubleVec tan(const DoubleVec& v);
DoubleVec tanh(const DoubleVec& v);

/// Population variance (divisor n), about the mean. Error 0x3009 below two elements.
double variance(const DoubleVec& v);

/// Toward zero; out of range or NaN becomes INT_MIN.
IntVec truncated(const DoubleVec& v);

SCharVec lowBytes(const IntVec& v);

}  // namespace knotwork
