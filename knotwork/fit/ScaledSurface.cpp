// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledSurface.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/Divisor.h"
#include "knotwork/fit/ParameterRange.h"

namespace knotwork {

namespace {

constexpr double kSameValue = 1e-10;  // largest difference of two lines' values where they cross

/// The sample that lies at a parameter, or -1.
int sampleAt(const DoubleVec& parameters, double t)
{
    for (int i = 0, n = static_cast<int>(parameters.length()); i < n; ++i)
        if (parameters(i) == t) return i;
    return -1;
}

double valueOn(const LineConstraint& line, int sample, int dimension, int k)
{
    return line.values[static_cast<std::size_t>(sample * dimension + k)];
}

std::vector<ConstraintRow> rowsOf(const std::vector<LineConstraint>& lines, const ScaledRows& rows,
                                  const ParameterRange& range)
{
    std::vector<ConstraintRow> all;
    for (const LineConstraint& line : lines) {
        const double t = std::ldexp(range.inside(line.parameter), -rows.exponent());
        const auto number = static_cast<int>(all.size());
        all.push_back(constraintRow(rows.basis(), rows.exponent(), t, line.derivative));
        all.back().number = number;
    }
    return all;
}

void addSamples(const DoubleVec& parameters, const ParameterRange& range, ScaledRows& rows)
{
    for (int i = 0, n = static_cast<int>(parameters.length()); i < n; ++i)
        rows.add(range.inside(parameters(i)));
}

/// Of the numbers that are coordinate k of a point.
double largestOf(const std::vector<double>& numbers, int k, int dimension)
{
    double largest = 0.0;
    for (auto i = static_cast<std::size_t>(k); i < numbers.size();
         i += static_cast<std::size_t>(dimension))
        largest = std::max(largest, std::fabs(numbers[i]));
    return largest;
}

/// Divides coordinates by powers of two.
void divide(std::vector<double>& numbers, const std::vector<int>& exponents)
{
    for (std::size_t k = 0; k < exponents.size(); ++k) {
        const Divisor divided(exponents[k]);
        for (std::size_t i = k; i < numbers.size(); i += exponents.size())
            numbers[i] = divided(numbers[i]);
    }
}

void transpose(const std::vector<double>& from, int rows, int cols, int dimension,
               std::vector<double>& to)
{
    constexpr int kTile = 32;  // points a side that caches hold
    for (int top = 0; top < rows; top += kTile)
        for (int i = 0; i < cols; ++i)
            for (int j = top; j < std::min(rows, top + kTile); ++j) {
                const double* point =
                    &from[NumberBlock::size(j, cols * dimension) + NumberBlock::size(i, dimension)];
                double* turned =
                    &to[NumberBlock::size(i, rows * dimension) + NumberBlock::size(j, dimension)];
                for (int k = 0; k < dimension; ++k) turned[k] = point[k];
            }
}

}  // namespace

NumberBlock transposed(const NumberBlock& grid, int rows, int dimension)
{
    const int cols = grid.width / dimension;
    NumberBlock turned(cols, rows * dimension, !grid.low.empty());
    transpose(grid.high, rows, cols, dimension, turned.high);
    if (!grid.low.empty()) transpose(grid.low, rows, cols, dimension, turned.low);
    return turned;
}

ScaledSurface::ScaledSurface(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                             const std::vector<LineConstraint>& acrossV)
    : dimension_(data.points.size()),
      u_(data.u),
      v_(data.v),
      rhs_(data.points.cols() + static_cast<int>(acrossV.size()),
           (data.points.rows() + static_cast<int>(acrossU.size())) * dimension_, false)
{
    addSamples(data.uParameters, ParameterRange(data.u), u_);
    addSamples(data.vParameters, ParameterRange(data.v), v_);
    u_.weigh(data.uWeights);
    v_.weigh(data.vWeights);
    fillSamples(data.points);
    fillLines(data, acrossU, acrossV);
    forgetUncounted();
    scaleCoordinates();
}

void ScaledSurface::fillSamples(const TtupleMatrix& points)
{
    const int perColumn = points.rows() * dimension_;
    for (int j = 0; j < points.cols(); ++j)
        for (int c = 0; c < perColumn; ++c)
            rhs_.high[rhs_.at(j, c)] = points.numbers()(perColumn * j + c);
}

void ScaledSurface::fillLines(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                              const std::vector<LineConstraint>& acrossV)
{
    const int d = dimension_;
    constraintsU_ = rowsOf(acrossU, u_, ParameterRange(data.u));
    constraintsV_ = rowsOf(acrossV, v_, ParameterRange(data.v));
    const int rows = data.points.rows();
    const int columns = data.points.cols();
    for (std::size_t a = 0; a < acrossU.size(); ++a)
        for (int j = 0; j < columns; ++j)
            for (int k = 0; k < d; ++k)
                right(rows + static_cast<int>(a), j, k) =
                    std::ldexp(valueOn(acrossU[a], j, d, k), constraintsU_[a].exponent);
    for (std::size_t c = 0; c < acrossV.size(); ++c) {
        const int column = columns + static_cast<int>(c);
        const int exponent = constraintsV_[c].exponent;
        for (int i = 0; i < rows; ++i)
            for (int k = 0; k < d; ++k)
                right(i, column, k) = std::ldexp(valueOn(acrossV[c], i, d, k), exponent);
        for (std::size_t a = 0; a < acrossU.size(); ++a)
            fillCrossing(data, acrossU[a], rows + static_cast<int>(a), acrossV[c], column,
                         constraintsU_[a].exponent + exponent);
    }
}

void ScaledSurface::fillCrossing(const SurfaceData& data, const LineConstraint& lineU, int row,
                                 const LineConstraint& lineV, int column, int exponent)
{
    const int d = dimension_;
    const int sampleV = lineV.derivative == 0 ? sampleAt(data.vParameters, lineV.parameter) : -1;
    const int sampleU = lineU.derivative == 0 ? sampleAt(data.uParameters, lineU.parameter) : -1;
    if (sampleV < 0 && sampleU < 0 && (lineU.derivative == 0 || lineV.derivative == 0)) {
        fault_ = "lines of constraints cross where neither has a sample";
        return;
    }
    for (int k = 0; k < d; ++k) {
        const double ofU = sampleV >= 0 ? valueOn(lineU, sampleV, d, k) : 0.0;
        const double ofV = sampleU >= 0 ? valueOn(lineV, sampleU, d, k) : 0.0;
        const double value = sampleV >= 0 ? ofU : ofV;  // of two derivatives the mixed one is 0
        if (sampleU >= 0 && sampleV >= 0 &&
            std::fabs(ofU - ofV) > kSameValue * std::max(std::fabs(ofU), std::fabs(ofV)))
            fault_ = "lines of constraints contradict each other where they cross";
        right(row, column, k) = std::ldexp(value, exponent);
    }
}

/// What has no weight shall not set the scale either.
void ScaledSurface::forgetUncounted()
{
    const auto step = static_cast<std::ptrdiff_t>(rhs_.width);
    const auto rows = static_cast<std::ptrdiff_t>(rhs_.high.size()) / step;
    for (int j = 0; j < v_.count(); ++j)
        if (!v_.counts(j)) std::fill_n(rhs_.high.begin() + step * j, step, 0.0);
    for (int i = 0; i < u_.count(); ++i)
        for (std::ptrdiff_t j = 0; !u_.counts(i) && j < rows; ++j)
            std::fill_n(rhs_.high.begin() + step * j + std::ptrdiff_t{i} * dimension_, dimension_,
                        0.0);
}

void ScaledSurface::scaleCoordinates()
{
    for (int k = 0; k < dimension_; ++k) {
        const double largest = largestOf(rhs_.high, k, dimension_);
        coordinateExponents_.push_back(std::isfinite(largest) ? exponentOf(largest) : 0);
    }
    divide(rhs_.high, coordinateExponents_);
    figureExponent_ = *std::max_element(coordinateExponents_.begin(), coordinateExponents_.end());
    for (const int exponent : coordinateExponents_)
        figureFactors_.push_back(std::ldexp(1.0, exponent - figureExponent_));
}

std::vector<double> ScaledSurface::controlPoints(const NumberBlock& x) const
{
    std::vector<double> points(x.high);
    std::vector<int> back;
    for (const int exponent : coordinateExponents_) back.push_back(-exponent);
    divide(points, back);
    return points;
}

NumberBlock ScaledSurface::scaled(const std::vector<double>& controlPoints) const
{
    NumberBlock x;
    x.width = u_.cols() * dimension_;
    x.high = controlPoints;
    divide(x.high, coordinateExponents_);
    return x;
}

double ScaledSurface::largestTerm(const NumberBlock& x) const
{
    double largest = 0.0;
    for (int k = 0; k < dimension_; ++k)
        largest = std::max(largest, largestOf(x.high, k, dimension_) *
                                        figureFactors_[static_cast<std::size_t>(k)]);
    return largest;
}

NumberBlock ScaledSurface::residuals(const NumberBlock& x) const
{
    NumberBlock left(v_.count(), u_.count() * dimension_, true);
    forResiduals<DoubleDouble>(x, [&left](int j, const DoubleDouble* r) {
        for (int c = 0; c < left.width; ++c) left.set(j, c, r[c]);
    });
    return left;
}

LineDeviations ScaledSurface::lineDeviations(const NumberBlock& x, const NumberBlock& alongV,
                                             const BandFit& fitU) const
{
    const int d = dimension_;
    if (constraintsU_.empty() && constraintsV_.empty()) return {};
    std::vector<double> sizes;
    for (int k = 0; k < d; ++k)  // 1: the right-hand sides'
        sizes.push_back(std::max(1.0, largestOf(x.high, k, d)));
    LineDeviations worst;
    const auto note = [&](DoubleDouble deviation, int k) {
        const auto at = static_cast<std::size_t>(k);
        const double size = std::isnan(deviation.high) ? HUGE_VAL : std::fabs(deviation.high);
        worst.share = std::max(worst.share, size / sizes[at]);
        worst.inUnits = std::max(worst.inUnits, std::ldexp(size, coordinateExponents_[at]));
    };

    for (std::size_t c = 0; c < constraintsU_.size(); ++c) {
        const ConstraintRow& row = constraintsU_[c];
        const int place = u_.count() + static_cast<int>(c);
        for (int j = 0; j < v_.cols(); ++j)
            for (int k = 0; k < d; ++k) {
                DoubleDouble off = alongV.number(j, place * d + k);
                int a = row.first;
                for (const DoubleDouble& entry : row.entries)
                    off += -(entry * x.number(j, a++ * d + k));
                note(off, k);
            }
    }
    if (constraintsV_.empty()) return worst;

    const auto lines = static_cast<int>(constraintsV_.size());
    const auto line = [&](int i, NumberBlock& to, int row) {  // row i of the grid, on the lines
        for (int c = 0; c < lines; ++c)
            for (int k = 0; k < d; ++k)
                to.high[to.at(row, c * d + k)] = rhs_.high[rhs_.at(v_.count() + c, i * d + k)];
    };
    NumberBlock samples(u_.count(), lines * d, false);
    NumberBlock crossings(static_cast<int>(constraintsU_.size()), lines * d, false);
    for (int i = 0; i < u_.count(); ++i) line(i, samples, i);
    for (std::size_t c = 0; c < constraintsU_.size(); ++c)
        line(u_.count() + static_cast<int>(c), crossings, static_cast<int>(c));
    const NumberBlock fitted = fitU.solve(GridRows(u_, samples), crossings, d, kSameValue).x;
    for (int c = 0; c < lines; ++c)
        for (int i = 0; i < u_.cols(); ++i)
            for (int k = 0; k < d; ++k)
                note(residualOf(constraintsV_[static_cast<std::size_t>(c)],
                                fitted.number(i, c * d + k), x, i * d + k),
                     k);
    return worst;
}

}  // namespace knotwork
