// SPDX-License-Identifier: MIT
#include "knotwork/fit/PlacedConstraint.h"

#include <algorithm>
#include <cmath>

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

/// Works on one group of constraints after the other that share a parameter but for rounding.
void uniteRepeated(const BsplineBasis& basis, std::vector<PlacedConstraint>& all)
{
    const double period = basis.period();
    for (PlacedConstraint& c : all)
        if (c.parameter >= basis.last() - slackOf(c, basis)) c.parameter = basis.first();
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& a, const auto& b) { return a.parameter < b.parameter; });
    std::vector<PlacedConstraint> kept;
    std::size_t group = 0;  // where the current one begins
    for (PlacedConstraint& c : all) {
        if (kept.empty() || c.parameter > kept[group].parameter + slackOf(c, basis))
            group = kept.size();
        else if (periodsApart(c, kept[group], period))
            c.parameter = kept[group].parameter;
        const auto begin = kept.begin() + static_cast<std::ptrdiff_t>(group);
        if (std::none_of(begin, kept.end(),
                         [&](const auto& earlier) { return repeats(c, earlier, period); }))
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
    if (basis.closed()) uniteRepeated(basis, placed);
    return placed;
}

}  // namespace knotwork
