// SPDX-License-Identifier: MIT
#include "tools/knotfit/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace knotfit {

ProgressBar::ProgressBar() : terminal_(isatty(STDERR_FILENO) != 0) {}

void ProgressBar::show(double share)
{
    constexpr int kWidth = 40;
    if (!terminal_) return;
    const int filled = std::clamp(static_cast<int>(share * kWidth), 0, kWidth);
    const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(kWidth - filled), ' ');
    std::fprintf(stderr, "\r[%s] %3.0f %%%s", bar.c_str(), 100.0 * share, share < 1.0 ? "" : "\n");
    std::fflush(stderr);
}

}  // namespace knotfit
