// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// A's rows in one sweep over its columns; false, and nothing is said about `rows`, when too much
/// of A is not zero, an entry is not finite, A is small, or its elements do not lie side by side.
bool readSpans(const DoubleGenMat& A, SpanRows& rows);

}  // namespace knotwork
