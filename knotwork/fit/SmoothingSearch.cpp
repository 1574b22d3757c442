// SPDX-License-Identifier: MIT
#include "knotwork/fit/SmoothingSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace knotwork {

namespace {

constexpr double kMargin = 0.01;          // degrees of freedom from either limit
constexpr double kMostMagnified = 1e10;   // of eps, in degrees of freedom that are believed
constexpr double kMostCondition = 1e10;   // of a system that is believed
constexpr double kRounding = 0x1p-36;     // of right-hand sides, in residuals
constexpr double kStep = 1.151292546497;  // half a decade
constexpr int kMostSteps = 100;           // to either side
constexpr double kPlaceTolerance = 1e-5;
constexpr double kEndTolerance = 1e-6;

}  // namespace

SmoothingSearch::SmoothingSearch(std::vector<const SmoothedSystem*> systems,
                                 std::vector<double> unitSquares, int dimension, double points,
                                 double rightSquares, double balanced)
    : systems_(std::move(systems)),
      unitSquares_(std::move(unitSquares)),
      dimension_(dimension),
      points_(points),
      noSquares_(kRounding * kRounding * rightSquares),
      balanced_(balanced)
{
}

SmoothingSearch::Point SmoothingSearch::at(double place) const
{
    Point point = {place, 0.0, 0.0, true};
    double squares = 0.0;
    std::size_t column = 0;
    for (const SmoothedSystem* system : systems_) {
        const SmoothedSystem::Figures figures = system->at(std::exp(place));
        point.sound = point.sound && figures.condition <= kMostCondition &&
                      figures.magnified <= kMostMagnified;
        point.freedom += figures.freedom * system->width() / dimension_;
        for (const double sum : figures.squares) squares += sum * unitSquares_[column++];
    }
    const double left = 1.0 - point.freedom / points_;
    point.score = std::max(squares, noSquares_) / (left * left);
    point.sound = point.sound && std::isfinite(point.freedom);
    return point;
}

double SmoothingSearch::mean(double (*of)(const SmoothedSystem&)) const
{
    double sum = 0.0;
    for (const SmoothedSystem* system : systems_) sum += of(*system) * system->width();
    return sum / dimension_;
}

double SmoothingSearch::freedomAt(double factor, double leastFreedom) const
{
    constexpr double kProportional = 0.1;  // as much freedom is taken nearly so
    const double place = std::log(factor);
    const bool strong = place > std::log(balanced_);
    Point near = at(place);
    for (int i = 0; i < kMostSteps && !near.sound; ++i)
        near = at(near.place + (strong ? -kStep : kStep));
    if (!near.sound) return std::numeric_limits<double>::quiet_NaN();
    if (near.place == place || !strong) return std::max(near.freedom, leastFreedom);
    const double least = leastFreedom < 0.0 ? std::round(near.freedom) : leastFreedom;
    const double left = near.freedom - least;
    if (left > kProportional) return std::numeric_limits<double>::quiet_NaN();
    return least + left * std::exp(near.place - place);
}

/// The degrees of freedom where a system is as ill-conditioned as it may be.
double SmoothingSearch::limitOfFreedom() const
{
    double place = std::log(balanced_);
    Point last = at(place);
    for (int step = 0; step < kMostSteps; ++step) {
        const Point next = at(place += kStep);
        if (!next.sound) break;
        last = next;
    }
    return std::round(last.freedom);
}

/// Points half a decade apart, ascending, from before the range to beyond it, or to where rounding
/// decides.
std::vector<SmoothingSearch::Point> SmoothingSearch::scanned(const Range& range) const
{
    std::vector<Point> points = {at(std::log(balanced_))};
    for (int i = 0; i < kMostSteps && points.back().sound && points.back().freedom < range.most;
         ++i)
        points.push_back(at(points.back().place - kStep));
    std::reverse(points.begin(), points.end());
    for (int i = 0; i < kMostSteps && points.back().sound && points.back().freedom > range.least;
         ++i)
        points.push_back(at(points.back().place + kStep));
    return points;
}

