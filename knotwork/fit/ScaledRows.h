// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/fit/WorkMeter.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/sparse/BandTriangle.h"

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
    /// Weighs the squared residuals of the rows, one number a row, 0 or more; none: all are 1.
    void weigh(const DoubleVec& weights);

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
    BandTriangle triangle() const;  ///< R of their QR factorisation, times the weights' roots

    bool weighted() const { return !weights_.empty(); }
    /// Divided by 4^weightRoot(), so that the largest one's root is about 1.
    double weight(int row) const
    {
        return weighted() ? weights_[static_cast<std::size_t>(row)] : 1.0;
    }
    bool counts(int row) const { return weight(row) > 0.0; }
    int weightRoot() const { return weightRoot_; }
    double constraintWeight() const;  ///< where they are fitted: that of a row of weight 1
    double weights() const;           ///< their sum
    int counted() const;              ///< rows that have a weight

  private:
    BsplineBasis basis_;
    int exponent_;
    std::vector<double> parameters_;  // scaled
    std::vector<int> firstColumn_;
    std::vector<double> entries_;
    std::vector<double> weights_;  // none: all are 1
    int weightRoot_ = 0;
};

/// Such rows with right-hand sides; all that is handed over has to live on. Rows of b beyond those
/// are not looked at. meter: hears a unit of work for each number of b in a pass in double
/// precision.
class GridRows : public FitRows {
  public:
    GridRows(const ScaledRows& rows, const NumberBlock& b, WorkMeter* meter = nullptr)
        : rows_(rows), b_(b), meter_(meter)
    {
    }
    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double count() const override { return rows_.count(); }

  private:
    const ScaledRows& rows_;
    const NumberBlock& b_;
    WorkMeter* meter_;
};

}  // namespace knotwork
