// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/SmallBlockPool.h"

#include <algorithm>
#include <new>

namespace knotwork {

namespace {

constexpr std::size_t kClasses = 5;
constexpr std::size_t kKeptPerClass = 5;

struct Stack {
    void* blocks[kKeptPerClass];
    std::size_t depth;
};
Stack stacks[kClasses] = {};

std::size_t roundedSize(std::size_t size)
{
    return std::max<std::size_t>(size + size % 2, 2);
}

std::size_t classOf(std::size_t rounded)
{
    return rounded / 2 - 1;
}

}  // namespace

void* SmallBlockPool::allocate(std::size_t size) noexcept
{
    const std::size_t rounded = roundedSize(size);
    const std::size_t sizeClass = classOf(rounded);
    if (sizeClass < kClasses && stacks[sizeClass].depth > 0)
        return stacks[sizeClass].blocks[--stacks[sizeClass].depth];
    return ::operator new(rounded, std::nothrow);
}

void SmallBlockPool::release(void* block, std::size_t size) noexcept
{
    const std::size_t sizeClass = classOf(roundedSize(size));
    if (sizeClass < kClasses && stacks[sizeClass].depth < kKeptPerClass)
        stacks[sizeClass].blocks[stacks[sizeClass].depth++] = block;
    else
        ::operator delete(block);
}

}  // namespace knotwork
