// SPDX-License-Identifier: MIT
#include "knotwork/platform/cpu.h"

#include <algorithm>
#include <atomic>

namespace knotwork {

namespace {

CpuLevel widest()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl"))
        return CpuLevel::kVectors512;
    if (__builtin_cpu_supports("avx2")) return CpuLevel::kVectors256;
#endif
    return CpuLevel::kPlain;
}

// Plain until it is initialised, which does for constructors that run before.
std::atomic<CpuLevel> current = widest();

}  // namespace

CpuLevel cpuLevel()
{
    return current.load(std::memory_order_relaxed);
}

LevelForTests::LevelForTests(CpuLevel level) : before_(cpuLevel())
{
    current = std::min(level, widest());
}

LevelForTests::~LevelForTests()
{
    current = before_;
}

}  // namespace knotwork
