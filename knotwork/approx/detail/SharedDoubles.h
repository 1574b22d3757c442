// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

// Arrays with a hidden count of their holders in front of the first number, so that objects whose
// copies share an array need only the one pointer. Null is allowed and has no holders.

double* makeDoubles(std::size_t n);  ///< n zeros, one holder
double* shareDoubles(double* array);
void releaseDoubles(double* array);  ///< one holder less; the last one frees the array

}  // namespace knotwork
