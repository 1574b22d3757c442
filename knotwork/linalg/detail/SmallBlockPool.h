// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// Keeps freed blocks of 2, 4, 6, 8 and 10 bytes for reuse, at most five of each size; everything
/// else goes to the general heap. Sizes are rounded up to the next even number.
/// On 64-bit hosts a block header, the only customer, is 16 bytes, so that the pool serves no
/// request there: intended, the limits are those of hosts whose headers are smaller.
class SmallBlockPool {
  public:
    static void* allocate(std::size_t size) noexcept;  ///< null when the heap has nothing left
    static void release(void* block, std::size_t size) noexcept;
};

}  // namespace knotwork
