// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveState.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ParameterRange.h"
#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

namespace {

constexpr int kHeadroom = 64;  // powers of two by which numbers may outgrow their scale

}  // namespace

/// The largest numbers of a stretch.
struct CurveState::Sizes {
    std::vector<double> largest;
    double heaviest = 0.0;
    long long counted = 0;
};

CurveState::CurveState(const BsplineBasis& basis, int dimension)
    : basis_(basis),
      scaled_(knotwork::scaledBasis(basis, parameterExponent(basis))),
      triangles_(basis.count() - basis.degree(), basis.degree() + 1, dimension),
      runs_(scaled_, dimension),
      largest_(static_cast<std::size_t>(dimension), 0.0),
      block_(static_cast<std::size_t>(kRunRows) *
             static_cast<std::size_t>(basis.degree() + 1 + dimension))
{
    scales_.parameter = parameterExponent(basis);
    scales_.coordinates.assign(static_cast<std::size_t>(dimension), 0);
}

/// Looks over a stretch before anything of it is added.
std::string CurveState::look(const SampleStretch& stretch, Sizes& sizes) const
{
    const auto named = [this](const char* noun, int i) {
        return std::string(noun) + " " + std::to_string(rows_ + i);
    };
    const ParameterRange range(basis_);
    const int d = dimension();
    sizes.largest.assign(static_cast<std::size_t>(d), 0.0);
    const double* point = stretch.points;
    for (int i = 0; i < stretch.count; ++i, point += d) {
        const double t = stretch.parameters[i];
        if (!range.takes(t, stretch.count)) {
            if (!std::isfinite(t)) return named("parameter", i) + " is no finite number";
            return named("parameter", i) + ", " + shortestText(t) + ", lies outside the knots";
        }
        for (int k = 0; k < d; ++k) {
            const double magnitude = std::fabs(point[k]);
            double& largest = sizes.largest[static_cast<std::size_t>(k)];
            if (magnitude <= largest) continue;
            if (!std::isfinite(magnitude))
                return "a coordinate of " + named("point", i) + " is no finite number";
            largest = magnitude;
        }
    }
    for (int i = 0; stretch.weights != nullptr && i < stretch.count; ++i) {
        const double weight = stretch.weights[i];
        if (!std::isfinite(weight)) return named("weight", i) + " is no finite number";
        if (weight < 0.0) return named("weight", i) + " is negative";
        sizes.heaviest = std::max(sizes.heaviest, weight);
        if (weight > 0.0) ++sizes.counted;
    }
    if (stretch.weights == nullptr && stretch.count > 0) {
        sizes.heaviest = 1.0;
        sizes.counted = stretch.count;
    }
    return "";
}

void CurveState::raiseCoordinate(int k, int exponent)
{
    int& now = scales_.coordinates[static_cast<std::size_t>(k)];
    triangles_.scaleRhs(k, std::ldexp(1.0, now - exponent));
    now = exponent;
}

void CurveState::raiseWeightRoot(int exponent)
{
    const double factor = std::ldexp(1.0, scales_.weightRoot - exponent);
    triangles_.scaleRows(factor);
    weights_ = weights_ * DoubleDouble(factor) * DoubleDouble(factor);
    scales_.weightRoot = exponent;
}

/// A scale is chosen when there is something to measure it by, and again when that is outgrown.
void CurveState::raiseScales(const std::vector<double>& largest, double heaviest)
{
    for (int k = 0; k < dimension(); ++k) {
        double& known = largest_[static_cast<std::size_t>(k)];
        const double size = largest[static_cast<std::size_t>(k)];
        if (size == 0.0) continue;
        const int exponent = exponentOf(size);
        if (known == 0.0)
            scales_.coordinates[static_cast<std::size_t>(k)] = exponent;
        else if (exponent > scales_.coordinates[static_cast<std::size_t>(k)] + kHeadroom)
            raiseCoordinate(k, exponent);
        known = std::max(known, size);
    }
    if (heaviest == 0.0) return;
    const int exponent = exponentOf(std::sqrt(heaviest));
    if (!weighted_)
        scales_.weightRoot = exponent;
    else if (exponent > scales_.weightRoot + kHeadroom)
        raiseWeightRoot(exponent);
    weighted_ = true;
}

std::string CurveState::add(const SampleStretch& stretch, const std::function<void(int)>& progress)
{
    Sizes sizes;
    std::string fault = look(stretch, sizes);
    if (!fault.empty()) return fault;
    raiseScales(sizes.largest, sizes.heaviest);
    const int width = triangles_.width();
    const int d = dimension();
    runs_.forRuns(stretch, scales_, [&](const SampleRun& run) {
        const std::ptrdiff_t rows = paddedRows(run.count);
        double* columns = block_.data();
        basisColumns(scaled_.knots().data(), scaled_.degree(), run.span, run.parameters, run.count,
                     columns, rows);
        for (int k = 0; k < d; ++k)
            std::copy_n(run.points + std::ptrdiff_t{kRunRows} * k, rows,
                        columns + rows * (width + k));
        if (run.weights != nullptr || rows != run.count) {
            double roots[kRunRows];
            for (int i = 0; i < rows; ++i)
                roots[i] = run.weights != nullptr ? std::sqrt(run.weights[i])
                                                  : (i < run.count ? 1.0 : 0.0);
            for (int c = 0; c < width + d; ++c)
                for (int i = 0; i < rows; ++i) columns[rows * c + i] *= roots[i];
        }
        triangles_.add(run.span - scaled_.degree(), run.count, rows, columns);
        double sum = run.weights != nullptr ? 0.0 : run.count;
        for (int i = 0; run.weights != nullptr && i < run.count; ++i) sum += run.weights[i];
        weights_ += DoubleDouble(sum);
        if (progress != nullptr) progress(run.count);
    });
    rows_ += stretch.count;
    counted_ += sizes.counted;
    return "";
}

