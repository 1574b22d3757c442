// SPDX-License-Identifier: MIT
#include "knotwork/fit/BsplineBasis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "knotwork/fit/BasisRecurrence.h"

namespace knotwork {

namespace {

/// What lies between first and last, in equal steps.
std::vector<double> equalSteps(double first, double last, int spans)
{
    std::vector<double> interior;
    for (int i = 1; i < spans; ++i) {
        const double share = static_cast<double>(i) / spans;
        interior.push_back(first * (1.0 - share) + last * share);
    }
    return interior;
}

/// To multiples of a step so large that sums of breakpoints and the periods that a basis reaches
/// into round no more, nor when that is done again. False where they are too large for that.
bool roundForPeriods(std::vector<double>& breakpoints, int degree)
{
    const double periods = std::ceil(degree / static_cast<double>(breakpoints.size() - 1));
    for (int step = std::numeric_limits<int>::min();;) {
        const double beyond = (breakpoints.back() - breakpoints.front()) * periods;
        const double largest = std::max(std::fabs(breakpoints.front() - beyond),
                                        std::fabs(breakpoints.back() + beyond));
        if (!std::isfinite(largest)) return false;
        const int needed = std::max(std::ilogb(largest) - 51, -1074);  // with a bit to spare
        if (needed <= step) return true;
        step = needed;
        for (double& b : breakpoints) b = std::ldexp(std::nearbyint(std::ldexp(b, -step)), step);
    }
}

}  // namespace

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
    return clamped(degree, first, last, equalSteps(first, last, spans));
}

BsplineBasis BsplineBasis::periodic(int degree, std::vector<double> breakpoints)
{
    BsplineBasis basis(degree, {});
    basis.closed_ = true;
    if (breakpoints.size() < 2 || degree < 1 || degree > kMostDegree) return basis;
    if (!std::all_of(breakpoints.begin(), breakpoints.end(),
                     [](double b) { return std::isfinite(b); }))
        return basis;
    // The knots before the first one of the range are at or before its own repetitions.
    const auto seam = std::find_if(breakpoints.begin(), breakpoints.end(),
                                   [&](double b) { return b != breakpoints.front(); });
    if (seam == breakpoints.end()) return basis;
    const auto moved = static_cast<std::size_t>(seam - breakpoints.begin()) - 1;
    breakpoints.erase(breakpoints.begin(), seam - 1);
    breakpoints.insert(breakpoints.end(), moved, breakpoints.back());

    if (!roundForPeriods(breakpoints, degree)) return basis;
    const double period = breakpoints.back() - breakpoints.front();
    const auto p = static_cast<std::ptrdiff_t>(degree);
    const auto spans = static_cast<std::ptrdiff_t>(breakpoints.size()) - 1;
    for (std::ptrdiff_t i = -p; i <= spans + p; ++i) {
        const std::ptrdiff_t turns = i < 0 ? -((spans - 1 - i) / spans) : i / spans;
        basis.knots_.push_back(breakpoints[static_cast<std::size_t>(i - turns * spans)] +
                               static_cast<double>(turns) * period);
    }
    return basis;
}

BsplineBasis BsplineBasis::periodicUniform(int degree, double first, double last, int spans)
{
    std::vector<double> breakpoints = equalSteps(first, last, spans);
    breakpoints.insert(breakpoints.begin(), first);
    breakpoints.push_back(last);
    return periodic(degree, std::move(breakpoints));
}

bool BsplineBasis::operator==(const BsplineBasis& other) const
{
    return degree_ == other.degree_ && closed_ == other.closed_ && knots_ == other.knots_;
}

BsplineBasis BsplineBasis::withKnots(std::vector<double> knots) const
{
    BsplineBasis basis(degree_, std::move(knots));
    basis.closed_ = closed_;
    return basis;
}

bool BsplineBasis::valid() const
{
    if (degree_ < 1 || degree_ > kMostDegree || count() < degree_ + 1) return false;
    if (!std::all_of(knots_.begin(), knots_.end(), [](double k) { return std::isfinite(k); }))
        return false;
    if (!std::is_sorted(knots_.begin(), knots_.end()) || !(first() < last())) return false;
    if (!std::isfinite(knots_.back() - knots_.front())) return false;
    if (closed_) {
        for (int i = 0; i + degree_ < static_cast<int>(knots_.size()); ++i)
            if (knot(i) == knot(i + degree_)) return false;
        for (int i = 0; i <= 2 * degree_; ++i)
            if (knot(i + unknowns()) - knot(i) != period()) return false;
        return unknowns() > 0;
    }
    if (knot(degree_) == knot(degree_ + 1) || knot(count() - 1) == knot(count())) return false;
    for (int i = degree_ + 1; i + degree_ < count(); ++i)  // interior knots
        if (knot(i) == knot(i + degree_)) return false;
    return true;
}

double BsplineBasis::wrapped(double t) const
{
    if (!closed_ || (t >= first() && t < last())) return t;
    const double u = t - period() * std::floor((t - first()) / period());
    return std::isnan(u) || (u >= first() && u < last()) ? u : first();
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
    t = wrapped(t);
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
