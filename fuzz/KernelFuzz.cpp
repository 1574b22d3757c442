// SPDX-License-Identifier: MIT
// Kernel records, sound and spoilt, through the bridge and the curve and surface objects. What a
// sound record says has to come back to the bit, and inserting a knot must not move the shape.
#include <algorithm>
#include <functional>
#include <vector>

#include "fuzz/Fuzz.h"
#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/geometry/TnkRw.h"
#include "measures/KernelRecords.h"
#include "measures/Numbers.h"

using knotwork_fuzz::Bytes;
using knotwork_fuzz::require;
using knotwork_fuzz::same;
using knotwork_measures::kEps;
using knotwork_measures::SplineRecord;
using knotwork_measures::SurfaceRecord;

namespace {

using Numbers = std::vector<double>;

struct Direction {
    int degree;
    int spans;
    Numbers knots;  // of indices 1 - degree ... spans + degree - 1

    int count() const { return degree + spans; }
    double knot(int i) const { return knots[static_cast<std::size_t>(i + degree - 1)]; }

    /// A range with a width, finite knots in order, none more than `degree` times.
    bool sound() const
    {
        if (!(knot(0) < knot(spans))) return false;
        for (std::size_t k = 0; k < knots.size(); ++k) {
            if (!std::isfinite(knots[k]) || (k > 0 && !(knots[k - 1] <= knots[k]))) return false;
            const auto d = static_cast<std::size_t>(degree);
            if (k >= d && knots[k] == knots[k - d]) return false;
        }
        return true;
    }

    double parameter(Bytes& bytes) const
    {
        const double share = bytes.byte() / 255.0;
        const double t = knot(0) + share * (knot(spans) - knot(0));
        return std::clamp(t, knot(0), knot(spans));
    }

