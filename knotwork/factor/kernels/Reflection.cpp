// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/Reflection.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/kernels/PanelKernels.h"

namespace knotwork {

namespace {

double lengthOf(int n, const double* x)
{
    double squares = 0.0;
    panelDot(RowRange{0, n}, x, &x, 1, &squares);
    return std::sqrt(squares);
}

}  // namespace

double safeScale(double magnitude)
{
    if (magnitude < 0x1p-400) return 0x1p+800;
    if (magnitude > 0x1p+400) return 0x1p-700;
    return 1.0;
}

Reflection makeReflection(int n, double* x)
{
    double norm = lengthOf(n, x);
    double scale = 1.0;
    if (!hasSafeSquare(norm)) {
        double largest = 0.0;
        for (int i = 0; i < n; ++i) largest = std::max(largest, std::fabs(x[i]));
        if (largest == 0.0 && norm == 0.0) return {0.0, 0.0, 0.0};
        scale = safeScale(largest);
        for (int i = 0; i < n; ++i) x[i] *= scale;
        norm = lengthOf(n, x);
    }
    Reflection reflection = reflectionOf(x[0], norm);
    for (int i = 1; i < n; ++i) x[i] *= reflection.inverse;
    x[0] = 1.0;
    reflection.sigma /= scale;
    reflection.inverse *= scale;
    return reflection;
}

}  // namespace knotwork
