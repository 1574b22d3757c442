// SPDX-License-Identifier: MIT
#include "knotwork/factor/detail/Reflection.h"

#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork {

double safeScale(double magnitude)
{
    if (magnitude < 0x1p-400) return 0x1p+800;
    if (magnitude > 0x1p+400) return 0x1p-700;
    return 1.0;
}

double makeReflection(int n, double* x)
{
    constexpr int kStep = 1;
    double norm = dnrm2_(&n, x, &kStep);
    if (norm == 0.0) return 0.0;
    const double scale = safeScale(norm);
    if (scale != 1.0) {
        dscal_(&n, &scale, x, &kStep);
        norm = dnrm2_(&n, x, &kStep);
    }
    const double signedNorm = linpack::dsign(&norm, x);  // no cancellation below
    const double reciprocal = 1.0 / signedNorm;
    dscal_(&n, &reciprocal, x, &kStep);
    x[0] += 1.0;
    return -signedNorm / scale;
}

}  // namespace knotwork