/// The outermost point that is still in the range.
SmoothingSearch::Point SmoothingSearch::endOf(const Range& range, Point inside,
                                              double outside) const
{
    while (std::fabs(outside - inside.place) > kEndTolerance) {
        const Point between = at(0.5 * (inside.place + outside));
        if (range.holds(between))
            inside = between;
        else
            outside = between.place;
    }
    return inside;
}

/// Brent's search between left and right: parabolas through the three best points, golden sections
/// where those do not close in. best: one of the range, the start where it lies between the two.
SmoothingSearch::Point SmoothingSearch::narrowed(double left, double right, Point best) const
{
    const double section = 0.5 * (3.0 - std::sqrt(5.0));
    const bool inside = best.place > left && best.place < right;
    Point least = inside ? best : at(left + section * (right - left));
    Point second = least;
    Point third = least;
    double step = 0.0;
    double stepBefore = 0.0;
    for (;;) {
        const double middle = 0.5 * (left + right);
        if (std::fabs(least.place - middle) + 0.5 * (right - left) <= 2.0 * kPlaceTolerance) break;
        const double x = least.place;
        const double r = (x - second.place) * (least.score - third.score);
        const double q = (x - third.place) * (least.score - second.score);
        const double vertex =
            ((x - second.place) * r - (x - third.place) * q) / (2.0 * (q - r));  // NaN for 0 / 0
        if (std::fabs(vertex) < 0.5 * std::fabs(stepBefore) && x + vertex > left &&
            x + vertex < right) {
            stepBefore = step;
            step = vertex;
        } else {
            stepBefore = x < middle ? right - x : left - x;
            step = section * stepBefore;
        }
        const double shortest = std::copysign(kPlaceTolerance, step);
        const Point next = at(x + (std::fabs(step) < kPlaceTolerance ? shortest : step));
        const bool better = next.score <= least.score;
        ((next.place < x) == better ? right : left) = better ? x : next.place;
        if (better) {
            third = second;
            second = least;
            least = next;
        } else if (next.score <= second.score || second.place == x) {
            third = second;
            second = next;
        } else if (next.score <= third.score || third.place == x || third.place == second.place) {
            third = next;
        }
    }
    return least.sound && least.score < best.score ? least : best;
}

SmoothingSearch::Choice SmoothingSearch::best(double leastFreedom) const
{
    const double least = leastFreedom < 0.0 ? limitOfFreedom() : leastFreedom;
    const double unknowns =
        mean([](const SmoothedSystem& system) { return double(system.freeUnknowns()); });
    const Range range = {least + kMargin, std::min(unknowns, points_) - kMargin};
    const std::vector<Point> points = scanned(range);
    const Point* chosen = nullptr;  // of equal ones the smoothest
    for (const Point& p : points)
        if (range.holds(p) && (chosen == nullptr || p.score <= chosen->score)) chosen = &p;
    if (chosen == nullptr) return {balanced_, freedomAt(balanced_, least), true};

    const bool hasLeft = chosen != &points.front() && range.holds(chosen[-1]);
    const bool hasRight = chosen != &points.back() && range.holds(chosen[1]);
    const auto endBeyond = [&](bool has, const Point* next, bool exists) {
        return has ? *next : exists ? endOf(range, *chosen, next->place) : *chosen;
    };
    const Point left = endBeyond(hasLeft, chosen - 1, chosen != &points.front());
    const Point right = endBeyond(hasRight, chosen + 1, chosen != &points.back());
    Point found = narrowed(left.place, right.place, *chosen);
    bool atEnd = false;
    const auto tryEnd = [&](bool has, const Point& end) {
        if (has || end.score > found.score) return;
        found = end;
        atEnd = true;
    };
    tryEnd(hasLeft, left);
    tryEnd(hasRight, right);
    return {std::exp(found.place), found.freedom, atEnd};
}

}  // namespace knotwork
