// SPDX-License-Identifier: MIT
#include "knotwork/fit/ConstraintRow.h"

#include <algorithm>
#include <cmath>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

namespace {

constexpr double kCancelled = 1e-14;  // of the largest entry that was summed

DoubleDouble timesPowerOfTwo(const DoubleDouble& x, int exponent)
{
    return {std::ldexp(x.high, exponent), std::ldexp(x.low, exponent)};
}

/// Brings the row to about unit length.
void normalise(ConstraintRow& row)
{
    double squares = 0.0;
    for (const DoubleDouble& x : row.entries) squares += x.high * x.high;
    const int shrink = squares > 0.0 ? std::ilogb(std::sqrt(squares)) : 0;
    for (DoubleDouble& x : row.entries) x = timesPowerOfTwo(x, -shrink);
    row.exponent -= shrink;
}

ConstraintRow plainRow(const BsplineBasis& basis, double t, int derivative)
{
    const int p = basis.degree();
    const int s = basis.span(t);
    ConstraintRow row;
    row.first = s - p;
    row.entries.resize(static_cast<std::size_t>(p) + 1);
    basisRow(basis.knots().data(), p, s, t, derivative, row.entries.data());
    return row;
}

}  // namespace

ConstraintRow constraintRow(const BsplineBasis& scaledBasis, int parameterExponent, double t,
                            int derivative)
{
    ConstraintRow row = plainRow(scaledBasis, t, derivative);
    if (derivative == 0) return row;
    row.exponent = parameterExponent * derivative;
    normalise(row);
    return row;
}

ConstraintRow sumOfTerms(const BsplineBasis& scaledBasis, int parameterExponent,
                         const std::vector<LinearConstraint::Term>& terms)
{
    // A term's row is 2^(-exponent * derivative) times the one over scaled parameters, and its
    // factor is about 2^ilogb: what the largest of them has is taken out of all.
    const auto sizeOf = [parameterExponent](const LinearConstraint::Term& term) {
        return std::ilogb(term.factor) - parameterExponent * term.derivative;
    };
    int largest = 0;
    bool any = false;
    for (const LinearConstraint::Term& term : terms) {
        if (term.factor == 0.0) continue;
        largest = any ? std::max(largest, sizeOf(term)) : sizeOf(term);
        any = true;
    }
    ConstraintRow sum;
    sum.first = scaledBasis.count();
    int end = 0;
    std::vector<ConstraintRow> rows;
    for (const LinearConstraint::Term& term : terms) {
        if (term.factor == 0.0) continue;
        rows.push_back(
            plainRow(scaledBasis, std::ldexp(term.parameter, -parameterExponent), term.derivative));
        const int shift = sizeOf(term) - largest;
        const DoubleDouble factor(std::scalbn(term.factor, -std::ilogb(term.factor)));
        for (DoubleDouble& x : rows.back().entries) x = timesPowerOfTwo(x * factor, shift);
        sum.first = std::min(sum.first, rows.back().first);
        end = std::max(end, rows.back().first + static_cast<int>(rows.back().entries.size()));
    }
    sum.entries.resize(static_cast<std::size_t>(std::max(0, end - sum.first)));
    for (const ConstraintRow& row : rows)
        for (std::size_t i = 0; i < row.entries.size(); ++i)
            sum.entries[static_cast<std::size_t>(row.first - sum.first) + i] += row.entries[i];
    // What is left by rounding of terms that cancel is nothing.
    double most = 0.0;
    for (const DoubleDouble& x : sum.entries) most = std::max(most, std::fabs(x.high));
    double size = 0.0;
    for (const ConstraintRow& row : rows)
        for (const DoubleDouble& x : row.entries) size = std::max(size, std::fabs(x.high));
    if (most <= kCancelled * size)
        std::fill(sum.entries.begin(), sum.entries.end(), DoubleDouble());
    sum.exponent = -largest;
    normalise(sum);
    return sum;
}

}  // namespace knotwork
