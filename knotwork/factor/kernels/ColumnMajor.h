// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// A caller's column-major array seen with 0-based indices; offsets are computed in 64 bits.
template <class T>
class ColumnMajor {
  public:
    ColumnMajor(T* data, int leading) : data_(data), leading_(leading) {}
    T& operator()(int i, int j) const { return data_[leading_ * j + i]; }
    T* at(int i, int j) const { return data_ + (leading_ * j + i); }
    T* column(int j) const { return at(0, j); }
    std::ptrdiff_t leading() const { return leading_; }

  private:
    T* data_;
    std::ptrdiff_t leading_;  // from one column to the next
};

}  // namespace knotwork
