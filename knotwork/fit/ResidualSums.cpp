// SPDX-License-Identifier: MIT
#include "knotwork/fit/ResidualSums.h"

#include <algorithm>

namespace knotwork {

namespace {

constexpr int kMostWidth = BsplineBasis::kMostDegree + 1;
constexpr int kChunk = 64;   // columns that go through the rows together
constexpr int kTold = 4096;  // rows between two words of progress

/// Columns [first, first + Count) of the blocks; Count 0: `count`, up to kChunk.
template <int Count>
void sumColumns(const ScaledRows& rows, int rowCount, const NumberBlock& b, const NumberBlock& x,
                int first, int count, ResidualSums& sums, const std::function<void(int)>& progress)
{
    const int n = Count > 0 ? Count : count;
    const int width = rows.width();
    const std::ptrdiff_t step = b.width;
    const double* right = b.high.data() + first;
    const double* unknowns = x.high.empty() ? nullptr : x.high.data() + first;
    double* high = sums.gradient.high.data() + first;
    double* low = sums.gradient.low.data() + first;
    double squares[Count > 0 ? Count : kChunk] = {};
    double r[Count > 0 ? Count : kChunk];
    for (int i = 0; i < rowCount; ++i, right += step) {
        if (progress != nullptr && (i + 1) % kTold == 0) progress(kTold);
        const double weight = rows.weight(i);
        if (weight == 0.0) continue;
        const double* entries = rows.entries(i);
        const std::ptrdiff_t place = step * rows.firstColumn(i);
        for (int c = 0; c < n; ++c) r[c] = right[c];
        if (unknowns != nullptr)
            for (int k = 0; k < width; ++k)
                for (int c = 0; c < n; ++c) r[c] -= entries[k] * unknowns[place + step * k + c];
        for (int c = 0; c < n; ++c) {
            const double weighted = weight * r[c];
            squares[c] += weighted * r[c];
            r[c] = weighted;
        }
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
    for (int c = 0; c < n; ++c) sums.squares[static_cast<std::size_t>(first + c)] = squares[c];
}

}  // namespace

ResidualSums sumResiduals(const ScaledRows& rows, int count, const NumberBlock& b,
                          const NumberBlock& x, const std::function<void(int)>& progress)
{
    ResidualSums sums = {NumberBlock(rows.cols(), b.width, true),
                         std::vector<double>(static_cast<std::size_t>(b.width), 0.0)};
    const auto columns = [&](auto sum, int first, int n) {
        sum(rows, count, b, x, first, n, sums, first == 0 ? progress : nullptr);
    };
    switch (b.width) {
        case 1:
            columns(sumColumns<1>, 0, 1);
            break;
        case 2:
            columns(sumColumns<2>, 0, 2);
            break;
        case 3:
            columns(sumColumns<3>, 0, 3);
            break;
        default:
            for (int first = 0; first < b.width; first += kChunk)
                columns(sumColumns<0>, first, std::min(kChunk, b.width - first));
    }
    return sums;
}

ResidualSums sumResidualsExactly(const ScaledRows& rows, int count, const NumberBlock& b,
                                 const NumberBlock& x)
{
    ResidualSums sums = {NumberBlock(rows.cols(), b.width, true),
                         std::vector<double>(static_cast<std::size_t>(b.width), 0.0)};
    DoubleDouble entries[kMostWidth];
    for (int i = 0; i < count; ++i) {
        const double weight = rows.weight(i);
        if (weight == 0.0) continue;
        rows.exactEntries(i, entries);
        const int first = rows.firstColumn(i);
        for (int c = 0; c < b.width; ++c) {
            DoubleDouble r = b.number(i, c);
            for (int k = 0; k < rows.width(); ++k) r += -(entries[k] * x.number(first + k, c));
            const DoubleDouble weighted = r * DoubleDouble(weight);
            sums.squares[static_cast<std::size_t>(c)] += weighted.high * r.high;
            for (int k = 0; k < rows.width(); ++k)
                sums.gradient.set(first + k, c,
                                  sums.gradient.number(first + k, c) + entries[k] * weighted);
        }
    }
    return sums;
}

DoubleDouble exactResidual(const ScaledRows& rows, int row, const NumberBlock& b,
                           const NumberBlock& x, int column)
{
    DoubleDouble entries[kMostWidth];
    rows.exactEntries(row, entries);
    DoubleDouble r = b.number(row, column);
    for (int k = 0; k < rows.width(); ++k)
        r += -(entries[k] * x.number(rows.firstColumn(row) + k, column));
    return r;
}

}  // namespace knotwork
