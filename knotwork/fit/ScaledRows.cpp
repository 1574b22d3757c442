// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledRows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/RowStream.h"
#include "knotwork/fit/BasisRecurrence.h"

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
    return BsplineBasis(basis.degree(), std::move(knots));
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

BandTriangle ScaledRows::triangle() const
{
    RowStream stream(cols(), 0);
    for (int i = 0; i < count(); ++i) stream.add(firstColumn(i), entries(i), width(), nullptr);
    stream.finish();
    return stream.triangle();
}

namespace {

constexpr int kChunk = 64;  // right-hand sides that go through the rows together

void sumColumns(const ScaledRows& rows, const NumberBlock& b, const NumberBlock& x, int first,
                int n, ResidualSums& sums)
{
    const int width = rows.width();
    const std::ptrdiff_t step = b.width;
    const double* right = b.high.data() + first;
    const double* unknowns = x.high.empty() ? nullptr : x.high.data() + first;
    double* high = sums.gradient.high.data() + first;
    double* low = sums.gradient.low.data() + first;
    double* squares = sums.squares.data() + first;
    double r[kChunk];
    for (int i = 0; i < rows.count(); ++i, right += step) {
        const double* entries = rows.entries(i);
        const std::ptrdiff_t place = step * rows.firstColumn(i);
        for (int c = 0; c < n; ++c) r[c] = right[c];
        if (unknowns != nullptr)
            for (int k = 0; k < width; ++k)
                for (int c = 0; c < n; ++c) r[c] -= entries[k] * unknowns[place + step * k + c];
        for (int c = 0; c < n; ++c) squares[c] += r[c] * r[c];
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

}  // namespace

ResidualSums GridRows::residualSums(const NumberBlock& x) const
{
    ResidualSums sums(rows_.cols(), b_.width);
    for (int first = 0; first < b_.width; first += kChunk)
        sumColumns(rows_, b_, x, first, std::min(kChunk, b_.width - first), sums);
    return sums;
}

ResidualSums GridRows::exactResidualSums(const NumberBlock& x) const
{
    ResidualSums sums(rows_.cols(), b_.width);
    DoubleDouble entries[kMostBasisDegree + 1];
    for (int i = 0; i < rows_.count(); ++i) {
        rows_.exactEntries(i, entries);
        const int first = rows_.firstColumn(i);
        for (int c = 0; c < b_.width; ++c) {
            DoubleDouble r = b_.number(i, c);
            for (int k = 0; k < rows_.width(); ++k) r += -(entries[k] * x.number(first + k, c));
            sums.squares[static_cast<std::size_t>(c)] += r.high * r.high;
            for (int k = 0; k < rows_.width(); ++k) sums.gradient.add(first + k, c, entries[k] * r);
        }
    }
    return sums;
}

}  // namespace knotwork
