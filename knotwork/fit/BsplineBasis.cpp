// SPDX-License-Identifier: MIT
#include "knotwork/fit/BsplineBasis.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

BsplineBasis::BsplineBasis(int degree, std::vector<double> knots)
    : degree_(degree), knots_(std::move(knots))
{
}

BsplineBasis BsplineBasis::clamped(int degree, double first, double last,
                                   const std::vector<double>& interior)
{
    const auto ends = static_cast<std::size_t>(std::max(degree, 0)) + 1;
    std::vector<double> knots(ends, first);
    knots.insert(knots.end(), interior.begin(), interior.end());
    knots.insert(knots.end(), ends, last);
    return BsplineBasis(degree, std::move(knots));
}

BsplineBasis BsplineBasis::uniform(int degree, double first, double last, int spans)
{
    std::vector<double> interior;
    for (int i = 1; i < spans; ++i) {
        const double share = static_cast<double>(i) / spans;
        interior.push_back(first * (1.0 - share) + last * share);
    }
    return clamped(degree, first, last, interior);
}

bool BsplineBasis::valid() const
{
    if (degree_ < 1 || degree_ > kMostDegree || count() < degree_ + 1) return false;
    if (!std::all_of(knots_.begin(), knots_.end(), [](double k) { return std::isfinite(k); }))
        return false;
    if (!std::is_sorted(knots_.begin(), knots_.end()) || !(first() < last())) return false;
    if (!std::isfinite(knots_.back() - knots_.front())) return false;
    if (knot(degree_) == knot(degree_ + 1) || knot(count() - 1) == knot(count())) return false;
    for (int i = degree_ + 1; i + degree_ < count(); ++i)  // interior knots
        if (knot(i) == knot(i + degree_)) return false;
    return true;
}

int BsplineBasis::span(double t) const
{
    const auto begin = knots_.begin() + degree_;
    const auto end = knots_.begin() + count();
    const auto above = std::upper_bound(begin, end, t);  // the last knot itself is never passed
    auto s = static_cast<int>(above - knots_.begin()) - 1;
    if (s < degree_) s = degree_;
    while (s > degree_ && knot(s) == knot(s + 1)) --s;
    while (knot(s) == knot(s + 1)) ++s;
    return s;
}

int BsplineBasis::row(double t, int derivative, double* row) const
{
    const int p = degree_;
    if (derivative > p) {
        std::fill_n(row, p + 1, 0.0);
        return span(t) - p;
    }
    const int s = span(t);
    basisRow(knots_.data(), p, s, t, derivative, row);
    return s - p;
}

double BsplineBasis::greville(int i) const
{
    double mean = 0.0;
    for (int k = 1; k <= degree_; ++k) mean += knot(i + k) / degree_;
    return mean;
}

std::vector<double> BsplineBasis::breakpoints() const
{
    std::vector<double> values(knots_.begin() + degree_, knots_.begin() + count() + 1);
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

}  // namespace knotwork
