// SPDX-License-Identifier: MIT
#include "knotwork/fit/PlacedConstraint.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

#include "knotwork/fit/ParameterRange.h"

namespace knotwork {

namespace {

bool periodsApart(const PlacedConstraint& a, const PlacedConstraint& b, double period)
{
    return std::fabs(a.asked->parameter - b.asked->parameter) > 0.5 * period;
}

bool repeats(const PlacedConstraint& a, const PlacedConstraint& b, double period)
{
    return periodsApart(a, b, period) && a.asked->derivative == b.asked->derivative &&
           a.asked->value == b.asked->value;
}

/// What rounding does to a parameter some periods away, and to the sum that brings it back.
double slackOf(const PlacedConstraint& c, const BsplineBasis& basis)
{
    const double largest = std::max(
        {std::fabs(c.asked->parameter), std::fabs(basis.first()), std::fabs(basis.last())});
    return ParameterRange::kConstraintSteps * 0x1p-52 * largest;
}

/// What the knots can have been rounded by: asked for at the end of the period as it was before, a
/// constraint is still one at the seam.
double roundingOf(const BsplineBasis& basis)
{
    const double periods = std::ceil(basis.degree() / static_cast<double>(basis.unknowns()));
    const double largest =
        std::max(std::fabs(basis.first()), std::fabs(basis.last())) + periods * basis.period();
    return std::ldexp(1.0, std::ilogb(largest) - 52);
}

/// The place nearby where another constraint stands, itself where there is none: those of the
/// basis's own period stay where they are, the others come to them.
class Places {
  public:
    explicit Places(const BsplineBasis& basis) : basis_(basis) { taken_.insert(basis.first()); }

    void take(double parameter) { taken_.insert(parameter); }
    double nearby(double parameter, double slack)
    {
        const auto next = taken_.lower_bound(parameter);
        if (next != taken_.end() && *next - parameter <= slack) return *next;
        if (next != taken_.begin() && parameter - *std::prev(next) <= slack)
            return *std::prev(next);
        // Round the seam.
        if (basis_.last() - parameter <= slack) return *taken_.begin();
        const double last = *taken_.rbegin();
        if (parameter - basis_.first() + basis_.last() - last <= slack) return last;
        return *taken_.insert(parameter).first;
    }

  private:
    const BsplineBasis& basis_;
    std::set<double> taken_;
};

void bringTogether(const BsplineBasis& basis, std::vector<PlacedConstraint>& all)
{
    Places places(basis);
    const double rounding = roundingOf(basis);
    for (PlacedConstraint& c : all) {
        if (basis.last() - c.parameter <= rounding) c.parameter = basis.first();
        if (c.asked->parameter == c.parameter) places.take(c.parameter);
    }
    for (PlacedConstraint& c : all)
        if (c.asked->parameter != c.parameter)
            c.parameter = places.nearby(c.parameter, slackOf(c, basis));
}

void uniteRepeated(const BsplineBasis& basis, std::vector<PlacedConstraint>& all)
{
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& a, const auto& b) { return a.parameter < b.parameter; });
    std::vector<PlacedConstraint> kept;
    std::size_t group = 0;  // where those at the current parameter begin
    for (const PlacedConstraint& c : all) {
        if (kept.empty() || c.parameter != kept[group].parameter) group = kept.size();
        const auto begin = kept.begin() + static_cast<std::ptrdiff_t>(group);
        if (std::none_of(begin, kept.end(),
                         [&](const auto& other) { return repeats(c, other, basis.period()); }))
            kept.push_back(c);
    }
    std::sort(kept.begin(), kept.end(),
              [](const auto& a, const auto& b) { return a.number < b.number; });
    all = std::move(kept);
}

}  // namespace

std::vector<PlacedConstraint> placedConstraints(const BsplineBasis& basis,
                                                const std::vector<CurveConstraint>& constraints)
{
    const ParameterRange range(basis);
    std::vector<PlacedConstraint> placed;
    for (const CurveConstraint& asked : constraints)
        placed.push_back({&asked, static_cast<int>(placed.size()), range.inside(asked.parameter)});
    if (!basis.closed()) return placed;
    bringTogether(basis, placed);
    uniteRepeated(basis, placed);
    return placed;
}

}  // namespace knotwork
