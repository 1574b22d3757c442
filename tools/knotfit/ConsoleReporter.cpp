// SPDX-License-Identifier: MIT
#include "tools/knotfit/ConsoleReporter.h"

#include <cstdio>
#include <cstring>

namespace knotfit {

void ConsoleReporter::report(const char* text)
{
    if (!isActive()) return;
    const bool visible = bar_.visible();
    if (visible && std::strncmp(text, "Constraint solving ... ", 23) == 0) return;
    std::fprintf(stderr, "%sReport: (%s)\n", visible ? "\n" : "", text);
}

}  // namespace knotfit
