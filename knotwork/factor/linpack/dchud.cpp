// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <limits>

#include "knotwork/factor/kernels/ColumnPanels.h"
#include "knotwork/factor/kernels/Rotation.h"
#include "knotwork/factor/kernels/Triangles.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;

/// Rotations [begin, end), upwards, of rows of Count columns with a row that enters from outside:
/// x is what that row has left in each column.
template <int Count>
void rotateIn(const double* c, const double* s, int begin, int end, double* const* r, double* x)
{
    double left[Count];
    std::copy_n(x, Count, left);
    for (int i = begin; i < end; ++i) {
        const Rotation rotation = {c[i], s[i]};
        for (int k = 0; k < Count; ++k) rotation.turn(r[k][i], left[k]);
    }
    std::copy_n(left, Count, x);
}

/// The reverse, rotations [begin, end) from the last one on: x grows into the row that leaves.
template <int Count>
void rotateOut(const double* c, const double* s, int begin, int end, double* const* r, double* x)
{
    double grown[Count];
    std::copy_n(x, Count, grown);
    for (int i = end - 1; i >= begin; --i) {
        const Rotation rotation = {c[i], s[i]};
        for (int k = 0; k < Count; ++k) rotation.turn(grown[k], r[k][i]);
    }
    std::copy_n(grown, Count, x);
}

/// sqrt(a a + b b) for a >= 0, b >= 0 that are not both 0.
double lengthOf(double a, double b)
{
    const double scale = a + b;
    return scale * std::sqrt((a / scale) * (a / scale) + (b / scale) * (b / scale));
}

/// The rotations that turn (s, sqrt(1 - |s|^2)) into the last axis; all cosines are positive.
void makeRotations(int p, double norm, double* c, double* s)
{
    double alpha = std::sqrt((1.0 - norm) * (1.0 + norm));
    for (int i = p - 1; i >= 0; --i) {
        const double length = lengthOf(alpha, std::fabs(s[i]));
        c[i] = alpha / length;
        s[i] /= length;
        alpha = length;
    }
}

double largestMagnitude(int n, const double* x)
{
    double largest = 0.0;
    for (int i = 0; i < n; ++i) largest = std::max(largest, std::fabs(x[i]));
    return largest;
}

/// Takes the equation's part out of a column of Z; what the equation has left over is returned.
double withdraw(int p, const double* c, const double* s, double* z, double y)
{
    for (int i = 0; i < p; ++i) {
        z[i] = (z[i] - s[i] * y) / c[i];
        y = c[i] * y - s[i] * z[i];
    }
    return y;
}

/// Downdates a residual norm by what the equation has left over; false when it has more than that.
/// The one deviation from the published routine: an excess within `rounding` counts as none. For
/// an equation that all the others fit exactly the two are equal, and rounding alone would decide.
bool withdrawNorm(double& rho, double leftOver, double rounding)
{
    const double excess = std::fabs(leftOver) - rho;
    if (rho < 0.0 || excess > rounding) {
        rho = -1.0;
        return false;
    }
    if (excess >= 0.0) {
        rho = 0.0;
        return true;
    }
    const double ratio = leftOver / rho;
    rho *= std::sqrt((1.0 - ratio) * (1.0 + ratio));
    return true;
}

}  // namespace

int dchud(double* r, const int* ldr, const int* p, const double* x, double* z, const int* ldz,
          const int* nz, const double* y, double* rho, double* c, double* s)
{
    inColumnPanels({r, *ldr}, 0, *p, [&](auto count, int j, double** columns) {
        double left[count];
        std::copy_n(x + j, count, left);
        rotateIn<count>(c, s, 0, j, columns, left);
        for (int k = 0; k < count; ++k) {
            rotateIn<1>(c, s, j, j + k, columns + k, left + k);
            const Rotation rotation = makeRotation(columns[k][j + k], left[k]);
            c[j + k] = rotation.c;
            s[j + k] = rotation.s;
        }
    });
    inColumnPanels({z, *ldz}, 0, *nz, [&](auto count, int j, double** columns) {
        double left[count];
        std::copy_n(y + j, count, left);
        rotateIn<count>(c, s, 0, *p, columns, left);
        for (int k = 0; k < count; ++k)
            if (left[k] != 0.0 && rho[j + k] >= 0.0)
                rho[j + k] = lengthOf(rho[j + k], std::fabs(left[k]));
    });
    return 0;
}

int dchdd(double* r, const int* ldr, const int* p, const double* x, double* z, const int* ldz,
          const int* nz, const double* y, double* rho, double* c, double* s, int* info)
{
    *info = -1;
    const ColumnMajor<double> R(r, *ldr);
    std::copy_n(x, *p, s);
    solveUpperTransposed({r, *ldr}, *p, s);
    const double norm = dnrm2_(p, s, &kStep);
    if (!(norm < 1.0)) return 0;  // NaN too
    *info = 0;
    makeRotations(*p, norm, c, s);
    inColumnPanels(R, 0, *p, [&](auto count, int j, double** columns) {
        double grown[count] = {};
        for (int k = 0; k < count; ++k) rotateOut<1>(c, s, j, j + k + 1, columns + k, grown + k);
        rotateOut<count>(c, s, 0, j, columns, grown);
    });

    const double leastCosine = *p > 0 ? *std::min_element(c, c + *p) : 1.0;
    const double unit = 16.0 * *p * std::numeric_limits<double>::epsilon() / leastCosine;
    const ColumnMajor<double> Z(z, *ldz);
    for (int j = 0; j < *nz; ++j) {
        const double size = std::fabs(y[j]) + largestMagnitude(*p, Z.column(j)) + rho[j];
        const double leftOver = withdraw(*p, c, s, Z.column(j), y[j]);
        if (!withdrawNorm(rho[j], leftOver, unit * size)) *info = 1;
    }
    return 0;
}

}  // namespace knotwork::linpack
