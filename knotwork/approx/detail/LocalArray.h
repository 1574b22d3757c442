// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>

namespace knotwork {

/// Uninitialised numbers for the length of a call: on the stack up to kOnStack, else on the heap.
/// Aligned for pairs.
template <std::size_t kOnStack>
class LocalArray {
  public:
    explicit LocalArray(std::size_t n)
        : large_(n > kOnStack ? new double[n] : nullptr), data_(large_ ? large_.get() : small_)
    {
    }
    LocalArray(const LocalArray&) = delete;
    LocalArray& operator=(const LocalArray&) = delete;

    double* data() { return data_; }
    const double* data() const { return data_; }

  private:
    std::unique_ptr<double[]> large_;
    double* data_;
    alignas(16) double small_[kOnStack];
};

}  // namespace knotwork
