// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdarg>

namespace knotwork {

constexpr std::size_t kHandOutOnStack = 256;  // numbers that the variadic forms keep on the stack

/// The destinations of a variadic call, served in turn with n numbers each; null ones are skipped.
class HandOut {
  public:
    HandOut(std::va_list* destinations, int n) : destinations_(destinations), n_(n) {}

    void next(const double* numbers)
    {
        double* to = va_arg(*destinations_, double*);
        if (to != nullptr) std::copy_n(numbers, n_, to);
    }

  private:
    std::va_list* destinations_;
    int n_;
};

}  // namespace knotwork
