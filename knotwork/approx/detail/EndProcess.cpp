// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/EndProcess.h"

#include <cstdlib>
#include <exception>

void knotwork::endProcess()
{
#ifdef __GLIBCXX__
    if (std::get_terminate() == __gnu_cxx::__verbose_terminate_handler) std::abort();
#endif
    std::terminate();
}
