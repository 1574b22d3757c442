// SPDX-License-Identifier: MIT
#include "knotwork/fit/SampleRows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

SampleRows::SampleRows(SampleReader reader, const BsplineBasis& scaledBasis, SampleScales scales,
                       double count, std::vector<double> figureFactors,
                       std::function<void(int)> progress)
    : reader_(std::move(reader)),
      basis_(scaledBasis),
      scales_(std::move(scales)),
      count_(count),
      factors_(std::move(figureFactors)),
      progress_(std::move(progress)),
      columns_(static_cast<std::size_t>(kRunRows) * static_cast<std::size_t>(basis_.degree() + 1))
{
}

template <class Sum>
ResidualSums SampleRows::pass(int dimension, Sum sum) const
{
    ResidualSums sums(basis_.count(), dimension);
    SampleRuns runs(basis_, dimension);
    figures_ = Figures();
    reader_([&](const SampleStretch& stretch) {
        runs.forRuns(stretch, scales_, [&](const SampleRun& run) { sum(run, stretch, sums); });
        figures_.count += stretch.count;
    });
    return sums;
}

ResidualSums SampleRows::residualSums(const NumberBlock& x) const
{
    return pass(static_cast<int>(factors_.size()),
                [&](const SampleRun& run, const SampleStretch& stretch, ResidualSums& sums) {
                    sumRun(run, stretch, x, sums);
                    if (progress_ != nullptr) progress_(run.count);
                });
}

ResidualSums SampleRows::exactResidualSums(const NumberBlock& x) const
{
    return pass(static_cast<int>(factors_.size()),
                [&](const SampleRun& run, const SampleStretch& stretch, ResidualSums& sums) {
                    sumExactly(run, stretch, x, sums);
                });
}

void SampleRows::sumRun(const SampleRun& run, const SampleStretch& stretch, const NumberBlock& x,
                        ResidualSums& sums) const
{
    const int width = basis_.degree() + 1;
    const int first = run.span - basis_.degree();
    const int d = x.width;
    const std::ptrdiff_t rows = paddedRows(run.count);
    basisColumns(basis_.knots().data(), basis_.degree(), run.span, run.parameters, run.count,
                 columns_.data(), rows);
    double squares[kRunRows] = {};
    double left[kRunRows];
    double weighted[kRunRows];
    double products[kMostBasisDegree + 1];
    for (int k = 0; k < d; ++k) {
        runResiduals(run.count, width, columns_.data(), rows, &x.high[x.at(first, k)], d,
                     run.points + std::ptrdiff_t{kRunRows} * k, left);
        std::fill(left + run.count, left + rows, 0.0);
        const double factor = factors_[static_cast<std::size_t>(k)];
        for (int i = 0; i < rows; ++i) squares[i] += left[i] * factor * (left[i] * factor);
        const double* pulls = left;
        if (run.weights != nullptr) {
            for (int i = 0; i < rows; ++i) weighted[i] = run.weights[i] * left[i];
            pulls = weighted;
        }
        runProducts(run.count, 1, left, rows, pulls, products);
        sums.squares[static_cast<std::size_t>(k)] += products[0];
        runProducts(run.count, width, columns_.data(), rows, pulls, products);
        for (int j = 0; j < width; ++j) {
            const std::size_t at = sums.gradient.at(first + j, k);
            const DoubleDouble both = twoSum(sums.gradient.high[at], products[j]);
            sums.gradient.high[at] = both.high;
            sums.gradient.low[at] += both.low;
        }
    }
    note(run, stretch, squares);
}

void SampleRows::sumExactly(const SampleRun& run, const SampleStretch& stretch,
                            const NumberBlock& x, ResidualSums& sums) const
{
    const int p = basis_.degree();
    const int d = x.width;
    const int first = run.span - p;
    double weights[kRunRows] = {};
    for (int i = 0; i < run.count; ++i) weights[i] = run.weights != nullptr ? run.weights[i] : 1.0;
    std::vector<DoubleDouble> unknowns;
    for (int j = 0; j <= p; ++j)
        for (int k = 0; k < d; ++k) unknowns.push_back(x.number(first + j, k));
    std::vector<DoubleDouble> products(unknowns.size());
    std::vector<double> left(static_cast<std::size_t>(kRunRows) * static_cast<std::size_t>(d));
    sumExactRun({basis_.knots().data() + run.span, p, run.count, run.parameters, d, run.points,
                 weights, unknowns.data(), left.data(), products.data()});
    double squares[kRunRows] = {};
    for (int k = 0; k < d; ++k) {
        const double* r = left.data() + std::ptrdiff_t{kRunRows} * k;
        const double factor = factors_[static_cast<std::size_t>(k)];
        for (int i = 0; i < run.count; ++i) {
            squares[i] += r[i] * factor * (r[i] * factor);
            sums.squares[static_cast<std::size_t>(k)] += weights[i] * r[i] * r[i];
        }
        for (int j = 0; j <= p; ++j)
            sums.gradient.add(first + j, k, products[static_cast<std::size_t>(j * d + k)]);
    }
    note(run, stretch, squares);
}

/// Counts a run's squared distances.
void SampleRows::note(const SampleRun& run, const SampleStretch& stretch,
                      const double* squares) const
{
    double total = 0.0;
    double weights = run.count;
    double largest = -1.0;
    int number = 0;
    if (run.weights == nullptr) {
        for (int i = 0; i < run.count; ++i) total += squares[i];
        for (int i = 0; i < run.count; ++i) largest = std::max(largest, squares[i]);
    } else {
        weights = 0.0;
        for (int i = 0; i < run.count; ++i) {
            total += run.weights[i] * squares[i];
            weights += run.weights[i];
            if (run.weights[i] > 0.0) largest = std::max(largest, squares[i]);
        }
    }
    if (!figures_.tally.add(total, weights, largest)) return;
    while (squares[number] != largest || (run.weights != nullptr && run.weights[number] == 0.0))
        ++number;
    figures_.largestAt = stretch.parameters[run.numbers[number]];
}

}  // namespace knotwork
