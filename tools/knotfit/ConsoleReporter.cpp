// SPDX-License-Identifier: MIT
#include "tools/knotfit/ConsoleReporter.h"

#include <cstdio>

namespace knotfit {

ConsoleReporter::ConsoleReporter(bool verbose, Progress progress)
    : TsolverReporter(!verbose), progress_(progress)
{
}

void ConsoleReporter::report(const char* text)
{
    if (!isActive()) return;
    double percent = 0.0;
    const bool solving = std::sscanf(text, "Constraint solving ... %lf", &percent) == 1;
    if (!solving || !bar_.visible())
        std::fprintf(stderr, "%sReport: (%s)\n", bar_.visible() ? "\n" : "", text);
    else if (progress_ == Progress::kBar)
        bar_.show(percent / 100.0);
}

}  // namespace knotfit
