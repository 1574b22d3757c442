// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"

namespace knotwork {

/// Solutions of triangular systems whose matrix is the named triangle of t; the other is not read.
/// Only the leading square block counts if t has more rows than columns, or more columns.
/// Errors    0x5002 if b's length is not t's column count; 0x5011 for a zero on the diagonal. Should
///           a host's handler return, what b and t both have is solved, or b returned as it is.
DoubleVec lowerTriSolve(const DoubleGenMat& t, const DoubleVec& b);           ///< T x = b
DoubleVec lowerTriTransposeSolve(const DoubleGenMat& t, const DoubleVec& b);  ///< T^T x = b
DoubleVec upperTriSolve(const DoubleGenMat& t, const DoubleVec& b);           ///< T x = b
DoubleVec upperTriTransposeSolve(const DoubleGenMat& t, const DoubleVec& b);  ///< T^T x = b

}  // namespace knotwork
