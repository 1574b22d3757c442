// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/export.h"

class T4dDblMatrix;

/// A homogeneous point; the four numbers lie together in this order.
class KNOTWORK_PLATFORM_EXPORT T4dDblPoint {
  public:
    explicit T4dDblPoint(double px = 0.0, double py = 0.0, double pz = 0.0, double pw = 1.0)
        : x(px), y(py), z(pz), w(pw)
    {
    }

    /// Becomes the row vector (x, y, z, w) times the matrix; nothing is divided by w.
    T4dDblPoint& postmultBy(const T4dDblMatrix& matrix);

    double x, y, z, w;
};

static_assert(sizeof(T4dDblPoint) == 4 * sizeof(double), "the coordinates are read as an array");
