// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

namespace knotwork {

/// What vectors a kernel is compiled for. Kernels state their lanes themselves and fuse nothing, so
/// every level gives the same bits.
enum class CpuLevel { kPlain, kVectors256 };

/// The widest level of this machine, or what a LevelForTests asks for.
CpuLevel cpuLevel();

/// Holds kernels to a level, on all threads, while it lives.
class LevelForTests {
  public:
    explicit LevelForTests(CpuLevel level);
    ~LevelForTests();
    LevelForTests(const LevelForTests&) = delete;
    LevelForTests& operator=(const LevelForTests&) = delete;

  private:
    CpuLevel before_;
};

#if defined(__x86_64__)
template <class Kernel, class... Arguments>
[[gnu::target("avx2")]] void runWith256(Kernel kernel, Arguments... arguments)
{
    kernel(arguments...);
}
#endif

/// Calls a kernel, an object whose operator() is always inlined, compiled for the machine's level.
template <class Kernel, class... Arguments>
void runKernel(Kernel kernel, Arguments... arguments)
{
#if defined(__x86_64__)
    if (cpuLevel() == CpuLevel::kVectors256) return runWith256(kernel, arguments...);
#endif
    kernel(arguments...);
}

}  // namespace knotwork
