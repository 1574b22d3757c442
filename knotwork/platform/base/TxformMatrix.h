// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/base/T4dDblMatrix.h"
#include "knotwork/platform/export.h"

/// A transformation, known by its matrix. This one is constant; hosts derive their own.
class KNOTWORK_PLATFORM_EXPORT TxformMatrix {
  public:
    TxformMatrix() = default;  ///< the identity
    explicit TxformMatrix(const T4dDblMatrix& matrix) : matrix_(matrix) {}
    virtual ~TxformMatrix();
    virtual T4dDblMatrix matrix() const;

  private:
    T4dDblMatrix matrix_;
};
