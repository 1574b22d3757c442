// SPDX-License-Identifier: MIT
#include "knotwork/platform/cpu.h"

#include <algorithm>

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

}  // namespace

std::atomic<CpuLevel> currentLevel = widest();

LevelForTests::LevelForTests(CpuLevel level) : before_(cpuLevel())
{
    currentLevel = std::min(level, widest());
}

LevelForTests::~LevelForTests()
{
    currentLevel = before_;
}

}  // namespace knotwork
