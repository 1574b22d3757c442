// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// The entries of (S^T S)^-1 within the band of an upper triangle S, without those beyond it.
/// Number: double, or one that holds more digits.
/// Method    from the last row up each row of the inverse follows from those below it in the band:
///           O(n w^2) for n rows of w entries.
/// Accuracy  of the largest entry, some eps of Number times the condition of S, or where S is near
///           a difference of high order up to its square; infinite or NaN where a diagonal entry is
///           0.
/// Source    Takahashi, Fagan, Chin: Formation of a sparse bus impedance matrix and its application
///           to short circuit study, Proc. 8th PICA Conference (1973); for splines Hutchinson, de
///           Hoog: Smoothing noisy data with spline functions, Numer. Math. 47 (1985).
template <class Number>
class InverseBand {
  public:
    explicit InverseBand(const BandTriangle& S);

    int size() const { return static_cast<int>(starts_.size()) - 1; }
    int end(int i) const { return i + static_cast<int>(start(i + 1) - start(i)); }
    /// i <= j < end(i)
    const Number& entry(int i, int j) const
    {
        return values_[static_cast<std::size_t>(start(i) + j - i)];
    }

    Number trace() const;
    /// The sum of f^T (S^T S)^-1 f over rows f from `first` to before `end`, which have to be among
    /// those that S was made from: how much of the fit is theirs.
    Number trace(const SpanRows& rows, int first, int end) const;

  private:
    std::ptrdiff_t start(int i) const { return starts_[static_cast<std::size_t>(i)]; }

    std::vector<std::ptrdiff_t> starts_ = {0};
    std::vector<Number> values_;
};

template <class Number>
InverseBand<Number>::InverseBand(const BandTriangle& S)
{
    // A row reaches as far as any row above it, so that what a row is made from is there.
    int end = 0;
    for (int i = 0; i < S.size(); ++i) {
        end = std::max({end, i + 1, i + S.count(i)});
        starts_.push_back(starts_.back() + end - i);
    }
    values_.resize(static_cast<std::size_t>(starts_.back()));
    std::vector<Number> shares;
    for (int i = S.size() - 1; i >= 0; --i) {
        const Number diagonal(S.diagonal(i));
        const int count = S.count(i);
        shares.clear();
        for (int k = 1; k < count; ++k) shares.push_back(Number(S.row(i)[k]) / diagonal);
        Number* row = values_.data() + start(i);
        for (int j = i + 1; j < this->end(i); ++j) {
            Number sum(0.0);
            for (int k = i + 1; k < i + count; ++k)
                sum += shares[static_cast<std::size_t>(k - i - 1)] *
                       entry(std::min(k, j), std::max(k, j));
            row[j - i] = -sum;
        }
        Number sum = Number(1.0) / (diagonal * diagonal);
        for (int k = 1; k < count; ++k) sum += -(shares[static_cast<std::size_t>(k - 1)] * row[k]);
        row[0] = sum;
    }
}

template <class Number>
Number InverseBand<Number>::trace() const
{
    Number sum(0.0);
    for (int i = 0; i < size(); ++i) sum += entry(i, i);
    return sum;
}

template <class Number>
Number InverseBand<Number>::trace(const SpanRows& rows, int firstRow, int endRow) const
{
    Number sum(0.0);
    for (int r = firstRow; r < endRow; ++r) {
        const double* f = rows.values(r);
        const int first = rows.first(r);
        for (int a = 0; a < rows.count(r); ++a) {
            Number twice(0.0);
            for (int b = a + 1; b < rows.count(r); ++b)
                twice += entry(first + a, first + b) * Number(f[b]);
            sum +=
                Number(f[a]) * (entry(first + a, first + a) * Number(f[a]) + Number(2.0) * twice);
        }
    }
    return sum;
}

}  // namespace knotwork