    int multiplicity(double t) const
    {
        return static_cast<int>(std::count(knots.begin(), knots.end(), t));
    }
};

Direction direction(Bytes& bytes, bool hostile)
{
    Direction result = {bytes.between(1, 5), bytes.between(1, 6), {}};
    double t = bytes.number();
    for (int k = 2 * result.degree + result.spans - 1; k > 0; --k) {
        const int b = bytes.byte();
        t += b < 100 ? 0.0 : (b - 99) / 16.0;
        result.knots.push_back(hostile ? bytes.anyDouble() : t);
    }
    return result;
}

Numbers points(Bytes& bytes, int count, int dimension, bool rational, bool hostile)
{
    Numbers result;
    for (int i = 0; i < count; ++i) {
        for (int c = 0; c < dimension; ++c)
            result.push_back(hostile ? bytes.anyDouble() : bytes.number());
        if (rational) result.push_back(hostile ? bytes.anyDouble() : (1 + bytes.byte()) / 32.0);
    }
    return result;
}

double largest(const Numbers& numbers)
{
    double result = 0.0;
    for (const double x : numbers) result = std::max(result, std::fabs(x));
    return result;
}

void requireSame(const double* a, const double* b, std::size_t n, const char* sentence)
{
    for (std::size_t i = 0; i < n; ++i) require(same(a[i], b[i]), sentence);
}

Numbers fullKnots(const Direction& along)
{
    Numbers full = along.knots;
    full.insert(full.begin(), full.front());
    full.push_back(full.back());
    return full;
}

/// Cuts, drops and miscounts; what is taken off a record lies in its block and goes with it.
void spoil(Bytes& bytes, nk_spline* record, bool keepsCells)
{
    nk_node* node = NKI_getFirstNode(record);
    for (int steps = bytes.below(8); steps > 0 && node->next != nullptr; --steps) node = node->next;
    const std::function<void()> faults[] = {
        [&] { node->next = nullptr; },
        [&] { node->point = nullptr; },
        [&] {
            if (node->next != nullptr) node->next->knot = node->knot;
        },
        [&] { record->spans = std::max(1, record->spans + bytes.between(-2, 2)); },
        [&] {
            if (!keepsCells) node->knot = nullptr;
        },
    };
    faults[bytes.below(5)]();
}

void spoil(Bytes& bytes, nk_surface* record, bool keepsCells)
{
    nk_srf_node* node = NKI_getFirstSurfaceNode(record);
    for (int steps = bytes.below(5); steps > 0 && node->nextU != nullptr; --steps)
        node = node->nextU;
    for (int steps = bytes.below(5); steps > 0 && node->nextV != nullptr; --steps)
        node = node->nextV;
    const std::function<void()> faults[] = {
        [&] { node->nextU = nullptr; },
        [&] { node->nextV = nullptr; },
        [&] { node->point = nullptr; },
        [&] { record->spansU = std::max(1, record->spansU + bytes.between(-2, 2)); },
        [&] { record->spansV = std::max(1, record->spansV + bytes.between(-2, 2)); },
        [&] {
            if (!keepsCells) node->uKnot = nullptr;
        },
    };
    faults[bytes.below(6)]();
}

/// The one that the bridge gets loses cells too.
template <class Record>
void spoilBoth(Bytes& bytes, Record* bridged, Record* read)
{
    for (int n = bytes.below(4); n > 0; --n) {
        spoil(bytes, bridged, false);
        spoil(bytes, read, true);
    }
}

/// Everything that the bridge reads and writes, whatever the record is like.
void crossBridge(nk_spline* record, const Direction& along, int coords)
{
    DoubleVec knots(static_cast<unsigned>(along.knots.size()) + 2u);
    TtupleVector net(coords, along.count(), 0.5);
    if (TnkRw::knotsToDv(record, knots)) TnkRw::dvToKnots(knots, record);
    if (TnkRw::cvsToTv(record, net)) TnkRw::tvToCvs(net, record, false);
}

void crossBridge(nk_surface* record, const Direction& u, const Direction& v, int coords)
{
    DoubleVec uKnots(static_cast<unsigned>(u.knots.size()) + 2u);
    DoubleVec vKnots(static_cast<unsigned>(v.knots.size()) + 2u);
    TtupleMatrix net(coords, u.count(), v.count(), 0.5);
    if (TnkRw::knotsToDv(record, uKnots, vKnots)) TnkRw::dvToKnots(uKnots, vKnots, record);
    if (TnkRw::cvsToTm(record, net)) TnkRw::tmToCvs(net, record, true);
}

struct Shape {
    int dimension;
    bool rational;
    int coords() const { return dimension + (rational ? 1 : 0); }
};

SplineRecord buildCurve(const Direction& along, const Numbers& net, Shape shape)
{
    return SplineRecord(nk_bld_bs(shape.dimension, along.knots.data(), net.data(), 3, along.degree,
                                  along.spans, shape.rational ? 1 : 0, 1));
}

void checkCurve(Bytes& bytes, const Direction& along, const Numbers& net, Shape shape)
{
    const SplineRecord record = buildCurve(along, net, shape);
    AP_SPLINE curve(record.get());
    const SplineRecord back(curve.NKLIB());
    requireSame(curve.CV(), net.data(), net.size(), "a curve has its record's points");
    DoubleVec knots(static_cast<unsigned>(along.knots.size()) + 2u);
    require(TnkRw::knotsToDv(back.get(), knots), "a sound record has knots");
    requireSame(knots.data(), fullKnots(along).data(), knots.length(), "knots come back");
    TtupleVector tuples(shape.coords(), along.count(), 0.0);
    require(TnkRw::cvsToTv(back.get(), tuples), "a sound record has points");
    requireSame(tuples.numbers().data(), net.data(), net.size(), "points come back");
    require(back->type == 3 && back->form == 1, "codes are carried through");
    if (!along.sound()) return;

    const double t = along.parameter(bytes);
    Numbers before(static_cast<std::size_t>(curve.WorkspaceSize(0)));
    curve.eval(before.data(), t, 0);
    const double inserted = along.parameter(bytes);
    if (along.multiplicity(inserted) >= along.degree || inserted >= along.knot(along.spans)) return;
    curve.insert(inserted, 1);
    require(curve.Spans() == along.spans + 1, "a knot adds a span");
    Numbers after(static_cast<std::size_t>(curve.WorkspaceSize(0)));
    curve.eval(after.data(), t, 0);
    const double bound = 1e4 * kEps * largest(net) * (shape.rational ? 1024.0 : 1.0);
    for (int c = 0; c < shape.coords(); ++c) {
        const auto k = static_cast<std::size_t>(c);
        require(std::fabs(before[k] - after[k]) <= bound, "a new knot leaves the curve as it was");
        if (!shape.rational)
            require(std::fabs(before[k]) <= largest(net) * (1 + 100 * kEps),
                    "a curve stays in the hull of its points");
    }
}

SurfaceRecord buildSurface(const Direction& u, const Direction& v, const Numbers& net, Shape shape)
{
    SurfaceRecord record(nk_bld_srf(shape.dimension, 7, u.degree, v.degree, u.spans, v.spans,
                                    shape.rational ? 1 : 0, 0, 1, 0));
    knotwork_measures::fillRecord(record.get(), u.knots.data(), v.knots.data(), net.data(),
                                  shape.coords());
    return record;
}

void checkSurface(Bytes& bytes, const Direction& u, const Direction& v, const Numbers& net,
                  Shape shape)
{
    const SurfaceRecord record = buildSurface(u, v, net, shape);
    AP_SURFACE surface(record.get(), 0);
    const SurfaceRecord back(surface.NKLIB());
    requireSame(surface.CV(), net.data(), net.size(), "a surface has its record's points");
    DoubleVec uKnots(static_cast<unsigned>(u.knots.size()) + 2u);
    DoubleVec vKnots(static_cast<unsigned>(v.knots.size()) + 2u);
    require(TnkRw::knotsToDv(back.get(), uKnots, vKnots), "a sound record has knots");
    requireSame(uKnots.data(), fullKnots(u).data(), uKnots.length(), "u knots come back");
    requireSame(vKnots.data(), fullKnots(v).data(), vKnots.length(), "v knots come back");
    if (!u.sound() || !v.sound()) return;

    const double s = u.parameter(bytes);
    const double t = v.parameter(bytes);
    const double bound = 1e4 * kEps * largest(net);
    const auto at = [](const AP_SURFACE& any, double a, double b) {
        Numbers room(static_cast<std::size_t>(any.WorkspaceSize(0)));
        any.eval(room.data(), a, b, 0);
        return room;
    };
    const Numbers before = at(surface, s, t);
    const Numbers exchanged = at(AP_SURFACE(record.get(), 1), t, s);
    const double inU = u.parameter(bytes);
    const double inV = v.parameter(bytes);
    if (u.multiplicity(inU) < u.degree && inU < u.knot(u.spans)) surface.uinsert(inU, 1);
    if (v.multiplicity(inV) < v.degree && inV < v.knot(v.spans)) surface.vinsert(inV, 1);
    const Numbers after = at(surface, s, t);
    for (std::size_t c = 0; c < static_cast<std::size_t>(shape.coords()); ++c) {
        require(std::fabs(before[c] - exchanged[c]) <= bound, "a swapped surface is the same one");
        require(std::fabs(before[c] - after[c]) <= bound, "new knots leave the surface as it was");
        require(std::fabs(before[c]) <= largest(net) * (1 + 100 * kEps),
                "a surface stays in the hull of its points");
    }
}

void runSpoiltCurve(Bytes& bytes, const Direction& along, const Numbers& net, Shape shape)
{
    const SplineRecord bridged = buildCurve(along, net, shape);
    const SplineRecord read = buildCurve(along, net, shape);
    spoilBoth(bytes, bridged.get(), read.get());
    crossBridge(bridged.get(), along, shape.coords());
    AP_SPLINE curve(read.get());
    const int order = bytes.below(4);
    Numbers rows(static_cast<std::size_t>(curve.WorkspaceSize(order)));
    curve.eval(rows.data(), bytes.anyDouble(), order);
    curve.insert(bytes.anyDouble(), bytes.below(4));
    rows.resize(static_cast<std::size_t>(curve.WorkspaceSize(order)));
    curve.eval(rows.data(), bytes.anyDouble(), order);
    curve.Box(1);
    const SplineRecord back(curve.NKLIB());
    require(back != nullptr, "a curve makes a record");
}

void runSpoiltSurface(Bytes& bytes, const Direction& u, const Direction& v, const Numbers& net,
                      Shape shape)
{
    const SurfaceRecord bridged = buildSurface(u, v, net, shape);
    const SurfaceRecord read = buildSurface(u, v, net, shape);
    spoilBoth(bytes, bridged.get(), read.get());
    crossBridge(bridged.get(), u, v, shape.coords());
    AP_SURFACE surface(read.get(), bytes.below(2));
    surface.uinsert(bytes.anyDouble(), bytes.below(3));
    surface.vinsert(bytes.anyDouble(), bytes.below(3));
    const int order = shape.rational ? 0 : bytes.below(3);
    Numbers room(static_cast<std::size_t>(surface.WorkspaceSize(order)));
    surface.eval(room.data(), bytes.anyDouble(), bytes.anyDouble(), order);
    surface.Box(1);
    const SurfaceRecord back(surface.NKLIB());
    require(back != nullptr, "a surface makes a record");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Bytes bytes(data, size);
    const int mode = bytes.below(8);
    const bool isSurface = (mode & 1) != 0;
    const bool spoilt = (mode & 2) != 0;
    const bool hostile = spoilt && (mode & 4) != 0;
    const Shape shape = {bytes.between(1, 4), bytes.flag()};
    const Direction u = direction(bytes, hostile);
    const Direction v = isSurface ? direction(bytes, hostile) : u;
    const int count = u.count() * (isSurface ? v.count() : 1);
    const Numbers net = points(bytes, count, shape.dimension, shape.rational, hostile);
    if (isSurface)
        (spoilt ? runSpoiltSurface : checkSurface)(bytes, u, v, net, shape);
    else
        (spoilt ? runSpoiltCurve : checkCurve)(bytes, u, net, shape);
    return 0;
}
