// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

namespace knotwork {

constexpr int kMostBasisDegree = 30;

/// The degree + 1 basis functions (or their derivatives of an order up to the degree) that are not
/// zero in span s, at t, to `row`. Number: double, or one that holds the differences of doubles
/// exactly; Parameter: double, or Number.
/// Source    de Boor: A Practical Guide to Splines (Springer 1978), chapter X.
template <class Number, class Parameter>
void basisRow(const double* knots, int p, int s, Parameter t, int derivative, Number* row)
{
    Number lower[kMostBasisDegree + 1];
    row[0] = 1.0;
    // From degree q - 1 to q: function j (number s - q + j) takes its share of functions j - 1 and
    // j below it. While q <= p - derivative the shares are those of the value recurrence, from
    // there on those of the derivative.
    for (int q = 1; q <= p; ++q) {
        const bool value = q <= p - derivative;
        std::copy_n(row, q, lower);
        std::fill_n(row, q + 1, Number(0.0));
        for (int j = 0; j < q; ++j) {
            const double left = knots[s - q + 1 + j];
            const double right = knots[s + 1 + j];
            const Number weight = lower[j] / (Number(right) - Number(left));
            row[j] += value ? (Number(right) - Number(t)) * weight : Number(-q) * weight;
            row[j + 1] += value ? (Number(t) - Number(left)) * weight : Number(q) * weight;
        }
    }
}

}  // namespace knotwork
