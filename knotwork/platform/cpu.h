// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <type_traits>

namespace knotwork {

/// What vectors a kernel is compiled for. Kernels state their lanes themselves and fuse nothing, so
/// every level gives the same bits.
enum class CpuLevel { kPlain, kVectors256, kVectors512 };

/// The widest level of this machine, or what a LevelForTests asks for. Plain until the library's
/// own constructors have run, which does for those before.
extern std::atomic<CpuLevel> currentLevel;

inline CpuLevel cpuLevel()
{
    return currentLevel.load(std::memory_order_relaxed);
}

/// Holds kernels to a level, or to the machine's widest below it, on all threads while it lives.
class LevelForTests {
  public:
    explicit LevelForTests(CpuLevel level);
    ~LevelForTests();
    LevelForTests(const LevelForTests&) = delete;
    LevelForTests& operator=(const LevelForTests&) = delete;

  private:
    CpuLevel before_;
};

template <CpuLevel kLevel>
using AtLevel = std::integral_constant<CpuLevel, kLevel>;

/// One whose text depends on the level takes that first.
template <CpuLevel kLevel, class Kernel, class... Arguments>
[[gnu::always_inline]] inline void callKernel(Kernel& kernel, Arguments&... arguments)
{
    if constexpr (std::is_invocable_v<Kernel&, AtLevel<kLevel>, Arguments&...>)
        kernel(AtLevel<kLevel>(), arguments...);
    else
        kernel(arguments...);
}

#if defined(__x86_64__)
template <class Kernel, class... Arguments>
[[gnu::target("avx2")]] void runWith256(Kernel kernel, Arguments... arguments)
{
    callKernel<CpuLevel::kVectors256>(kernel, arguments...);
}
template <class Kernel, class... Arguments>
[[gnu::target("avx512f,avx512dq,avx512vl")]] void runWith512(Kernel kernel, Arguments... arguments)
{
    callKernel<CpuLevel::kVectors512>(kernel, arguments...);
}
#endif

/// Calls a kernel, an object whose operator() is always inlined, compiled for the machine's level,
/// or for kMost where wider vectors do not pay.
template <CpuLevel kMost = CpuLevel::kVectors512, class Kernel, class... Arguments>
void runKernel(Kernel kernel, Arguments... arguments)
{
#if defined(__x86_64__)
    const CpuLevel level = cpuLevel();
    if constexpr (kMost >= CpuLevel::kVectors512)
        if (level >= CpuLevel::kVectors512) return runWith512(kernel, arguments...);
    if constexpr (kMost >= CpuLevel::kVectors256)
        if (level >= CpuLevel::kVectors256) return runWith256(kernel, arguments...);
#endif
    callKernel<CpuLevel::kPlain>(kernel, arguments...);
}

}  // namespace knotwork
