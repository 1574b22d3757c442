// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolverReporter.h"

TsolverReporter::~TsolverReporter() = default;

void TsolverReporter::progress(double fraction)
{
    Tstring percent;
    percent.setDouble(fraction * 100.0);
    Tstring text("Constraint solving ... ");
    text.catenate(percent.asC());
    text.catenate(" completed.");
    report(text);
}

TsolverReporter& knotwork::defaultReporter()
{
    static TsolverReporter reporter(true);
    return reporter;
}
