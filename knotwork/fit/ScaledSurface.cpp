// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledSurface.h"

#include <algorithm>
#include <cmath>

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

void addSamples(const DoubleVec& parameters, const ParameterRange& range, ScaledRows& rows)
{
    for (int i = 0, n = static_cast<int>(parameters.length()); i < n; ++i)
        rows.addData(range.clamped(parameters(i)));
}

}  // namespace

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
    fillSamples(data.points);
    fillLines(data, acrossU, acrossV);
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
    const ParameterRange rangeU(data.u);
    const ParameterRange rangeV(data.v);
    std::vector<int> rowExponents;
    int row = data.points.rows();
    for (const LineConstraint& line : acrossU) {
        rowExponents.push_back(u_.addConstraint(rangeU.clamped(line.parameter), line.derivative));
        for (int j = 0; j < data.points.cols(); ++j)
            for (int k = 0; k < d; ++k)
                right(row, j, k) = std::ldexp(valueOn(line, j, d, k), rowExponents.back());
        ++row;
    }
    int column = data.points.cols();
    for (const LineConstraint& line : acrossV) {
        const int exponent = v_.addConstraint(rangeV.clamped(line.parameter), line.derivative);
        for (int i = 0; i < data.points.rows(); ++i)
            for (int k = 0; k < d; ++k)
                right(i, column, k) = std::ldexp(valueOn(line, i, d, k), exponent);
        for (std::size_t a = 0; a < acrossU.size(); ++a)
            fillCrossing(data, acrossU[a], data.points.rows() + static_cast<int>(a), line, column,
                         rowExponents[a] + exponent);
        ++column;
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

void ScaledSurface::scaleCoordinates()
{
    const auto d = static_cast<std::size_t>(dimension_);
    std::vector<double> largest(d, 0.0);
    for (std::size_t i = 0; i < rhs_.high.size(); ++i)
        largest[i % d] = std::max(largest[i % d], std::fabs(rhs_.high[i]));
    for (const double size : largest) coordinateExponents_.push_back(exponentOf(size));
    for (std::size_t i = 0; i < rhs_.high.size(); ++i)
        rhs_.high[i] = std::ldexp(rhs_.high[i], -coordinateExponents_[i % d]);
    figureExponent_ = *std::max_element(coordinateExponents_.begin(), coordinateExponents_.end());
    for (const int exponent : coordinateExponents_)
        figureFactors_.push_back(std::ldexp(1.0, exponent - figureExponent_));
}

std::vector<double> ScaledSurface::controlPoints(const NumberBlock& x) const
{
    std::vector<double> points(x.high);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = std::ldexp(points[i], coordinateExponents_[i % coordinateExponents_.size()]);
    return points;
}

NumberBlock ScaledSurface::scaled(const std::vector<double>& controlPoints) const
{
    NumberBlock x(v_.cols(), u_.cols() * dimension_, false);
    for (std::size_t i = 0; i < controlPoints.size(); ++i)
        x.high[i] =
            std::ldexp(controlPoints[i], -coordinateExponents_[i % coordinateExponents_.size()]);
    return x;
}

double ScaledSurface::largestTerm(const NumberBlock& x) const
{
    double largest = 0.0;
    for (std::size_t i = 0; i < x.high.size(); ++i)
        largest =
            std::max(largest, std::fabs(x.high[i]) * figureFactors_[i % figureFactors_.size()]);
    return largest;
}

NumberBlock ScaledSurface::residuals(const NumberBlock& x) const
{
    NumberBlock left(v_.dataRows(), u_.dataRows() * dimension_, true);
    forResiduals<DoubleDouble>(x, [&](int i, int j, const DoubleDouble* r) {
        for (int k = 0; k < dimension_; ++k) left.set(j, i * dimension_ + k, r[k]);
    });
    return left;
}

LineDeviations ScaledSurface::lineDeviations(const NumberBlock& x, const NumberBlock& alongV,
                                             const BandFit& fitU) const
{
    const int d = dimension_;
    std::vector<double> sizes(static_cast<std::size_t>(d), 1.0);  // the right-hand sides'
    for (std::size_t i = 0; i < x.high.size(); ++i)
        sizes[i % sizes.size()] = std::max(sizes[i % sizes.size()], std::fabs(x.high[i]));
    LineDeviations worst;
    const auto note = [&](DoubleDouble deviation, int k) {
        const auto at = static_cast<std::size_t>(k);
        const double size = std::isnan(deviation.high) ? HUGE_VAL : std::fabs(deviation.high);
        worst.share = std::max(worst.share, size / sizes[at]);
        worst.inUnits = std::max(worst.inUnits, std::ldexp(size, coordinateExponents_[at]));
    };

    std::vector<DoubleDouble> entries(static_cast<std::size_t>(std::max(u_.width(), v_.width())));
    for (int row = u_.dataRows(); row < u_.count(); ++row) {
        u_.exactEntries(row, entries.data());
        for (int j = 0; j < v_.cols(); ++j)
            for (int k = 0; k < d; ++k) {
                DoubleDouble off = alongV.number(j, row * d + k);
                for (int a = 0; a < u_.width(); ++a)
                    off += -(entries[static_cast<std::size_t>(a)] *
                             x.number(j, (u_.firstColumn(row) + a) * d + k));
                note(off, k);
            }
    }
    if (v_.constraints() == 0) return worst;

    NumberBlock lines(u_.count(), v_.constraints() * d, false);
    for (int i = 0; i < u_.count(); ++i)
        for (int c = 0; c < v_.constraints(); ++c)
            for (int k = 0; k < d; ++k)
                lines.high[lines.at(i, c * d + k)] =
                    rhs_.high[rhs_.at(v_.dataRows() + c, i * d + k)];
    NumberBlock fitted;
    fitU.solve(lines, d, kSameValue, fitted);
    for (int c = 0; c < v_.constraints(); ++c) {
        const int row = v_.dataRows() + c;
        v_.exactEntries(row, entries.data());
        for (int i = 0; i < u_.cols(); ++i)
            for (int k = 0; k < d; ++k) {
                DoubleDouble off = fitted.number(i, c * d + k);
                for (int b = 0; b < v_.width(); ++b)
                    off += -(entries[static_cast<std::size_t>(b)] *
                             x.number(v_.firstColumn(row) + b, i * d + k));
                note(off, k);
            }
    }
    return worst;
}

}  // namespace knotwork
