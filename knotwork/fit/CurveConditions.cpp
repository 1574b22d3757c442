// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveConditions.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/fit/ParameterRange.h"

namespace knotwork {

namespace {

double& placeOf(CurveCondition& c)
{
    return c.terms.front().parameter;
}

bool periodsApart(const CurveCondition& a, const CurveCondition& b, double period)
{
    return std::fabs(a.askedAt - b.askedAt) > 0.5 * period;
}

bool repeats(const CurveCondition& a, const CurveCondition& b, double period)
{
    return periodsApart(a, b, period) && a.isDirection == b.isDirection &&
           a.terms.front().derivative == b.terms.front().derivative && a.value == b.value &&
           a.mask == b.mask;
}

/// Works on one group after the other that share a parameter but for rounding; all have one term.
void uniteRepeated(const BsplineBasis& basis, std::vector<CurveCondition>& all)
{
    const double period = basis.period();
    const double slack = ParameterRange::kConstraintSteps * 0x1p-52 * period;
    std::vector<std::size_t> order(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (placeOf(all[i]) >= basis.last() - slack) placeOf(all[i]) = basis.first();
        order[i] = i;
    }
    std::stable_sort(order.begin(), order.end(), [&all](std::size_t a, std::size_t b) {
        return placeOf(all[a]) < placeOf(all[b]);
    });
    std::vector<std::size_t> kept;
    std::size_t group = 0;  // where in `kept` the current one begins
    for (const std::size_t i : order) {
        CurveCondition& c = all[i];
        if (kept.empty() || placeOf(c) > placeOf(all[kept[group]]) + slack)
            group = kept.size();
        else if (periodsApart(c, all[kept[group]], period))
            placeOf(c) = placeOf(all[kept[group]]);
        const auto begin = kept.begin() + static_cast<std::ptrdiff_t>(group);
        if (std::none_of(begin, kept.end(),
                         [&](std::size_t k) { return repeats(c, all[k], period); }))
            kept.push_back(i);
    }
    std::sort(kept.begin(), kept.end());
    std::vector<CurveCondition> united;
    for (const std::size_t i : kept) united.push_back(std::move(all[i]));
    all = std::move(united);
}

std::vector<char> flags(const std::vector<char>& mask, int dimension)
{
    return mask.empty() ? std::vector<char>(static_cast<std::size_t>(dimension), 1) : mask;
}

}  // namespace

std::vector<CurveCondition> conditionsOf(const BsplineBasis& basis, int dimension,
                                         const std::vector<CurveConstraint>& constraints,
                                         const CurveFitOptions& options)
{
    const ParameterRange range(basis);
    const std::vector<char> everywhere = flags({}, dimension);
    std::vector<CurveCondition> all;
    int number = 0;
    for (const CurveConstraint& c : constraints)
        all.push_back({"constraint",
                       number++,
                       {{1.0, range.inside(c.parameter), c.derivative}},
                       0,
                       c.value,
                       flags(c.mask, dimension),
                       false,
                       c.parameter});
    std::vector<CurveCondition> directions;
    number = 0;
    for (const DirectionConstraint& c : options.directions)
        directions.push_back({"direction",
                              number++,
                              {{1.0, range.inside(c.parameter), 1}},
                              0,
                              c.direction,
                              everywhere,
                              true,
                              c.parameter});
    if (basis.closed()) {
        uniteRepeated(basis, all);
        uniteRepeated(basis, directions);
    }
    number = 0;
    for (const LinearConstraint& c : options.linear) {
        all.push_back({"linear constraint", number++, c.terms, 0, c.value, flags(c.mask, dimension),
                       false, 0.0});
        for (LinearConstraint::Term& term : all.back().terms)
            term.parameter = range.inside(term.parameter);
    }
    all.insert(all.end(), directions.begin(), directions.end());
    number = 0;
    for (const HeldControlPoint& c : options.held)
        all.push_back({"held control point",
                       number++,
                       {},
                       c.number,
                       c.value,
                       flags(c.mask, dimension),
                       false,
                       0.0});
    return all;
}

}  // namespace knotwork
