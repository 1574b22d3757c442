// SPDX-License-Identifier: MIT
#include "knotwork/fit/SampleRuns.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "knotwork/fit/Divisor.h"

namespace knotwork {

namespace {

constexpr int kFewestSorted = 4096;
constexpr int kSortedPerSpan = 16;  // so that runs have some length

}  // namespace

SampleRuns::SampleRuns(const BsplineBasis& scaledBasis, int dimension)
    : basis_(scaledBasis),
      dimension_(dimension),
      most_(std::max(kFewestSorted, kSortedPerSpan * basis_.count())),
      span_(basis_.span(basis_.first())),
      left_(basis_.knots()[static_cast<std::size_t>(span_)]),
      right_(basis_.knots()[static_cast<std::size_t>(span_) + 1]),
      run_(static_cast<std::size_t>(kRunRows) * static_cast<std::size_t>(dimension + 2)),
      numbers_(kRunRows)
{
    const int cells = 2 * basis_.count();
    const double range = basis_.last() - basis_.first();
    cellsPerUnit_ = cells / range;
    // A cell further to the left than need be, since the cell of a parameter may be rounded up.
    for (int cell = 0; cell <= cells + 1; ++cell)
        guesses_.push_back(basis_.span(basis_.first() + std::max(0, cell - 1) * (range / cells)));
    guesses_.push_back(basis_.span(basis_.last()));
}

/// The span by a guess from a table of equal cells, a step or two from there where knots are evenly
/// spread, and by bisection where they crowd.
int SampleRuns::spanOf(double t)
{
    if (t >= left_ && t < right_) return span_;
    constexpr int kMostSteps = 8;
    const double* knots = basis_.knots().data();
    const int last = guesses_.back();
    span_ = guesses_[static_cast<std::size_t>((t - basis_.first()) * cellsPerUnit_)];
    for (int step = 0; step < kMostSteps && span_ < last && t >= knots[span_ + 1]; ++step) ++span_;
    if (span_ < last && t >= knots[span_ + 1]) span_ = basis_.span(t);
    left_ = knots[span_];
    right_ = knots[span_ + 1];
    return span_;
}

/// Scales parameters, brings them into the range and looks up their spans; whether these ascend.
bool SampleRuns::findSpans(const double* parameters, int count)
{
    const double first = basis_.first();
    const double last = basis_.last();
    bool ascending = true;
    int before = 0;
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        parameters_[at] = basis_.closed() ? basis_.wrapped(parameters[i])
                                          : std::min(std::max(parameters[i], first), last);
        spans_[at] = spanOf(parameters_[at]);
        ascending &= spans_[at] >= before;
        before = spans_[at];
    }
    return ascending;
}

/// A counting sort: samples of one span keep their order.
void SampleRuns::sortBySpan(int count)
{
    places_.assign(basis_.knots().size() + 1, 0);
    for (int i = 0; i < count; ++i)
        ++places_[static_cast<std::size_t>(spans_[static_cast<std::size_t>(i)]) + 1];
    for (std::size_t s = 1; s < places_.size(); ++s) places_[s] += places_[s - 1];
    for (int i = 0; i < count; ++i) {
        int& place = places_[static_cast<std::size_t>(spans_[static_cast<std::size_t>(i)])];
        order_[static_cast<std::size_t>(place++)] = i;
    }
}

/// Takes `count` samples, order_[at] and on, into a run.
SampleRun SampleRuns::gathered(const SampleStretch& stretch, const SampleScales& scales, int first,
                               int at, int count)
{
    double* parameters = run_.data();
    double* weights = parameters + kRunRows;
    double* points = weights + kRunRows;
    const auto padded = static_cast<int>(paddedRows(count));
    for (int i = 0; i < count; ++i) {
        const int sample = order_[static_cast<std::size_t>(at + i)];
        parameters[i] = parameters_[static_cast<std::size_t>(sample)];
        numbers_[static_cast<std::size_t>(i)] = first + sample;
    }
    std::fill(parameters + count, parameters + padded, parameters[count - 1]);
    for (int k = 0; k < dimension_; ++k) {
        double* column = points + std::ptrdiff_t{kRunRows} * k;
        const Divisor scaled(scales.coordinates[static_cast<std::size_t>(k)]);
        for (int i = 0; i < count; ++i)
            column[i] = scaled(
                stretch.points[std::ptrdiff_t{dimension_} * numbers_[static_cast<std::size_t>(i)] +
                               k]);
        std::fill(column + count, column + padded, 0.0);
    }
    const bool weighted = stretch.weights != nullptr || scales.weightRoot != 0;
    const Divisor toWeight(2 * scales.weightRoot);
    for (int i = 0; weighted && i < padded; ++i)
        weights[i] = i >= count ? 0.0
                     : stretch.weights == nullptr
                         ? toWeight(1.0)
                         : toWeight(stretch.weights[numbers_[static_cast<std::size_t>(i)]]);
    const int span = spans_[static_cast<std::size_t>(order_[static_cast<std::size_t>(at)])];
    return {span, count, parameters, points, weighted ? weights : nullptr, numbers_.data()};
}

void SampleRuns::forRuns(const SampleStretch& stretch, const SampleScales& scales,
                         const std::function<void(const SampleRun&)>& visit)
{
    const auto most = static_cast<std::size_t>(std::min(most_, stretch.count));
    parameters_.resize(most);
    spans_.resize(most);
    order_.resize(most);
    const auto spanAt = [this](int at) {
        return spans_[static_cast<std::size_t>(order_[static_cast<std::size_t>(at)])];
    };
    for (int first = 0; first < stretch.count; first += most_) {
        const int count = std::min(most_, stretch.count - first);
        std::transform(stretch.parameters + first, stretch.parameters + first + count,
                       parameters_.begin(), Divisor(scales.parameter));
        std::iota(order_.begin(), order_.begin() + count, 0);
        if (!findSpans(parameters_.data(), count)) sortBySpan(count);
        for (int at = 0; at < count;) {
            int n = 1;
            while (n < kRunRows && at + n < count && spanAt(at + n) == spanAt(at)) ++n;
            visit(gathered(stretch, scales, first, at, n));
            at += n;
        }
    }
}

}  // namespace knotwork
