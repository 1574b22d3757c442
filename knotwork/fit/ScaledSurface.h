// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "knotwork/fit/BandFit.h"
#include "knotwork/fit/BasisRecurrence.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/fit/SurfaceData.h"

namespace knotwork {

/// How far a solution lies from the lines of constraints.
struct LineDeviations {
    double share = 0.0;    ///< of the largest unknown or right-hand side of a coordinate
    double inUnits = 0.0;  ///< in the data's units
};

/// Rows of points, `dimension` numbers each, become columns.
NumberBlock transposed(const NumberBlock& grid, int rows, int dimension);

/// A surface fit in numbers of unit size: the rows and the constraints of each direction, and a
/// grid of right-hand sides: the samples first, then a row for each line of constant u and a column
/// for each line of constant v. Grids lie column by column, so that a grid is a block of rows of
/// numbers along v.
class ScaledSurface {
  public:
    ScaledSurface(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                  const std::vector<LineConstraint>& acrossV);

    const std::string& fault() const { return fault_; }  ///< empty when the lines can be combined
    const ScaledRows& inU() const { return u_; }
    const ScaledRows& inV() const { return v_; }
    const std::vector<ConstraintRow>& constraintsInU() const { return constraintsU_; }
    const std::vector<ConstraintRow>& constraintsInV() const { return constraintsV_; }
    const NumberBlock& rhs() const { return rhs_; }  ///< rows beyond the samples: the constraints'
    int dimension() const { return dimension_; }

    std::vector<double> controlPoints(const NumberBlock& x) const;  ///< in the data's units
    NumberBlock scaled(const std::vector<double>& controlPoints) const;

    /// A line is met when the solution's curve on it is the fit of the line's own values. alongV:
    /// every row of the grid fitted along v; fitU fits the lines of constant v.
    LineDeviations lineDeviations(const NumberBlock& x, const NumberBlock& alongV,
                                  const BandFit& fitU) const;

    /// What x leaves of each sample, in doubled precision; one block row a column of samples.
    NumberBlock residuals(const NumberBlock& x) const;
    /// visit(j, squares): of the samples in column j the squared distances from x, in units of
    /// 2^figureExponent(); only columns with a weight.
    template <class Visit>
    void forDistances(const NumberBlock& x, bool exactly, Visit visit) const;
    int figureExponent() const { return figureExponent_; }
    /// The largest number that goes into a distance, in its units.
    double largestTerm(const NumberBlock& x) const;

  private:
    void fillSamples(const TtupleMatrix& points);
    void fillLines(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                   const std::vector<LineConstraint>& acrossV);
    void fillCrossing(const SurfaceData& data, const LineConstraint& lineU, int row,
                      const LineConstraint& lineV, int column, int exponent);
    void scaleCoordinates();
    double& right(int i, int j, int k) { return rhs_.high[rhs_.at(j, i * dimension_ + k)]; }
    void forgetUncounted();
    template <class Number, class Visit>
    void forResiduals(const NumberBlock& x, Visit visit) const;

    int dimension_;
    ScaledRows u_;
    ScaledRows v_;
    std::vector<ConstraintRow> constraintsU_;
    std::vector<ConstraintRow> constraintsV_;
    NumberBlock rhs_;
    std::vector<int> coordinateExponents_;
    std::vector<double> figureFactors_;  // of each coordinate, a power of two
    int figureExponent_ = 0;
    std::string fault_;
};

/// visit(j, residuals of column j's samples, coordinate by coordinate) for columns with a weight.
template <class Number, class Visit>
void ScaledSurface::forResiduals(const NumberBlock& x, Visit visit) const
{
    const auto take = [](const ScaledRows& rows, int row, Number* entries) {
        if constexpr (std::is_same_v<Number, double>)
            std::copy_n(rows.entries(row), rows.width(), entries);
        else
            rows.exactEntries(row, entries);
    };
    const int samples = u_.count();
    const int width = u_.width();
    std::vector<Number> across(NumberBlock::size(samples, width));
    for (int i = 0; i < samples; ++i) take(u_, i, &across[NumberBlock::size(i, width)]);
    Number along[kMostBasisDegree + 1];
    std::vector<Number> line(NumberBlock::size(u_.cols(), dimension_));  // of control points at v
    std::vector<Number> left(NumberBlock::size(samples, dimension_));
    for (int j = 0; j < v_.count(); ++j) {
        if (!v_.counts(j)) continue;
        take(v_, j, along);
        std::fill(line.begin(), line.end(), Number(0.0));
        for (int b = 0; b < v_.width(); ++b) {
            const double* from = &x.high[x.at(v_.firstColumn(j) + b, 0)];
            for (std::size_t c = 0; c < line.size(); ++c) line[c] += along[b] * Number(from[c]);
        }
        const double* right = &rhs_.high[rhs_.at(j, 0)];
        Number* to = left.data();
        for (int i = 0; i < samples; ++i) {
            const Number* entries = &across[NumberBlock::size(i, width)];
            const Number* from = &line[NumberBlock::size(u_.firstColumn(i), dimension_)];
            for (int k = 0; k < dimension_; ++k) {
                Number rest(*right++);
                for (int a = 0; a < width; ++a)
                    rest += Number(-1.0) * entries[a] * from[std::ptrdiff_t{dimension_} * a + k];
                *to++ = rest;
            }
        }
        visit(j, left.data());
    }
}

template <class Visit>
void ScaledSurface::forDistances(const NumberBlock& x, bool exactly, Visit visit) const
{
    std::vector<double> squares(static_cast<std::size_t>(u_.count()));
    const auto squaresOf = [&](auto high) {
        return [this, high, &visit, &squares](int j, const auto* left) {
            for (double& sum : squares) {
                sum = 0.0;
                for (const double factor : figureFactors_) {
                    const double distance = high(*left++) * factor;
                    sum += distance * distance;
                }
            }
            visit(j, squares.data());
        };
    };
    if (exactly)
        forResiduals<DoubleDouble>(x, squaresOf([](DoubleDouble r) { return r.high; }));
    else
        forResiduals<double>(x, squaresOf([](double r) { return r; }));
}

}  // namespace knotwork
