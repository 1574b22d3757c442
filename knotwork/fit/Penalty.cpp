// SPDX-License-Identifier: MIT
#include "knotwork/fit/Penalty.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

namespace {

struct GaussPoint {
    DoubleDouble at;  // in (0, 1)
    DoubleDouble weight;
};

/// Newton's iteration on Legendre's polynomial, from Tricomi's estimate of its zeros.
std::vector<GaussPoint> gaussPoints(int n)
{
    constexpr int kSteps = 6;  // 3 digits, then twice as many each
    constexpr double kPi = 3.14159265358979323846;
    const DoubleDouble one(1.0);
    std::vector<GaussPoint> points;
    for (int i = 0; i < n; ++i) {
        DoubleDouble x(-std::cos(kPi * (i + 0.75) / (n + 0.5)));
        DoubleDouble slope;
        for (int step = 0; step < kSteps; ++step) {
            DoubleDouble below(1.0);
            DoubleDouble here = x;
            for (int k = 2; k <= n; ++k) {
                const DoubleDouble next =
                    (DoubleDouble(2.0 * k - 1.0) * x * here - DoubleDouble(k - 1.0) * below) /
                    DoubleDouble(k);
                below = here;
                here = next;
            }
            slope = DoubleDouble(n) * (below - x * here) / (one - x * x);
            x += -(here / slope);
        }
        points.push_back({(x + one) * DoubleDouble(0.5), one / ((one - x * x) * slope * slope)});
    }
    return points;
}

DoubleDouble power(DoubleDouble x, int exponent)
{
    DoubleDouble y(1.0);
    for (int i = 0; i < exponent; ++i) y = y * x;
    return y;
}

}  // namespace

Penalty::Penalty(const BsplineBasis& basis, int order)
    : spans_(basis.count() - basis.degree()), width_(basis.degree() + 1), order_(order)
{
    const int p = basis.degree();
    const double* knots = basis.knots().data();
    const std::vector<GaussPoint> points = gaussPoints(p - order + 1);
    const DoubleDouble factor =
        power(DoubleDouble(basis.last()) - DoubleDouble(basis.first()), 2 * order - 1);
    for (int s = p; s < basis.count(); ++s) {
        const DoubleDouble length = DoubleDouble(knots[s + 1]) - DoubleDouble(knots[s]);
        if (length.high == 0.0) continue;
        for (const GaussPoint& point : points) {
            rows_.push_back({s - p, factor * length * point.weight});
            entries_.resize(entries_.size() + static_cast<std::size_t>(width_));
            basisRow(knots, p, s, DoubleDouble(knots[s]) + length * point.at, order,
                     entries_.data() + entries_.size() - width_);
        }
    }
}

SpanTriangles Penalty::triangles(int rhsWidth) const
{
    SpanTriangles triangles(spans_, width_, rhsWidth);
    const std::ptrdiff_t leading = (std::ptrdiff_t{width_} + 3) / 4 * 4;
    std::vector<double> columns(static_cast<std::size_t>(leading * (width_ + rhsWidth)));
    for (std::size_t r = 0; r < rows_.size();) {
        const int span = rows_[r].first;
        std::fill(columns.begin(), columns.end(), 0.0);
        int count = 0;
        for (; r < rows_.size() && rows_[r].first == span; ++r, ++count) {
            const double root = std::sqrt(rows_[r].weight.high);
            for (int k = 0; k < width_; ++k)
                columns[static_cast<std::size_t>(leading * k + count)] = root * entries(r)[k].high;
        }
        triangles.add(span, count, leading, columns.data());
    }
    return triangles;
}

void Penalty::addResiduals(double factor, const NumberBlock& x, ResidualSums& sums) const
{
    if (x.high.empty()) return;
    for (std::size_t r = 0; r < rows_.size(); ++r) {
        const int first = rows_[r].first;
        const DoubleDouble weight = rows_[r].weight * DoubleDouble(factor);
        for (int c = 0; c < x.width; ++c) {
            DoubleDouble left;
            for (int k = 0; k < width_; ++k) left += -(entries(r)[k] * x.number(first + k, c));
            const DoubleDouble pull = weight * left;
            sums.squares[static_cast<std::size_t>(c)] += pull.high * left.high;
            for (int k = 0; k < width_; ++k) sums.gradient.add(first + k, c, entries(r)[k] * pull);
        }
    }
}

ResidualSums PenalisedRows::residualSums(const NumberBlock& x) const
{
    ResidualSums sums = rows_.residualSums(x);
    penalty_.addResiduals(factor_, x, sums);
    return sums;
}

ResidualSums PenalisedRows::exactResidualSums(const NumberBlock& x) const
{
    ResidualSums sums = rows_.exactResidualSums(x);
    penalty_.addResiduals(factor_, x, sums);
    return sums;
}

double PenalisedRows::rounding() const
{
    return share_ * rows_.rounding();
}

double PenalisedRows::exactRounding() const
{
    return std::max(FitRows::exactRounding(), share_ * rows_.exactRounding());
}

}  // namespace knotwork
