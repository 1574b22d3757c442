// SPDX-License-Identifier: MIT
// A plug-in that brings the library along and uses what of it keeps state: the error handler, the
// spare elements, the kept exception and what a fit keeps.
#include "knotwork/knotwork.h"

namespace {

int heard = 0;

void hear(ErrorRecord*, va_list)
{
    ++heard;
}

}  // namespace

/// Whether the handler in force was the library's own; puts this plug-in's into its place.
extern "C" int installHandler()
{
    const LXErrHandler found = setLXErrHandler(nullptr);
    return setLXErrHandler(hear) == found ? 1 : 0;
}

/// How many errors the handler heard of; -1 when the library does not work.
extern "C" int useLibrary()
{
    heard = 0;
    DoubleVec v(4, 0.0, 1.0);
    DoubleGenMat m(2, 2, 0.0);
    v[4] = 1.0;
    m.bcset(2, 0, 1.0);
    try {
        NK_raiseException(5);
        return -1;
    } catch (const TnkException& e) {
        e.cache();
    }
    const auto basis = knotwork::BsplineBasis::uniform(1, 0.0, 3.0, 3);
    const TtupleVector points(1, DoubleVec(v));
    const auto curve = knotwork::fitCurve(points, v, basis, {{0.0, 0, {0.0}}});
    if (!curve.met()) return -1;
    return heard;
}
