// SPDX-License-Identifier: MIT
#include "knotwork/platform/cpu.h"

#include <atomic>

namespace knotwork {

namespace {

CpuLevel widest()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return CpuLevel::kVectors256;
#endif
    return CpuLevel::kPlain;
}

std::atomic<CpuLevel>& current()
{
    static std::atomic<CpuLevel> level(widest());
    return level;
}

}  // namespace

CpuLevel cpuLevel()
{
    return current().load(std::memory_order_relaxed);
}

LevelForTests::LevelForTests(CpuLevel level) : before_(cpuLevel())
{
    if (level <= widest()) current() = level;
}

LevelForTests::~LevelForTests()
{
    current() = before_;
}

}  // namespace knotwork
