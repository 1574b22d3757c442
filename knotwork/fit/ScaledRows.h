// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/BandTriangle.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/FitRows.h"

namespace knotwork {

/// The power of two next to a magnitude: dividing by it is exact. 0 for 0.
int exponentOf(double magnitude);

/// The basis over parameters divided by 2^exponent.
BsplineBasis scaledBasis(const BsplineBasis& basis, int exponent);
int parameterExponent(const BsplineBasis& basis);  ///< that brings its range to unit size

/// The rows that samples at some parameters make, brought to unit size: values of the basis,
/// without their zeros. The scale is a power of two, which loses no digit. The parameter keeps its
/// origin: basis values depend on differences of knots only, and a shift would round.
class ScaledRows {
  public:
    explicit ScaledRows(const BsplineBasis& basis);

    void add(double t);  ///< a parameter in the caller's units, within the range

    const BsplineBasis& basis() const { return basis_; }  ///< over the scaled parameter
    int exponent() const { return exponent_; }            ///< of its scale
    int count() const { return static_cast<int>(firstColumn_.size()); }
    int width() const { return basis_.degree() + 1; }  ///< entries in a row
    int cols() const { return basis_.count(); }

    int firstColumn(int row) const { return firstColumn_[static_cast<std::size_t>(row)]; }
    const double* entries(int row) const
    {
        return &entries_[static_cast<std::size_t>(row) * static_cast<std::size_t>(width())];
    }
    /// The entries anew, in doubled precision.
    void exactEntries(int row, DoubleDouble* entries) const;
    BandTriangle triangle() const;  ///< R of their QR factorisation

  private:
    BsplineBasis basis_;
    int exponent_;
    std::vector<double> parameters_;  // scaled
    std::vector<int> firstColumn_;
    std::vector<double> entries_;
};

/// Such rows with right-hand sides; both have to live on. Rows of b beyond those are not looked at.
class GridRows : public FitRows {
  public:
    GridRows(const ScaledRows& rows, const NumberBlock& b) : rows_(rows), b_(b) {}
    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double count() const override { return rows_.count(); }

  private:
    const ScaledRows& rows_;
    const NumberBlock& b_;
};

}  // namespace knotwork
