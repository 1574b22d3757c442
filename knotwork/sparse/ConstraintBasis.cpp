// SPDX-License-Identifier: MIT
#include "knotwork/sparse/ConstraintBasis.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/kernels/InverseNorm.h"
#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/factor/kernels/Reflection.h"

namespace knotwork {

ConstraintBasis::ConstraintBasis(const SpanRows& rows, int firstConstraint)
    : cols_(rows.cols()), fixed_(cols_, 0), touched_(cols_, 0)
{
    WideRow row = {Array<double>(cols_), 0, 0};
    for (int i = firstConstraint; i < rows.rows() && sound_; ++i) {
        load(row, rows.first(i), rows.values(i), rows.count(i));
        reflect(row);
        reduce(row);
        clear(row);
    }
    listFreeColumns();
}

void ConstraintBasis::load(WideRow& row, int first, const double* values, int count)
{
    std::copy_n(values, count, row.entries.begin() + first);
    row.first = first;
    row.end = first + count;
}

void ConstraintBasis::clear(WideRow& row)
{
    std::fill(row.entries.begin() + row.first, row.entries.begin() + row.end, 0.0);
}

/// The reflections so far, from the right.
void ConstraintBasis::reflect(WideRow& row) const
{
    double* entries = row.entries.data();
    for (int i = 0; i < taus_.size(); ++i) {
        const Entry* begin = vectors_.begin(i);
        const Entry* end = vectors_.end(i);
        double d = 0.0;
        for (const Entry* v = begin; v != end; ++v) d += v->value * entries[v->at];
        if (d == 0.0) continue;
        const double t = -taus_[i] * d;
        for (const Entry* v = begin; v != end; ++v) entries[v->at] += t * v->value;
        row.first = std::min(row.first, begin->at);
        row.end = std::max(row.end, (end - 1)->at + 1);
    }
}

/// Splits a reflected constraint row into its part of T and a new reflection. A row that is left
/// with one entry needs none.
void ConstraintBasis::reduce(const WideRow& row)
{
    const double* entries = row.entries.data();
    int pivot = -1;
    double squares = 0.0;
    int entriesLeft = 0;
    for (int j = row.first; j < row.end; ++j) {
        if (entries[j] == 0.0 || fixed_[j] != 0) continue;
        squares += entries[j] * entries[j];
        ++entriesLeft;
        if (pivot < 0 || std::fabs(entries[j]) > std::fabs(entries[pivot])) pivot = j;
    }
    if (pivot < 0 || !(squares > 0.0)) {
        sound_ = false;
        return;
    }
    for (int k = 0; k < constraints(); ++k)
        if (entries[pivots_[k]] != 0.0) lower_.entries.push_back({k, entries[pivots_[k]]});
    lower_.close();

    double whole = squares;
    for (auto e = lower_.begin(constraints()); e != lower_.end(constraints()); ++e)
        whole += e->value * e->value;
    lengths_.push_back(std::sqrt(whole));

    const double alpha = entries[pivot];
    const Reflection reflection = reflectionOf(alpha, std::sqrt(squares));
    const bool single = entriesLeft == 1;
    for (int j = row.first; j < row.end && !single; ++j) {
        if (entries[j] == 0.0 || fixed_[j] != 0) continue;
        vectors_.entries.push_back({j, j == pivot ? 1.0 : entries[j] / (alpha - reflection.sigma)});
        touched_[j] = 1;
    }
    vectors_.close();
    taus_.push_back(single ? 0.0 : reflection.tau);
    diagonal_.push_back(single ? alpha : reflection.sigma);
    pivots_.push_back(pivot);
    fixed_[pivot] = 1;
    touched_[pivot] = 1;
}

void ConstraintBasis::listFreeColumns()
{
    freeCols_.reserve(static_cast<std::size_t>(freeCols()));
    for (int j = 0; j < cols_; ++j)
        if (fixed_[j] == 0) freeCols_.push_back(j);
}

SpanRows ConstraintBasis::freePart(const BandTriangle& R) const
{
    SpanRows part(freeCols());
    part.reserve(cols_, 2 * static_cast<std::size_t>(R.starts()[cols_]));
    WideRow row = {Array<double>(cols_), 0, 0};
    Array<double> kept(cols_);
    int freeBefore = 0;  // free columns left of column j
    for (int j = 0; j < cols_; ++j) {
        const auto from = touched_.begin() + j;
        if (std::find(from, from + R.count(j), 1) == from + R.count(j)) {
            part.appendTrimmed(freeBefore, R.row(j), R.count(j));
        } else {
            load(row, j, R.row(j), R.count(j));
            reflect(row);
            const int first =
                static_cast<int>(std::lower_bound(freeCols_.begin(), freeCols_.end(), row.first) -
                                 freeCols_.begin());
            int count = 0;
            for (int k = first; k < freeCols() && freeCols_[k] < row.end; ++k)
                kept[count++] = row.entries[freeCols_[k]];
            part.appendTrimmed(first, kept.data(), count);
            clear(row);
        }
        freeBefore += fixed_[j] == 0 ? 1 : 0;
    }
    return part;
}

double ConstraintBasis::inverseNorm() const
{
    return inverseNormOf(Array<double>(lengths_.size(), 1.0));
}

double ConstraintBasis::condition() const
{
    return inverseNormOf(lengths_);
}

double ConstraintBasis::largestLength() const
{
    return lengths_.empty() ? 0.0 : *std::max_element(lengths_.begin(), lengths_.end());
}

int ConstraintBasis::mostCoupled() const
{
    std::ptrdiff_t most = 0;
    for (int i = 0; i < constraints(); ++i) most = std::max(most, lower_.end(i) - lower_.begin(i));
    return static_cast<int>(most);
}

/// Of T^-1 with its columns multiplied by the scales.
double ConstraintBasis::inverseNormOf(const Array<double>& scales) const
{
    if (lower_.entries.empty()) {  // no two constraints have a column in common
        double largest = 0.0;
        for (int i = 0; i < constraints(); ++i)
            largest = std::max(largest, scales[i] / std::fabs(diagonal_[i]));
        return largest;
    }
    const auto scale = [&](double* y) {
        for (const double factor : scales)
            for (int c = 0; c < kFewLanes; ++c) *y++ *= factor;
    };
    const auto solveScaled = [&](double* y) {
        scale(y);
        solve<kFewLanes>(y);
    };
    const auto solveTransposedScaled = [&](double* y) {
        solveTransposed<kFewLanes>(y);
        scale(y);
    };
    return estimateInverseNorm(constraints(), solveScaled, solveTransposedScaled);
}

template <int Lanes>
void ConstraintBasis::solve(double* y) const
{
    for (int i = 0; i < constraints(); ++i) {
        double* here = y + std::ptrdiff_t{Lanes} * i;
        for (const Entry* e = lower_.begin(i); e != lower_.end(i); ++e)
            for (int c = 0; c < Lanes; ++c)
                here[c] -= e->value * y[std::ptrdiff_t{Lanes} * e->at + c];
        for (int c = 0; c < Lanes; ++c) here[c] /= diagonal_[i];
    }
}

template <int Lanes>
void ConstraintBasis::solveTransposed(double* y) const
{
    for (int i = constraints() - 1; i >= 0; --i) {
        double* here = y + std::ptrdiff_t{Lanes} * i;
        for (int c = 0; c < Lanes; ++c) here[c] /= diagonal_[i];
        for (const Entry* e = lower_.begin(i); e != lower_.end(i); ++e)
            for (int c = 0; c < Lanes; ++c)
                y[std::ptrdiff_t{Lanes} * e->at + c] -= e->value * here[c];
    }
}

/// One reflection, which is its own transpose.
template <int Lanes>
void ConstraintBasis::reflectBy(int i, double* x) const
{
    double d[Lanes] = {};
    for (const Entry* v = vectors_.begin(i); v != vectors_.end(i); ++v)
        for (int c = 0; c < Lanes; ++c) d[c] += v->value * x[std::ptrdiff_t{Lanes} * v->at + c];
    for (double& t : d) t *= -taus_[i];
    for (const Entry* v = vectors_.begin(i); v != vectors_.end(i); ++v)
        for (int c = 0; c < Lanes; ++c) x[std::ptrdiff_t{Lanes} * v->at + c] += v->value * d[c];
}

template <int Lanes>
void ConstraintBasis::combine(const double* free, const double* fixed, double* x) const
{
    const auto place = [x](const Array<int>& columns, const double* numbers) {
        for (const int j : columns) {
            double* to = x + std::ptrdiff_t{Lanes} * j;
            if (numbers == nullptr) {
                std::fill_n(to, Lanes, 0.0);
                continue;
            }
            std::copy_n(numbers, Lanes, to);
            numbers += Lanes;
        }
    };
    place(freeCols_, free);
    place(pivots_, fixed);
    for (int i = constraints() - 1; i >= 0; --i) reflectBy<Lanes>(i, x);
}

template <int Lanes>
void ConstraintBasis::split(double* x, double* free, double* fixed) const
{
    for (int i = 0; i < constraints(); ++i) reflectBy<Lanes>(i, x);
    const auto gather = [x](const Array<int>& columns, double* to) {
        if (to == nullptr) return;
        for (const int j : columns) to = std::copy_n(x + std::ptrdiff_t{Lanes} * j, Lanes, to);
    };
    gather(freeCols_, free);
    gather(pivots_, fixed);
}

template void ConstraintBasis::solve<kFewLanes>(double*) const;
template void ConstraintBasis::solve<kManyLanes>(double*) const;
template void ConstraintBasis::solveTransposed<kFewLanes>(double*) const;
template void ConstraintBasis::solveTransposed<kManyLanes>(double*) const;
template void ConstraintBasis::combine<kFewLanes>(const double*, const double*, double*) const;
template void ConstraintBasis::combine<kManyLanes>(const double*, const double*, double*) const;
template void ConstraintBasis::split<kFewLanes>(double*, double*, double*) const;
template void ConstraintBasis::split<kManyLanes>(double*, double*, double*) const;

}  // namespace knotwork