std::string CurveState::merge(const CurveState& other)
{
    if (other.dimension() != dimension()) return "the points have another number of coordinates";
    if (other.basis_ != basis_) return "the basis is another one";
    CurveState part(other);
    for (int k = 0; k < dimension(); ++k) {
        const auto at = static_cast<std::size_t>(k);
        if (part.largest_[at] == 0.0) continue;
        const int mine = scales_.coordinates[at];
        const int theirs = part.scales_.coordinates[at];
        if (largest_[at] == 0.0)
            scales_.coordinates[at] = theirs;
        else if (theirs > mine)
            raiseCoordinate(k, theirs);
        else
            part.raiseCoordinate(k, mine);
        largest_[at] = std::max(largest_[at], part.largest_[at]);
    }
    if (part.weighted_) {
        if (!weighted_)
            scales_.weightRoot = part.scales_.weightRoot;
        else if (part.scales_.weightRoot > scales_.weightRoot)
            raiseWeightRoot(part.scales_.weightRoot);
        else
            part.raiseWeightRoot(scales_.weightRoot);
        weighted_ = true;
    }
    triangles_.merge(part.triangles_);
    weights_ += part.weights_;
    rows_ += part.rows_;
    counted_ += part.counted_;
    return "";
}

SpanTriangles CurveState::scaledTo(const std::vector<int>& exponents) const
{
    SpanTriangles scaled = triangles_;
    for (int k = 0; k < dimension(); ++k) {
        const auto at = static_cast<std::size_t>(k);
        scaled.scaleRhs(k, std::ldexp(1.0, scales_.coordinates[at] - exponents[at]));
    }
    return scaled;
}

RowStream compressed(const SpanTriangles& triangles, const BandOrder& order, bool withRhs)
{
    RowStream stream(order.unknowns(triangles.cols()), withRhs ? triangles.rhsWidth() : 0);
    std::vector<double> scratch;
    for (int span = 0; span < triangles.spans(); ++span)
        for (int i = 0; i < triangles.width(); ++i) {
            const BandOrder::Placed row =
                order.placed(span + i, triangles.row(span, i), triangles.width() - i, scratch);
            stream.add(row.first, row.entries, row.count, triangles.rhs(span, i));
        }
    stream.finish();
    return stream;
}

namespace {

/// add(row, count, its first column, right-hand side k, sums) for every row and right-hand side.
template <class Add>
ResidualSums sumRows(const SpanTriangles& triangles, Add add)
{
    ResidualSums sums(triangles.cols(), triangles.rhsWidth());
    for (int k = 0; k < triangles.rhsWidth(); ++k)
        sums.squares[static_cast<std::size_t>(k)] = triangles.squares(k);
    for (int span = 0; span < triangles.spans(); ++span)
        for (int i = 0; i < triangles.width(); ++i)
            for (int k = 0; k < triangles.rhsWidth(); ++k)
                add(triangles.row(span, i), triangles.width() - i, span + i, k, sums);
    return sums;
}

}  // namespace

ResidualSums TriangleRows::residualSums(const NumberBlock& x) const
{
    return sumRows(triangles_,
                   [&x](const double* row, int count, int first, int k, ResidualSums& sums) {
                       double r = row[count + k];
                       for (int j = 0; j < count && !x.high.empty(); ++j)
                           r -= row[j] * x.high[x.at(first + j, k)];
                       sums.squares[static_cast<std::size_t>(k)] += r * r;
                       for (int j = 0; j < count; ++j) {
                           const std::size_t at = sums.gradient.at(first + j, k);
                           const DoubleDouble both = twoSum(sums.gradient.high[at], row[j] * r);
                           sums.gradient.high[at] = both.high;
                           sums.gradient.low[at] += both.low;
                       }
                   });
}

ResidualSums TriangleRows::exactResidualSums(const NumberBlock& x) const
{
    return sumRows(triangles_,
                   [&x](const double* row, int count, int first, int k, ResidualSums& sums) {
                       DoubleDouble r = row[count + k];
                       for (int j = 0; j < count; ++j)
                           r += -(DoubleDouble(row[j]) * x.number(first + j, k));
                       sums.squares[static_cast<std::size_t>(k)] += r.high * r.high;
                       for (int j = 0; j < count; ++j)
                           sums.gradient.add(first + j, k, DoubleDouble(row[j]) * r);
                   });
}

}  // namespace knotwork
