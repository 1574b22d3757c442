// SPDX-License-Identifier: MIT
// What goes in and out of the library is of the host's own classes.
#include <knotwork/knotwork.h>

#include <cstdio>
#include <cstring>

namespace {

int failures = 0;

void check(bool holds, const char* what)
{
    if (!holds) std::printf("failed: %s\n", what);
    failures += holds ? 0 : 1;
}

void checkExceptions()
{
    int caught = 0;
    try {
        NK_raiseException(5);
    } catch (const Texception& e) {
        caught = e.madeByHost;
    }
    check(caught == 17, "the kernel's exception is one of the host's");
    try {
        NK_raiseException(902);
    } catch (const TmemoryException& e) {
        caught += e.madeByHost;
    }
    check(caught == 34, "the memory exception is the host's");
    check(TnkException::sTypeof()->istype(Texception::sTypeof()), "class records are related");
    check(std::strcmp(TnkException::sTypeof()->hostName(), "TnkException") == 0, "by name");
}

void checkTransformation()
{
    TxformMatrix shift;
    for (int i = 0; i < 4; ++i) shift.matrix_.entries[i][i] = 1.0;
    shift.matrix_.entries[3][0] = 5.0;
    TtupleVector points(3, 2, 1.0);
    points.applyTransformation(shift);
    check(points(1)(0) == 6.0 && points(1)(1) == 1.0, "the host's transformation is applied");
}

void checkCurve()
{
    TtupleVector points(1, DoubleVec(9, 0.0, 1.0));
    const DoubleVec t(9, 0.0, 0.125);
    const auto curve =
        knotwork::fitCurve(points, t, knotwork::BsplineBasis::uniform(2, 0.0, 1.0, 3));
    check(curve.fits(), "a fit through the host's records");
    check(hostCurvesAlive == 0, "which are released");
    nk_spline* record = curve.spline->NKLIB();
    check(hostCurvesAlive == 1 && record->degree == 2, "a record of the host's kernel");
    nk_free_bs(record);
}

}  // namespace

int main()
{
    checkExceptions();
    checkTransformation();
    checkCurve();
    TsolverReporter quiet(true);
    quiet.report(Tstring("a text of the host's"));
    return failures == 0 ? 0 : 1;
}
