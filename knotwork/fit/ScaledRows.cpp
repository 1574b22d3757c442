// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledRows.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "knotwork/fit/BasisRecurrence.h"
#include "knotwork/platform/cpu.h"
#include "knotwork/sparse/RowStream.h"

namespace knotwork {

int exponentOf(double magnitude)
{
    return magnitude > 0.0 ? std::ilogb(magnitude) : 0;
}

int parameterExponent(const BsplineBasis& basis)
{
    return exponentOf(basis.last() - basis.first());
}

BsplineBasis scaledBasis(const BsplineBasis& basis, int exponent)
{
    std::vector<double> knots = basis.knots();
    for (double& knot : knots) knot = std::ldexp(knot, -exponent);
    return basis.withKnots(std::move(knots));
}

ScaledRows::ScaledRows(const BsplineBasis& basis)
    : basis_(scaledBasis(basis, parameterExponent(basis))), exponent_(parameterExponent(basis))
{
}

void ScaledRows::add(double t)
{
    parameters_.push_back(std::ldexp(t, -exponent_));
    entries_.resize(entries_.size() + static_cast<std::size_t>(width()));
    firstColumn_.push_back(
        basis_.row(parameters_.back(), 0, entries_.data() + entries_.size() - width()));
}

void ScaledRows::exactEntries(int row, DoubleDouble* entries) const
{
    const int p = basis_.degree();
    basisRow(basis_.knots().data(), p, firstColumn(row) + p,
             parameters_[static_cast<std::size_t>(row)], 0, entries);
}

void ScaledRows::weigh(const DoubleVec& weights)
{
    const int n = static_cast<int>(weights.length());
    double heaviest = 0.0;
    for (int i = 0; i < n; ++i) heaviest = std::max(heaviest, weights(i));
    weightRoot_ = exponentOf(std::sqrt(heaviest));
    for (int i = 0; i < n; ++i) weights_.push_back(std::ldexp(weights(i), -2 * weightRoot_));
}

double ScaledRows::constraintWeight() const
{
    return std::ldexp(1.0, -2 * weightRoot_);
}

double ScaledRows::weights() const
{
    return weighted() ? std::accumulate(weights_.begin(), weights_.end(), 0.0) : count();
}

int ScaledRows::counted() const
{
    return weighted() ? static_cast<int>(std::count_if(weights_.begin(), weights_.end(),
                                                       [](double w) { return w > 0.0; }))
                      : count();
}

BandTriangle ScaledRows::triangle() const
{
    RowStream stream(cols(), 0);
    double row[kMostBasisDegree + 1];
    for (int i = 0; i < count(); ++i) {
        if (!counts(i)) continue;
        const double root = std::sqrt(weight(i));
        for (int k = 0; k < width(); ++k) row[k] = root * entries(i)[k];
        stream.add(firstColumn(i), row, width(), nullptr);
    }
    stream.finish();
    return stream.triangle();
}

namespace {

constexpr int kChunk = 64;  // right-hand sides that go through the rows together

struct SumColumns {
    [[gnu::always_inline]] void operator()(const ScaledRows* of, const NumberBlock* rhs,
                                           const NumberBlock* solution, int first, int n,
                                           ResidualSums* to) const
    {
        const ScaledRows& rows = *of;
        const NumberBlock& b = *rhs;
        const NumberBlock& x = *solution;
        ResidualSums& sums = *to;
        const int width = rows.width();
        const std::ptrdiff_t step = b.width;
        const double* right = b.high.data() + first;
        const double* unknowns = x.high.empty() ? nullptr : x.high.data() + first;
        double* high = sums.gradient.high.data() + first;
        double* low = sums.gradient.low.data() + first;
        double* squares = sums.squares.data() + first;
        double r[kChunk];
        for (int i = 0; i < rows.count(); ++i, right += step) {
            const double weight = rows.weight(i);
            if (!(weight > 0.0)) continue;
            const double* entries = rows.entries(i);
            const std::ptrdiff_t place = step * rows.firstColumn(i);
            for (int c = 0; c < n; ++c) r[c] = right[c];
            if (unknowns != nullptr)
                for (int k = 0; k < width; ++k)
                    for (int c = 0; c < n; ++c) r[c] -= entries[k] * unknowns[place + step * k + c];
            for (int c = 0; c < n; ++c) squares[c] += weight * r[c] * r[c];
            if (weight != 1.0)
                for (int c = 0; c < n; ++c) r[c] *= weight;
            for (int k = 0; k < width; ++k) {
                double* sum = high + place + step * k;
                double* lost = low + place + step * k;
                for (int c = 0; c < n; ++c) {
                    const DoubleDouble both = twoSum(sum[c], entries[k] * r[c]);
                    sum[c] = both.high;
                    lost[c] += both.low;
                }
            }
        }
    }
};

}  // namespace

ResidualSums GridRows::residualSums(const NumberBlock& x) const
{
    ResidualSums sums(rows_.cols(), b_.width);
    for (int first = 0; first < b_.width; first += kChunk) {
        const int n = std::min(kChunk, b_.width - first);
        runKernel(SumColumns(), &rows_, &b_, &x, first, n, &sums);
        if (meter_ != nullptr) meter_->add(static_cast<double>(n) * rows_.count());
    }
    return sums;
}

ResidualSums GridRows::exactResidualSums(const NumberBlock& x) const
{
    ResidualSums sums(rows_.cols(), b_.width);
    DoubleDouble entries[kMostBasisDegree + 1];
    for (int i = 0; i < rows_.count(); ++i) {
        if (!rows_.counts(i)) continue;
        const DoubleDouble weight(rows_.weight(i));
        rows_.exactEntries(i, entries);
        const int first = rows_.firstColumn(i);
        for (int c = 0; c < b_.width; ++c) {
            DoubleDouble r = b_.number(i, c);
            for (int k = 0; k < rows_.width(); ++k) r += -(entries[k] * x.number(first + k, c));
            const DoubleDouble pull = rows_.weighted() ? r * weight : r;
            sums.squares[static_cast<std::size_t>(c)] += pull.high * r.high;
            for (int k = 0; k < rows_.width(); ++k)
                sums.gradient.add(first + k, c, entries[k] * pull);
        }
    }
    return sums;
}

}  // namespace knotwork
