// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/SpanRows.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork {

/// The set-up of a system whose working matrix is held as rows of spans. Each operation does what
/// TsolveSystems does to a dense matrix, zeros outside of the spans included.

/// A's rows in one sweep over its columns; false, and nothing is said about `rows`, when too much
/// of A is not zero, an entry is not finite, A is small, or its elements do not lie side by side.
bool readSpans(const DoubleGenMat& A, SpanRows& rows);

DoubleGenMat expanded(const SpanRows& rows);
DoubleVec columnOf(const SpanRows& rows, int j);
double largestEntry(const SpanRows& rows);  ///< the signed one

void findZeroSpans(const SpanRows& rows, const IntVec& fixedCols, IntVec& usedRows,
                   IntVec& usedCols, double tol);
SpanRows cutSpans(const SpanRows& rows, const IntVec& usedRows, const IntVec& usedCols);
SpanRows clampedSpans(const SpanRows& rows, double tol);

/// What brings a row of that length to length 1: 0 for a row of zeros or without a length, and a
/// NaN for an infinite one, which has no direction and makes the system dependent.
double rowFactor(double length);

/// Rows to length 1; the result has their factors, 0 for a row of zeros.
DoubleVec normaliseSpans(SpanRows& rows);

/// The positions of those that are not 0.
IntVec positionsOf(const std::vector<char>& flags);

}  // namespace knotwork
