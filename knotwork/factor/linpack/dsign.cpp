// SPDX-License-Identifier: MIT
#include <cmath>

#include "knotwork/factor/linpack.h"

namespace knotwork::linpack {

double dsign(const double* a, const double* b)
{
    const double magnitude = std::fabs(*a);
    return *b >= 0.0 ? magnitude : -magnitude;
}

}  // namespace knotwork::linpack
