// SPDX-License-Identifier: MIT
#pragma once

#include <new>

#include "knotwork/linalg/LXBlock.h"

namespace knotwork {

/// Runs a piece of a solver that uses standard containers for its scratch. Solvers do not throw:
/// where those find no memory the catalogued error 0x3008 is raised, as it is for vectors; should
/// a host's handler return from it, the result is `failure`.
template <class Function, class Result>
Result withoutBadAlloc(Function function, Result failure)
{
    try {
        return function();
    } catch (const std::bad_alloc&) {
        LXBlock::raiseOutOfMemory();
        return failure;
    }
}

}  // namespace knotwork
