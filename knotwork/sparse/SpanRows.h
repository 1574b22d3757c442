// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace knotwork {

/// Rows of a sparse matrix, each a run of neighbouring columns: what lies outside of it is zero.
/// Rows come in any order and have any length, none at all too.
class SpanRows {
  public:
    explicit SpanRows(int cols = 0) : cols_(cols) {}
    /// Rows of zeros: row i begins in column first[i] and has the entries from starts[i] on, up to
    /// starts[i + 1].
    SpanRows(int cols, std::vector<int> first, std::vector<std::ptrdiff_t> starts);

    int cols() const { return cols_; }
    int rows() const { return static_cast<int>(first_.size()); }
    int first(int i) const { return first_[static_cast<std::size_t>(i)]; }
    int count(int i) const { return static_cast<int>(start(i + 1) - start(i)); }
    int end(int i) const { return first(i) + count(i); }
    const double* values(int i) const { return values_.data() + start(i); }
    double* values(int i) { return values_.data() + start(i); }
    std::size_t entries() const { return values_.size(); }
    const int* firsts() const { return first_.data(); }
    const std::ptrdiff_t* starts() const { return start_.data(); }
    const std::vector<double>& numbers() const { return values_; }
    std::vector<double>& numbers() { return values_; }

    void reserve(int rows, std::size_t entries);
    /// A row of zeros in columns [first, first + count), to be filled in; valid until the next one.
    double* append(int first, int count);
    /// The same filled in, without the zeros at both ends.
    void appendTrimmed(int first, const double* values, int count);
    void clear();

  private:
    std::ptrdiff_t start(int i) const { return start_[static_cast<std::size_t>(i)]; }

    int cols_;
    std::vector<int> first_;
    std::vector<std::ptrdiff_t> start_ = {0};
    std::vector<double> values_;
};

}  // namespace knotwork
