// SPDX-License-Identifier: MIT
#include "knotwork/fit/Refine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "knotwork/fit/KernelBuild.h"
#include "knotwork/geometry/TnkRw.h"

namespace knotwork {

namespace {

std::vector<double> standardVector(const DoubleVec& v)
{
    return std::vector<double>(v.data(), v.data() + v.length());
}

/// One knot, within the range. The points from span - degree + 1 to span are drawn from the
/// neighbours on both sides of each, by where t lies in the support that they share.
void insertKnot(BsplineBasis& basis, std::size_t dimension, std::vector<double>& points, double t)
{
    const int p = basis.degree();
    const int span = basis.span(t);
    std::vector<double> knots = basis.knots();
    const auto knot = [&knots](int i) { return knots[static_cast<std::size_t>(i)]; };
    const auto offset = [dimension](int i) { return static_cast<std::size_t>(i) * dimension; };
    const auto place = points.begin() + static_cast<std::ptrdiff_t>(offset(span));
    const std::vector<double> doubled(place, place + static_cast<std::ptrdiff_t>(dimension));
    points.insert(place, doubled.begin(), doubled.end());
    for (int i = span; i > span - p; --i) {
        const double share = (t - knot(i)) / (knot(i + p) - knot(i));
        double* point = points.data() + offset(i);
        for (std::size_t c = 0; c < dimension; ++c, ++point)
            *point =
                share * *point + (1.0 - share) * point[-static_cast<std::ptrdiff_t>(dimension)];
    }
    knots.insert(knots.begin() + span + 1, t);
    basis = BsplineBasis(p, std::move(knots));
}

/// The periodic basis with more knots.
BsplineBasis withMore(const BsplineBasis& periodic, const std::vector<double>& knots)
{
    const std::ptrdiff_t p = periodic.degree();
    std::vector<double> all(periodic.knots().begin() + p, periodic.knots().end() - p);
    all.insert(all.end(), knots.begin(), knots.end());
    std::sort(all.begin(), all.end());
    return BsplineBasis::periodic(periodic.degree(), std::move(all));
}

bool takes(const BsplineBasis& basis, const std::vector<double>& knots)
{
    if (!basis.valid()) return false;
    for (const double t : knots)
        if (!(t > basis.first() && t < basis.last())) return false;
    if (basis.closed()) return withMore(basis, knots).valid();
    std::vector<double> all = basis.knots();
    all.insert(all.end(), knots.begin(), knots.end());
    std::sort(all.begin(), all.end());
    return BsplineBasis(basis.degree(), std::move(all)).valid();
}

/// A periodic curve for some periods before and behind its own, as an open one.
struct Unrolled {
    BsplineBasis basis;
    std::vector<double> points;
    int turns;  // on either side, so that a period's knots all have neighbours
};

Unrolled unrolled(const BsplineBasis& periodic, std::size_t dimension,
                  const std::vector<double>& points)
{
    const int n = periodic.unknowns();
    const int p = periodic.degree();
    const int turns = p / n + 2;
    std::vector<double> knots;
    std::vector<double> all;
    for (int i = -turns * n; i < (turns + 1) * n + 2 * p + 1; ++i) {
        const int turn = i < 0 ? -((n - 1 - i) / n) : i / n;
        knots.push_back(periodic.knots()[static_cast<std::size_t>(i - turn * n)] +
                        turn * periodic.period());
        if (i >= (turns + 1) * n + p) continue;
        const auto from = points.begin() + static_cast<std::ptrdiff_t>(i - turn * n) *
                                               static_cast<std::ptrdiff_t>(dimension);
        all.insert(all.end(), from, from + static_cast<std::ptrdiff_t>(dimension));
    }
    return {BsplineBasis(p, std::move(knots)), std::move(all), turns};
}

/// Puts the knots into every period; what repeats stays equal to the bit.
void refinePeriodic(BsplineBasis& basis, std::size_t dimension, std::vector<double>& points,
                    const std::vector<double>& knots)
{
    const BsplineBasis finer = withMore(basis, knots);
    Unrolled curve = unrolled(basis, dimension, points);
    const double* now = finer.knots().data() + finer.degree();
    const double* before = basis.knots().data() + basis.degree();
    for (int i = 0, j = 0; i < finer.unknowns(); ++i) {
        if (j < basis.unknowns() && now[i] == before[j]) {
            ++j;
            continue;
        }
        for (int turn = -curve.turns; turn <= curve.turns; ++turn)
            insertKnot(curve.basis, dimension, curve.points, now[i] + turn * basis.period());
    }
    const auto from = curve.points.begin() +
                      static_cast<std::ptrdiff_t>(dimension) * curve.turns * finer.unknowns();
    const auto whole = static_cast<std::ptrdiff_t>(dimension) * finer.unknowns();
    points.assign(from, from + whole);
    for (int i = 0; i < static_cast<int>(dimension) * finer.degree(); ++i)
        points.push_back(points[static_cast<std::size_t>(i)]);
    basis = finer;
}

bool isNet(const std::vector<double>& points, int dimension, std::uint64_t count)
{
    return dimension > 0 && points.size() == count * static_cast<std::uint64_t>(dimension);
}

using Surface = std::unique_ptr<nk_surface, void (*)(nk_surface*)>;

BsplineBasis basisAlong(const AP_SURFACE& surface, TsurfaceDirection direction, int degree,
                        int spans)
{
    const Surface record(surface.NKLIB(), nk_free_srf);
    DoubleVec knots(static_cast<unsigned>(2 * degree + spans + 1), 0.0);
    if (!TnkRw::knotsToDvOne(record.get(), direction, knots)) return BsplineBasis();
    return BsplineBasis(degree, standardVector(knots));
}

}  // namespace

bool refine(BsplineBasis& basis, int dimension, std::vector<double>& controlPoints,
            const std::vector<double>& knots)
{
    if (!takes(basis, knots)) return false;
    if (!isNet(controlPoints, dimension, static_cast<std::uint64_t>(basis.count()))) return false;
    if (basis.closed())
        refinePeriodic(basis, static_cast<std::size_t>(dimension), controlPoints, knots);
    else
        for (const double t : knots)
            insertKnot(basis, static_cast<std::size_t>(dimension), controlPoints, t);
    return true;
}

bool refine(FittedCurve& curve, const std::vector<double>& knots)
{
    BsplineBasis basis = curve.basis;
    std::vector<double> points = curve.controlPoints;
    if (!refine(basis, curve.dimension, points, knots)) return false;
    curve.spline = makeSpline(basis, curve.dimension, points);
    curve.basis = std::move(basis);
    curve.controlPoints = std::move(points);
    return true;
}

FittedCurve clampedForm(const FittedCurve& curve)
{
    if (!curve.basis.closed() || curve.controlPoints.empty()) return curve;
    const auto d = static_cast<std::size_t>(curve.dimension);
    const int p = curve.basis.degree();
    Unrolled round = unrolled(curve.basis, d, curve.controlPoints);
    const auto lowest = [&round](double t) {
        const std::vector<double>& all = round.basis.knots();
        return std::lower_bound(all.begin(), all.end(), t) - all.begin();
    };
    const auto raise = [&](double t) {
        const std::vector<double>& all = round.basis.knots();
        for (auto copies = std::count(all.begin(), all.end(), t); copies < p; ++copies)
            insertKnot(round.basis, d, round.points, t);
        return lowest(t);
    };
    raise(curve.basis.first());
    const std::ptrdiff_t last = raise(curve.basis.last());
    const std::ptrdiff_t first = lowest(curve.basis.first());
    const std::vector<double>& all = round.basis.knots();
    const auto dimension = static_cast<std::ptrdiff_t>(d);

    FittedCurve open = curve;
    open.basis =
        BsplineBasis::clamped(p, curve.basis.first(), curve.basis.last(),
                              std::vector<double>(all.begin() + first + p, all.begin() + last));
    open.controlPoints.assign(round.points.begin() + dimension * (first - 1),
                              round.points.begin() + dimension * last);
    std::copy_n(open.controlPoints.begin(), dimension, open.controlPoints.end() - dimension);
    open.spline = makeSpline(open.basis, open.dimension, open.controlPoints);
    return open;
}

bool refine(FittedSurface& surface, const std::vector<double>& knotsU,
            const std::vector<double>& knotsV)
{
    BsplineBasis u = surface.u;
    BsplineBasis v = surface.v;
    std::vector<double> points = surface.controlPoints;
    if (!takes(u, knotsU) || !takes(v, knotsV)) return false;
    const std::uint64_t perRow = static_cast<std::uint64_t>(u.count());
    if (!isNet(points, surface.dimension, perRow * static_cast<std::uint64_t>(v.count())))
        return false;
    // Along v a row of points moves as one point; along u every row by itself.
    refine(v, u.count() * surface.dimension, points, knotsV);
    std::vector<double> net;
    const auto length = static_cast<std::ptrdiff_t>(perRow) * surface.dimension;
    for (auto row = points.begin(); row != points.end(); row += length) {
        u = surface.u;
        std::vector<double> line(row, row + length);
        refine(u, surface.dimension, line, knotsU);
        net.insert(net.end(), line.begin(), line.end());
    }
    surface.surface = makeSurface(u, v, surface.dimension, net);
    surface.u = std::move(u);
    surface.v = std::move(v);
    surface.controlPoints = std::move(net);
    return true;
}

BsplineBasis basisOf(const AP_SPLINE& curve)
{
    const std::unique_ptr<nk_spline, void (*)(nk_spline*)> record(curve.NKLIB(), nk_free_bs);
    DoubleVec knots(static_cast<unsigned>(2 * curve.Degree() + curve.Spans() + 1), 0.0);
    if (!TnkRw::knotsToDv(record.get(), knots)) return BsplineBasis();
    return BsplineBasis(curve.Degree(), standardVector(knots));
}

BsplineBasis basisInU(const AP_SURFACE& surface)
{
    return basisAlong(surface, kDirectionU, surface.uDegree(), surface.uSpans());
}

BsplineBasis basisInV(const AP_SURFACE& surface)
{
    return basisAlong(surface, kDirectionV, surface.vDegree(), surface.vSpans());
}

}  // namespace knotwork
