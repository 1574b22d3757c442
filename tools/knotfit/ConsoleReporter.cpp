// SPDX-License-Identifier: MIT
#include "tools/knotfit/ConsoleReporter.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace knotfit {

ConsoleReporter::ConsoleReporter(bool verbose)
    : TsolverReporter(!verbose), terminal_(isatty(STDERR_FILENO) != 0)
{
}

void ConsoleReporter::report(const char* text)
{
    constexpr int kWidth = 40;
    double percent = 0.0;
    if (!isActive() || !terminal_ ||
        std::sscanf(text, "Constraint solving ... %lf", &percent) != 1) {
        if (isActive()) std::fprintf(stderr, "Report: (%s)\n", text);
        return;
    }
    const int filled = std::clamp(static_cast<int>(percent / 100.0 * kWidth), 0, kWidth);
    const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(kWidth - filled), ' ');
    std::fprintf(stderr, "\r[%s] %3.0f %%%s", bar.c_str(), percent, percent >= 100.0 ? "\n" : "");
    std::fflush(stderr);
}

}  // namespace knotfit
