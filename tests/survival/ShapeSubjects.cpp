// SPDX-License-Identifier: MIT
#include <cmath>
#include <memory>

#include "knotwork/approx/AP_EVAL_CONST_PARM.h"
#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/geometry/TnkRw.h"
#include "knotwork/geometry/TnumberSequence.h"
#include "tests/support/Arrays.h"
#include "tests/survival/Sweep.h"

namespace survival {

namespace {

using knotwork_test::intVec;
using knotwork_test::randomMatrix;
using knotwork_test::vec;

using Curve = std::unique_ptr<AP_SPLINE>;
using Surface = std::unique_ptr<AP_SURFACE>;
using CurveRecord = std::unique_ptr<nk_spline, decltype(&nk_free_bs)>;
using SurfaceRecord = std::unique_ptr<nk_surface, decltype(&nk_free_srf)>;

constexpr int kDegree = 3;
constexpr int kSpans = 4;
constexpr int kKnots = 2 * kDegree + kSpans - 1;

CurveRecord curveRecord()
{
    const DoubleVec numbers = randomMatrix(3, kDegree + kSpans, 16).dataVec();
    const double knots[kKnots] = {0, 0, 0, 1, 2, 3, 4, 4, 4};
    return {nk_bld_bs(3, knots, numbers.data(), 0, kDegree, kSpans, 0, 0), nk_free_bs};
}

SurfaceRecord surfaceRecord()
{
    SurfaceRecord record(nk_bld_srf(3, 0, kDegree, kDegree, kSpans, kSpans, 0, 0, 0, 0),
                         nk_free_srf);
    const DoubleVec knots = vec({0, 0, 0, 0, 1, 2, 3, 4, 4, 4, 4});
    TnkRw::dvToKnots(knots, knots, record.get());
    constexpr int kCount = kDegree + kSpans;
    const DoubleVec numbers = randomMatrix(3, kCount * kCount, 17).dataVec();
    TnkRw::tmToCvs(TtupleMatrix(3, kCount, kCount, numbers), record.get(), false);
    return record;
}

double valueOf(const AP_SPLINE& curve)
{
    double out[3];
    curve.eval(out, 1.3, 0);
    return out[0] + out[1] + out[2];
}

double valueOf(const AP_SURFACE& surface)
{
    double out[3 * (kDegree + 1)];
    surface.eval(out, 1.3, 2.6, 0);
    return out[0] + out[1] + out[2];
}

/// Inserts knots until every table has grown twice; the shape stays, whichever insertion failed.
template <class Shape, class Insert>
void insertMany(Trial& trial, Shape& shape, Insert insert)
{
    const double value = valueOf(shape);
    for (int i = 0; i < 20; ++i) {
        const double before = valueOf(shape);
        trial.attempt([&] { insert(shape, 0.15 + 0.18 * i); }, Answer::kException);
        trial.expect(std::fabs(valueOf(shape) - before) <= 1e-12);
    }
    trial.expect(std::fabs(valueOf(shape) - value) <= 1e-12);
}

void curves(Trial& trial)
{
    const CurveRecord record = curveRecord();
    AP_SPLINE curve(record.get());
    const double value = valueOf(curve);
    Curve made;
    CurveRecord written(nullptr, nk_free_bs);
    trial.attempt([&] { made = std::make_unique<AP_SPLINE>(record.get()); }, Answer::kException);
    trial.expect(!made || valueOf(*made) == value);
    trial.attempt([&] { made = std::make_unique<AP_SPLINE>(curve); }, Answer::kException);
    trial.expect(!made || valueOf(*made) == value);
    trial.attempt([&] { written.reset(curve.NKLIB()); }, Answer::kException);
    trial.expect(!written || valueOf(AP_SPLINE(written.get())) == value);
    AP_CNODE* node = nullptr;
    trial.attempt([&] { node = curve.noden(); }, Answer::kException);
    trial.expect(node == nullptr || node->owner == &curve);
    // A release needs no memory: nothing could tell its caller.
    if (written) trial.attempt([&] { written.reset(); }, Answer::kException);
    insertMany(trial, curve, [](AP_SPLINE& shape, double t) { shape.insert(t, 1); });
}

void surfaces(Trial& trial)
{
    const SurfaceRecord record = surfaceRecord();
    AP_SURFACE surface(record.get(), 0);
    const double value = valueOf(surface);
    Surface made;
    SurfaceRecord written(nullptr, nk_free_srf);
    trial.attempt([&] { made = std::make_unique<AP_SURFACE>(record.get(), 1); },
                  Answer::kException);
    trial.attempt([&] { made = std::make_unique<AP_SURFACE>(surface); }, Answer::kException);
    trial.attempt([&] { written.reset(surface.NKLIB()); }, Answer::kException);
    trial.expect(!written || valueOf(AP_SURFACE(written.get(), 0)) == value);
    if (written) trial.attempt([&] { written.reset(); }, Answer::kException);
    AP_SNODE* node = nullptr;
    trial.attempt([&] { node = surface.noden(); }, Answer::kException);
    trial.attempt(
        [&] {
            AP_EVAL_CONST_PARM along(surface);
            AP_EVAL_CONST_PARM copy(along);
            surface.vinsert(2.0, 1);
            copy.setv(2.6);
            copy.eval(1.3);
            trial.expect(std::fabs(copy()[0] + copy()[1] + copy()[2] - value) <= 1e-12);
        },
        Answer::kException);
    insertMany(trial, surface, [](AP_SURFACE& shape, double t) { shape.uinsert(t, 1); });
    insertMany(trial, surface, [](AP_SURFACE& shape, double t) { shape.vinsert(t, 1); });
}

void tuples(Trial& trial)
{
    const TtupleVector points(2, DoubleVec(8, 1.0, 1.0));
    const TtupleMatrix grid(2, 2, 2, DoubleVec(8, 1.0, 1.0));
    TtupleVector part;
    trial.attempt([&] { part.reference(points.rPoints(intVec({3, 0}))); });
    trial.expect(part.points() == 0 || part.point(0)(1) == 8.0);
    trial.attempt([&] { part.reference(points.components(1, 1)); });
    trial.attempt([&] { part.resize(5); });
    trial.attempt([&] { part.setPoints(0, 2, points); });
    part.reference(TtupleVector());
    trial.attempt([&] { part.reference(grid.rowVector(1)); });
    trial.expect(part.points() == 0 || part.point(0)(1) == 4.0);
    TtupleMatrix columns;
    trial.attempt([&] { columns.reference(grid.cols(intVec({1, 1, 0}))); });
    trial.expect(columns.cols() == 0 || columns.rows() == 0 || columns.point(1, 0)(0) == 7.0);
    TnumberSequence sequence(vec({3, 1, 2}));
    const auto length = sequence.length();
    trial.attempt([&] { sequence.add(vec({1, 2})); });
    trial.expect(sequence.length() == length || sequence.length() == length + 2);
    trial.attempt([&] { sequence.add(2.0, 2); });
    IntVec counts;
    trial.attempt([&] { counts.reference(sequence.multiplicities()); });
    trial.attempt([&] {
        TnumberSequence copy(sequence);
        copy.remove(0);
    });
}

void records(Trial& trial)
{
    const CurveRecord curve = curveRecord();
    const SurfaceRecord surface = surfaceRecord();
    constexpr int kCount = kDegree + kSpans;
    TtupleVector points(3, kCount, 0.0);
    TtupleMatrix net(3, kCount, kCount, 0.0);
    DoubleVec knots(kKnots + 2, 0.0);
    bool read = false;
    trial.attempt([&] { read = TnkRw::cvsToTv(curve.get(), points); });
    trial.attempt([&] { read = TnkRw::cvsToTm(surface.get(), net); });
    trial.attempt([&] { TnkRw::tvToCvs(points, curve.get(), true); });
    trial.attempt([&] { TnkRw::tmToCvs(net, surface.get(), true); });
    trial.attempt([&] { TnkRw::knotsToDv(curve.get(), knots); });
    DoubleVec product(2, 0.0);
    trial.attempt([&] { TnkRw::polyMultiply(knots, knots, product); });
}

}  // namespace

const std::vector<Subject>& shapeSubjects()
{
    static const std::vector<Subject> subjects = {{"curves", curves},
                                                  {"surfaces", surfaces},
                                                  {"tuples and sequences", tuples},
                                                  {"kernel records", records}};
    return subjects;
}

}  // namespace survival
