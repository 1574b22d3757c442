// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/fit/BasisRows.h"
#include "knotwork/fit/BsplineBasis.h"

namespace knotwork {

/// The power of two next to a magnitude: dividing by it is exact. 0 for 0.
int exponentOf(double magnitude);

/// The rows of one parameter direction, data first, constraints last, brought to unit size: the
/// solver's thresholds are absolute, so nothing may depend on the units the data came in. All
/// scales are powers of two, which lose no digit. The parameter keeps its origin: basis values
/// depend on differences of knots only, and a shift would round.
class ScaledRows {
  public:
    explicit ScaledRows(const BsplineBasis& basis);
    ScaledRows(const ScaledRows&) = delete;  // the rows refer to the basis here
    ScaledRows& operator=(const ScaledRows&) = delete;

    void reserve(std::size_t rows) { rows_.reserve(rows); }
    void addData(double t, double factor = 1.0);  ///< the row times a factor
    /// A value's row is like a data row. By the chain rule a derivative grows with the parameter's
    /// scale, and its row is brought to about unit length. Returns the exponent e of the two
    /// together: what the constraint asks for has to be multiplied by 2^e.
    int addConstraint(double t, int derivative);

    const BsplineBasis& basis() const { return basis_; }  ///< over the scaled parameter
    const BasisRows& rows() const { return rows_; }
    int dataRows() const { return dataRows_; }
    int constraints() const { return rows_.count() - dataRows_; }

  private:
    BsplineBasis basis_;
    int parameterExponent_;
    BasisRows rows_;
    int dataRows_ = 0;
};

}  // namespace knotwork
