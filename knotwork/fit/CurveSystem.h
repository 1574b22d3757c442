// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BandOrder.h"
#include "knotwork/fit/ConstraintRow.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/sparse/BandTriangle.h"

namespace knotwork {

/// What is solved at once of a curve fit: coordinates with the same constraints, right-hand sides
/// of one system; or, where a constraint couples coordinates, all of them as the unknowns of one
/// system, number after number of each control point, which widens its band as many times.
struct CurveSystem {
    int dimension;                 ///< of the curve
    std::vector<int> coordinates;  ///< in ascending order
    bool coupled = false;
    std::vector<ConstraintRow> rows = {};  ///< coupled: over the numbers of all control points
    std::vector<int> rowCoordinates = {};  ///< coupled: in whose units a row is
    NumberBlock rhs = {};                  ///< of those, a column a coordinate; coupled: one

    bool whole() const
    {
        return !coupled && coordinates.size() == static_cast<std::size_t>(dimension);
    }
    /// Numbers of one kind: right-hand sides that are coordinates of one point.
    int kinds() const { return coupled ? 1 : static_cast<int>(coordinates.size()); }
    int equations() const { return static_cast<int>(rows.size()); }
    int unknowns(int controlPoints) const
    {
        return coupled ? controlPoints * dimension : controlPoints;
    }

    BandOrder order(const BandOrder& ofCurve) const;
    /// R of the data rows, from that of one coordinate.
    BandTriangle triangle(const BandTriangle& ofCurve) const;
    /// The right-hand sides of those rows, a row of kinds() numbers each, from a row of numbers a
    /// control point.
    std::vector<double> rightSides(const std::vector<double>& ofCurve) const;
    void place(const NumberBlock& solution, NumberBlock& curve) const;
    /// What a row leaves of column c of the right-hand sides.
    DoubleDouble residual(int row, int c, const NumberBlock& curve) const;
    int coordinateOf(int row, int c) const
    {
        return coupled ? rowCoordinates[static_cast<std::size_t>(row)]
                       : coordinates[static_cast<std::size_t>(c)];
    }
};

/// The rows of a whole curve as those of one of its systems; both have to live on.
class SystemRows : public FitRows {
  public:
    SystemRows(const FitRows& curve, const CurveSystem& system) : curve_(curve), system_(system) {}
    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double exactRounding() const override { return curve_.exactRounding(); }
    double count() const override { return curve_.count(); }

  private:
    NumberBlock widened(const NumberBlock& x) const;
    ResidualSums narrowed(ResidualSums sums) const;

    const FitRows& curve_;
    const CurveSystem& system_;
};

}  // namespace knotwork
