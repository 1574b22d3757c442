// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/export.h"

/// A 4 x 4 matrix that acts on row vectors from the right; a translation stands in the last row.
class KNOTWORK_PLATFORM_EXPORT T4dDblMatrix {
  public:
    T4dDblMatrix();  ///< the identity
    double& operator()(int row, int col) { return entries_[row][col]; }
    double operator()(int row, int col) const { return entries_[row][col]; }

  private:
    double entries_[4][4];
};
