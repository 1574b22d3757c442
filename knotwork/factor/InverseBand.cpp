// SPDX-License-Identifier: MIT
#include "knotwork/factor/InverseBand.h"

#include <algorithm>

namespace knotwork {

InverseBand::InverseBand(const BandTriangle& S)
{
    // A row reaches as far as any row above it, so that what a row is made from is there.
    int end = 0;
    for (int i = 0; i < S.size(); ++i) {
        end = std::max({end, i + 1, i + S.count(i)});
        starts_.push_back(starts_.back() + end - i);
    }
    values_.resize(static_cast<std::size_t>(starts_.back()));
    std::vector<double> shares;
    for (int i = S.size() - 1; i >= 0; --i) {
        const double diagonal = S.diagonal(i);
        const int count = S.count(i);
        shares.clear();
        for (int k = 1; k < count; ++k) shares.push_back(S.row(i)[k] / diagonal);
        double* row = values_.data() + start(i);
        for (int j = i + 1; j < this->end(i); ++j) {
            double sum = 0.0;
            for (int k = i + 1; k < i + count; ++k)
                sum += shares[static_cast<std::size_t>(k - i - 1)] *
                       entry(std::min(k, j), std::max(k, j));
            row[j - i] = -sum;
        }
        double sum = 1.0 / (diagonal * diagonal);
        for (int k = 1; k < count; ++k) sum -= shares[static_cast<std::size_t>(k - 1)] * row[k];
        row[0] = sum;
    }
}

double InverseBand::trace() const
{
    double sum = 0.0;
    for (int i = 0; i < size(); ++i) sum += entry(i, i);
    return sum;
}

double InverseBand::trace(const SpanRows& rows, int firstRow, int endRow) const
{
    double sum = 0.0;
    for (int r = firstRow; r < endRow; ++r) {
        const double* f = rows.values(r);
        const int first = rows.first(r);
        for (int a = 0; a < rows.count(r); ++a) {
            double twice = 0.0;
            for (int b = a + 1; b < rows.count(r); ++b) twice += entry(first + a, first + b) * f[b];
            sum += f[a] * (entry(first + a, first + a) * f[a] + 2.0 * twice);
        }
    }
    return sum;
}

}  // namespace knotwork
