// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// Keeps freed blocks of 2, 4, 6, 8 and 10 bytes for reuse, at most five of each size; everything
/// else goes to the general heap. Sizes are rounded up to the next even number.
/// A block header is 16 bytes and so never finds a place here; the limits stay as they are.
class SmallBlockPool {
  public:
    static void* allocate(std::size_t size) noexcept;  ///< null when the heap has nothing left
    static void release(void* block, std::size_t size) noexcept;
};

}  // namespace knotwork
