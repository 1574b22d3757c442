// SPDX-License-Identifier: MIT
#include "knotwork/sparse/SpanRows.h"

#include <algorithm>
#include <utility>

namespace knotwork {

SpanRows::SpanRows(int cols, std::vector<int> first, std::vector<std::ptrdiff_t> starts)
    : cols_(cols),
      first_(std::move(first)),
      start_(std::move(starts)),
      values_(static_cast<std::size_t>(start_.back()))
{
}

void SpanRows::reserve(int rows, std::size_t entries)
{
    first_.reserve(static_cast<std::size_t>(rows));
    start_.reserve(static_cast<std::size_t>(rows) + 1);
    values_.reserve(entries);
}

double* SpanRows::append(int first, int count)
{
    const std::size_t at = values_.size();
    values_.resize(at + static_cast<std::size_t>(count));
    first_.push_back(first);
    start_.push_back(static_cast<std::ptrdiff_t>(values_.size()));
    return values_.data() + at;
}

void SpanRows::appendTrimmed(int first, const double* values, int count)
{
    while (count > 0 && values[count - 1] == 0.0) --count;
    for (; count > 0 && values[0] == 0.0; --count, ++values) ++first;
    std::copy_n(values, count, append(first, count));
}

void SpanRows::clear()
{
    first_.clear();
    start_.assign(1, 0);
    values_.clear();
}

}  // namespace knotwork
