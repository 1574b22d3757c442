// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace knotwork {

/// Rows [begin, end) of a column.
struct RowRange {
    std::ptrdiff_t begin;
    std::ptrdiff_t end;
};
using RowRanges = std::vector<RowRange>;

/// Some ranges, wherever they are kept.
struct RowRangeSpan {
    RowRangeSpan(const RowRanges& ranges) : first(ranges.data()), count(ranges.size()) {}
    RowRangeSpan(const RowRange& range) : first(&range), count(1) {}

    const RowRange* first;
    std::size_t count;
};

/// Inner products and updates of up to four columns at a time against one vector, over the rows of
/// the given ranges. One pass over the vector serves all columns, which is where the time goes.
/// Nothing is allocated. Inner products sum in eight lanes that are part of the definition: same
/// bits on every CPU.
constexpr int kPanel = 4;

/// out[c] = sum of v[i] columns[c][i].
void panelDot(RowRangeSpan ranges, const double* v, const double* const* columns, int count,
              double* out);

/// columns[c][i] += factors[c] v[i].
void panelUpdate(RowRangeSpan ranges, const double* v, double* const* columns, int count,
                 const double* factors);

/// v[i] += factors[0] columns[0][i], then factors[1] columns[1][i], and so on.
void panelCombine(RowRangeSpan ranges, double* v, const double* const* columns, int count,
                  const double* factors);

/// The same with kInterleaved columns that lie row after row in w: column c is w[16 i + c].
constexpr int kInterleaved = 16;

/// out[c] = sum of v[i] w[16 i + c].
void interleavedDot(RowRangeSpan ranges, const double* v, const double* w, double* out);

/// w[16 i + c] += factors[c] v[i].
void interleavedUpdate(RowRangeSpan ranges, const double* v, double* w, const double* factors);

}  // namespace knotwork
