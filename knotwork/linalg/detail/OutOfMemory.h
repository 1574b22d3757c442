// SPDX-License-Identifier: MIT
#pragma once

#include <new>

#include "knotwork/linalg/LXBlock.h"

namespace knotwork {

/// While one is alive, arrays that find no memory on this thread throw std::bad_alloc instead of
/// raising 0x3008. So an operation of many allocations is left at the first one that fails, with
/// nothing half made, whatever a host's handler would do; who began it raises the error once.
class OutOfMemoryThrows {
  public:
    OutOfMemoryThrows() { ++depth(); }
    ~OutOfMemoryThrows() { --depth(); }
    OutOfMemoryThrows(const OutOfMemoryThrows&) = delete;
    OutOfMemoryThrows& operator=(const OutOfMemoryThrows&) = delete;

    static bool active() { return depth() > 0; }

  private:
    static int& depth();
};

/// Runs `work`. Where its arrays or standard containers find no memory, runs `forget`, which must
/// not allocate and leaves nothing that claims to be a result, and then raises 0x3008. False then,
/// should a host's handler return.
template <class Work, class Forget>
bool completed(Work work, Forget forget)
{
    try {
        const OutOfMemoryThrows scope;
        work();
        return true;
    } catch (const std::bad_alloc&) {
        forget();
    }
    LXBlock::raiseOutOfMemory();
    return false;
}

/// What `function` returns, or `failure` where it found no memory, after 0x3008.
template <class Function>
auto withoutBadAlloc(Function function, decltype(function()) failure) -> decltype(function())
{
    completed([&] { failure = function(); }, [] {});
    return failure;
}

/// What `function` returns, an array, or an empty one where it found no memory, after 0x3008.
template <class Function>
auto orEmpty(Function function) -> decltype(function())
{
    try {
        const OutOfMemoryThrows scope;
        return function();
    } catch (const std::bad_alloc&) {
    }
    LXBlock::raiseOutOfMemory();
    return decltype(function())();
}

}  // namespace knotwork
