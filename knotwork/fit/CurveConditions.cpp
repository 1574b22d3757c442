// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveConditions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <set>
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

/// What rounding does to a parameter some periods away, and to the sum that brings it back.
double slackOf(const CurveCondition& c, const BsplineBasis& basis)
{
    const double largest =
        std::max({std::fabs(c.askedAt), std::fabs(basis.first()), std::fabs(basis.last())});
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

/// All of one term.
void bringTogether(const BsplineBasis& basis, std::vector<CurveCondition>& all)
{
    Places places(basis);
    const double rounding = roundingOf(basis);
    for (CurveCondition& c : all) {
        if (basis.last() - placeOf(c) <= rounding) placeOf(c) = basis.first();
        if (c.askedAt == placeOf(c)) places.take(placeOf(c));
    }
    for (CurveCondition& c : all)
        if (c.askedAt != placeOf(c)) placeOf(c) = places.nearby(placeOf(c), slackOf(c, basis));
}

void uniteRepeated(const BsplineBasis& basis, std::vector<CurveCondition>& all)
{
    std::map<double, std::vector<std::size_t>> kept;  // at each parameter
    std::vector<CurveCondition> united;
    for (CurveCondition& c : all) {
        std::vector<std::size_t>& here = kept[placeOf(c)];
        if (std::any_of(here.begin(), here.end(),
                        [&](std::size_t k) { return repeats(c, united[k], basis.period()); }))
            continue;
        here.push_back(united.size());
        united.push_back(std::move(c));
    }
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
    number = 0;
    for (const DirectionConstraint& c : options.directions)
        all.push_back({"direction",
                       number++,
                       {{1.0, range.inside(c.parameter), 1}},
                       0,
                       c.direction,
                       everywhere,
                       true,
                       c.parameter});
    if (basis.closed()) {
        bringTogether(basis, all);
        uniteRepeated(basis, all);
    }
    number = 0;
    for (const LinearConstraint& c : options.linear) {
        all.push_back({"linear constraint", number++, c.terms, 0, c.value, flags(c.mask, dimension),
                       false, 0.0});
        for (LinearConstraint::Term& term : all.back().terms)
            term.parameter = range.inside(term.parameter);
    }
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
