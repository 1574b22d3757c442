// SPDX-License-Identifier: MIT
#include "measures/RandomDirection.h"

#include <algorithm>

namespace knotwork_measures {

using knotwork::BsplineBasis;

namespace {

using Numbers = std::vector<double>;

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

/// Sorted, inside (0, 1), none more often than `most` times.
Numbers tidied(Numbers knots, int most)
{
    std::sort(knots.begin(), knots.end());
    Numbers kept;
    for (const double k : knots) {
        const auto n = std::count(kept.begin(), kept.end(), k);
        if (k > 0.0 && k < 1.0 && n < most) kept.push_back(k);
    }
    return kept;
}

Numbers interiorKnots(Draw& draw, int count, int degree)
{
    Numbers knots;
    const int kind = draw.below(7);
    const double centre = draw.unit();
    const double width = draw.power(-6, -1);
    const int places = draw.from(1, std::max(1, count));
    const double ratio = 1.0 + draw.unit();
    for (int i = 1; i <= count; ++i) {
        const double even = static_cast<double>(i) / (count + 1);
        switch (kind) {
            case 0:
            case 1:
                knots.push_back(even);
                break;
            case 2:
                knots.push_back(even + 0.8 * draw.signedUnit() / (count + 1));
                break;
            case 3:
                knots.push_back(draw.unit());
                break;
            case 4:
                knots.push_back(draw.chance(60) ? centre + width * draw.signedUnit() : even);
                break;
            case 5:  // repeated
                knots.push_back(static_cast<double>(draw.from(1, places)) / (places + 1));
                break;
            default:
                knots.push_back(std::pow(ratio, -i));
                break;  // ever denser
        }
    }
    return tidied(knots, degree);
}

/// From 0 to 1 into units of its own.
struct Units {
    double first;
    double size;
    double operator()(double share) const { return first + size * share; }
};

Units randomUnits(Draw& draw, int spans)
{
    switch (draw.below(5)) {
        case 0:
            return {0.0, static_cast<double>(spans)};
        case 1:
            return {0.0, draw.power(-4, 4)};
        case 2: {
            const double size = draw.power(-2, 2);
            return {size * 10.0 * draw.signedUnit(), size};
        }
        default:
            return {0.0, 1.0};
    }
}

double inside(const BsplineBasis& basis, double t)
{
    if (basis.closed()) {
        const double period = basis.last() - basis.first();
        t -= period * std::floor((t - basis.first()) / period);
    }
    return std::min(std::max(t, basis.first()), basis.last());
}

/// A place of a span, by share; the last is the next span's own.
double inSpan(const Numbers& breaks, int span, double share)
{
    return breaks[at(span)] + share * (breaks[at(span) + 1] - breaks[at(span)]);
}

/// Shortly before or behind a knot, in shares of the span there.
double besideKnot(Draw& draw, const BsplineBasis& basis, double least, double most)
{
    const Numbers breaks = basis.breakpoints();
    const int span = draw.below(static_cast<int>(breaks.size()) - 1);
    const double step = draw.power(least, most);
    return inside(basis, inSpan(breaks, span, draw.chance(50) ? step : 1.0 - step));
}

/// In every span, or near where each control point pulls most.
Numbers spreadParameters(Draw& draw, const BsplineBasis& basis, int count)
{
    const Numbers breaks = basis.breakpoints();
    const int spans = static_cast<int>(breaks.size()) - 1;
    const double range = basis.last() - basis.first();
    const double shake = draw.chance(50) ? 0.0 : draw.unit();
    const int kind = draw.below(4);
    Numbers values;
    for (int i = 0; i < count; ++i) {
        if (kind == 0)
            values.push_back(basis.first() + range * (i + draw.unit()) / count);
        else if (kind == 1)
            values.push_back(inSpan(breaks, i % spans, draw.unit()));
        else {
            const int j = i % basis.unknowns();
            const double here = basis.greville(j);
            const double next = basis.greville(j + 1 < basis.count() ? j + 1 : j);
            const bool first = i < basis.unknowns();
            values.push_back(here + (next - here) * (first ? 0.9 * shake : 1.0) * draw.unit());
        }
    }
    return values;
}

Numbers wildParameters(Draw& draw, const BsplineBasis& basis, int count)
{
    const Numbers breaks = basis.breakpoints();
    const int spans = static_cast<int>(breaks.size()) - 1;
    const double range = basis.last() - basis.first();
    const int kind = draw.below(11);
    const double centre = basis.first() + range * draw.unit();
    const double width = range * draw.power(-4, -1);
    const int distinct = draw.from(1, std::max(1, basis.unknowns() + 2));
    const int firstSpan = draw.below(spans);
    const int lastSpan = draw.from(firstSpan, spans - 1);
    Numbers few;
    for (int i = 0; i < distinct; ++i) few.push_back(basis.first() + range * draw.unit());
    Numbers values;
    if (kind > 8) {  // one for each control point, then a few moved where others are
        for (int i = 0; i < count; ++i)
            values.push_back(basis.greville(i % basis.unknowns()) + 1e-3 * range * draw.unit());
        for (int moved = draw.from(1, 2); moved > 0; --moved)
            values[at(draw.below(count))] =
                inside(basis, draw.oneOf(values) + 0.1 * range * draw.signedUnit());
        return values;
    }
    for (int i = 0; i < count; ++i) switch (kind) {
            case 0:
            case 1:
                values.push_back(basis.first() + range * draw.unit());
                break;
            case 2:
                values.push_back(draw.chance(70) ? centre + width * draw.signedUnit()
                                                 : basis.first() + range * draw.unit());
                break;
            case 3:
                values.push_back(draw.oneOf(breaks));
                break;
            case 4:
                values.push_back(draw.oneOf(few));
                break;
            case 5:
            case 6:
                values.push_back(draw.oneOf(few) + width * draw.signedUnit());
                break;
            case 7:
                values.push_back(inSpan(breaks, draw.from(firstSpan, lastSpan), draw.unit()));
                break;
            default:
                values.push_back(besideKnot(draw, basis, -9, -3));
                break;
        }
    return values;
}

int randomDegree(Draw& draw, const Wildness& wildness)
{
    const int degree =
        draw.chance(40) ? std::min(3, wildness.mostDegree) : draw.from(1, wildness.mostDegree);
    return draw.chance(6) ? wildness.mostDegree + draw.from(1, 2) : degree;
}

}  // namespace

BsplineBasis randomBasis(Draw& draw, const Wildness& wildness)
{
    const int degree = randomDegree(draw, wildness);
    const int mostInterior = wildness.mostUnknowns - degree - 1;
    const int interior = std::min(mostInterior, draw.chance(50) ? draw.below(8) : draw.below(30));
    const Units units = randomUnits(draw, interior + 1);
    if (draw.chance(8)) {  // ends that are no multiple knots
        Numbers knots;
        for (int i = 0; i < interior + 2 * degree + 2; ++i)
            knots.push_back(units(static_cast<double>(i - degree) / (interior + 1)));
        return BsplineBasis(degree, knots);
    }
    Numbers knots = interiorKnots(draw, interior, degree);
    for (double& k : knots) k = units(k);
    const BsplineBasis basis = BsplineBasis::clamped(degree, units(0.0), units(1.0), knots);
    // Knots so close that the units leave no room between them make no basis.
    return basis.valid() ? basis : BsplineBasis::uniform(degree, 0.0, 1.0, interior + 1);
}

BsplineBasis randomPeriodicBasis(Draw& draw, const Wildness& wildness)
{
    const int degree = randomDegree(draw, wildness);
    const int most = draw.chance(25)   ? degree
                     : draw.chance(50) ? 8
                                       : wildness.mostUnknowns - degree;
    const int interior = draw.below(most);
    const Units units = randomUnits(draw, interior + 1);
    Numbers knots = interiorKnots(draw, interior, degree);
    const int atSeam = draw.chance(85) ? 1 : draw.from(1, degree);
    knots.insert(knots.begin(), at(atSeam), 0.0);
    knots.push_back(1.0);
    for (double& k : knots) k = units(k);
    const BsplineBasis basis = BsplineBasis::periodic(degree, knots);
    return basis.valid() ? basis : BsplineBasis::periodicUniform(degree, 0.0, 1.0, interior + 1);
}

Numbers randomParameters(Draw& draw, const BsplineBasis& basis, const Wildness& wildness)
{
    const int n = basis.unknowns();
    const int count = draw.chance(8)    ? draw.from(1, n)
                      : draw.chance(30) ? n + draw.below(4)
                                        : draw.from(n, wildness.mostPerUnknown * n);
    const bool tame = draw.chance(wildness.tamePercent);
    Numbers values =
        tame ? spreadParameters(draw, basis, count) : wildParameters(draw, basis, count);
    if (draw.chance(20)) {  // a share of another kind
        const Numbers others = wildParameters(draw, basis, count);
        for (int i = 0; i < count; ++i)
            if (draw.chance(25)) values[at(i)] = others[at(i)];
    }
    if (draw.chance(30)) std::sort(values.begin(), values.end());
    for (double& t : values) t = inside(basis, t);
    return values;
}

std::vector<Place> randomPlaces(Draw& draw, const BsplineBasis& basis, const Numbers& parameters,
                                int count)
{
    const Numbers breaks = basis.breakpoints();
    const double range = basis.last() - basis.first();
    std::vector<Place> places;
    for (int c = 0; c < count; ++c) {
        Place place{basis.first() + range * draw.unit(),
                    draw.chance(55) ? 0 : draw.below(basis.degree() + 1)};
        switch (draw.below(12)) {
            case 0:
            case 1:
                place.parameter = draw.chance(50) ? basis.first() : basis.last();
                break;
            case 2:
                place.parameter = draw.oneOf(breaks);
                break;
            case 3:
                place.parameter = besideKnot(draw, basis, -8, -3);
                break;
            case 4:
            case 5:
                place.parameter = draw.oneOf(parameters);
                break;
            case 6:
                if (!places.empty())
                    place.parameter = draw.oneOf(places).parameter + range * draw.power(-8, -2);
                break;
            case 7:
                if (!places.empty()) place.parameter = draw.oneOf(places).parameter;
                break;
            default:
                break;
        }
        if (!places.empty() && draw.chance(2)) place = draw.oneOf(places);
        place.parameter = inside(basis, place.parameter);
        places.push_back(place);
    }
    return places;
}

}  // namespace knotwork_measures
