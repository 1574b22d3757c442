// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/DoubleDouble.h"

namespace knotwork {

/// The power of two next to a magnitude: dividing by it is exact. 0 for 0.
int exponentOf(double magnitude);

/// The rows of one parameter direction, data first, constraints last, brought to unit size. All
/// scales are powers of two, which lose no digit. The parameter keeps its origin: basis values
/// depend on differences of knots only, and a shift would round. A row is kept without its zeros:
/// degree + 1 entries from a first column.
class ScaledRows {
  public:
    explicit ScaledRows(const BsplineBasis& basis);

    void reserve(std::size_t rows);
    void addData(double t, double weight = 1.0);  ///< of the squared residual
    /// A value's row is like a data row. By the chain rule a derivative grows with the parameter's
    /// scale, and its row is brought to about unit length. Returns the exponent e of the two
    /// together: what the constraint asks for has to be multiplied by 2^e. The weight is that of a
    /// constraint which is fitted like data.
    int addConstraint(double t, int derivative, double weight = 1.0);

    const BsplineBasis& basis() const { return basis_; }  ///< over the scaled parameter
    int count() const { return static_cast<int>(firstColumn_.size()); }
    int dataRows() const { return count() - constraints(); }
    int constraints() const { return static_cast<int>(constraints_.size()); }
    int width() const { return basis_.degree() + 1; }  ///< entries in a row
    int cols() const { return basis_.count(); }

    int firstColumn(int row) const { return firstColumn_[static_cast<std::size_t>(row)]; }
    /// The entries, without the weight.
    const double* entries(int row) const
    {
        return &entries_[static_cast<std::size_t>(row) * static_cast<std::size_t>(width())];
    }
    double weight(int row) const
    {
        return weights_.empty() ? 1.0 : weights_[static_cast<std::size_t>(row)];
    }
    /// The entries anew, in doubled precision.
    void exactEntries(int row, DoubleDouble* entries) const;

  private:
    struct Constraint {
        int derivative;
        int shrink;  // the exponent that the row was divided by
    };
    void append(double t, int derivative, double weight);

    BsplineBasis basis_;
    int parameterExponent_;
    std::vector<double> parameters_;  // scaled
    std::vector<double> weights_;     // empty while all are 1
    std::vector<int> firstColumn_;
    std::vector<double> entries_;
    std::vector<Constraint> constraints_;
};

}  // namespace knotwork
