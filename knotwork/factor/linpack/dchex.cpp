// SPDX-License-Identifier: MIT
#include <algorithm>
#include <utility>

#include "knotwork/factor/kernels/ColumnPanels.h"
#include "knotwork/factor/kernels/Rotation.h"
#include "knotwork/factor/linpack.h"

namespace knotwork::linpack {

namespace {

/// Rotations of the row pairs (first, first + 1), (first + 1, first + 2), ... in Count columns.
template <int Count>
void rotateDownwards(const double* c, const double* s, int first, int rotations, double* const* r)
{
    double carried[Count];
    for (int k = 0; k < Count; ++k) carried[k] = r[k][first];
    for (int i = 0; i < rotations; ++i) {
        const Rotation rotation = {c[i], s[i]};
        for (int k = 0; k < Count; ++k) {
            double* pair = r[k] + first + i;
            double below = pair[1];
            rotation.turn(carried[k], below);
            pair[0] = std::exchange(carried[k], below);
        }
    }
    for (int k = 0; k < Count; ++k) r[k][first + rotations] = carried[k];
}

/// Rotations of the row pairs (last - 1, last), (last - 2, last - 1), ... in Count columns.
template <int Count>
void rotateUpwards(const double* c, const double* s, int last, int rotations, double* const* r)
{
    double carried[Count];
    for (int k = 0; k < Count; ++k) carried[k] = r[k][last];
    for (int i = 0; i < rotations; ++i) {
        const Rotation rotation = {c[i], s[i]};
        for (int k = 0; k < Count; ++k) {
            double* pair = r[k] + (last - 1 - i);
            double above = pair[0];
            rotation.turn(above, carried[k]);
            pair[1] = std::exchange(carried[k], above);
        }
    }
    for (int k = 0; k < Count; ++k) r[k][last - rotations] = carried[k];
}

void keep(Rotation rotation, int i, double* c, double* s)
{
    c[i] = rotation.c;
    s[i] = rotation.s;
}

/// Columns k .. l - 1 move right by one and column l, whose rows wait in s, takes k's place. That
/// fills one subdiagonal, which rotations from the bottom up clear again.
void shiftRight(const ColumnMajor<double>& R, int p, int k, int l, double* c, double* s)
{
    std::reverse_copy(R.column(l), R.at(l, l) + 1, s);
    for (int j = l - 1; j >= k; --j) {
        std::copy_n(R.column(j), j + 1, R.column(j + 1));
        R(j + 1, j + 1) = 0.0;
    }
    for (int i = 0; i < k; ++i) R(i, k) = s[l - i];

    double t = s[0];
    for (int i = 0; i < l - k; ++i) {
        double r = s[i + 1];
        keep(makeRotation(r, t), i, c, s);
        t = r;
    }
    R(k, k) = t;
    for (int j = k + 1; j <= l; ++j) {
        double* column = R.column(j);
        const int later = l - j;  // rotations of rows below the diagonal
        rotateUpwards<1>(c + later, s + later, j, j - k, &column);
    }
    inColumnPanels(R, l + 1, p, [&](auto count, int, double** columns) {
        rotateUpwards<count>(c, s, l, l - k, columns);
    });
}

/// Columns k + 1 .. l move left by one and column k, whose rows wait in s, takes l's place. The
/// subdiagonal that appears waits in s too, until rotations from the top down clear it.
void shiftLeft(const ColumnMajor<double>& R, int p, int k, int l, double* c, double* s)
{
    std::copy_n(R.column(k), k + 1, s + (l - k));
    for (int j = k; j < l; ++j) {
        std::copy_n(R.column(j + 1), j + 1, R.column(j));
        s[j - k] = R(j + 1, j + 1);
    }
    std::copy_n(s + (l - k), k + 1, R.column(l));
    std::fill(R.at(k, l) + 1, R.at(l, l) + 1, 0.0);

    for (int j = k; j < l; ++j) {
        double* column = R.column(j);
        rotateDownwards<1>(c, s, k, j - k, &column);
        keep(makeRotation(R(j, j), s[j - k]), j - k, c, s);
    }
    inColumnPanels(R, l, p, [&](auto count, int, double** columns) {
        rotateDownwards<count>(c, s, k, l - k, columns);
    });
}

}  // namespace

int dchex(double* r, const int* ldr, const int* p, const int* k, const int* l, double* z,
          const int* ldz, const int* nz, double* c, double* s, const int* job)
{
    const ColumnMajor<double> R(r, *ldr);
    const int first = *k - 1;
    const int last = *l - 1;
    const bool right = *job == 1;
    if (right)
        shiftRight(R, *p, first, last, c, s);
    else
        shiftLeft(R, *p, first, last, c, s);
    inColumnPanels({z, *ldz}, 0, *nz, [&](auto count, int, double** columns) {
        if (right)
            rotateUpwards<count>(c, s, last, last - first, columns);
        else
            rotateDownwards<count>(c, s, first, last - first, columns);
    });
    return 0;
}

}  // namespace knotwork::linpack
