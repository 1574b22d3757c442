// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "knotwork/export.h"

/// Reference-counted storage under every vector and matrix. It knows neither its length nor its
/// element type; the arrays that point at it keep those.
/// Errors    0x3008 (origin 0x901A, always fatal) when the storage cannot be had. If a host's
///           handler returns from it, the block is there, with a count of 1 and no storage.
///           `new LXBlock` cannot do without a header and then throws std::bad_alloc; make() can.
/// Limits    the count has 16 bits and wraps: at most 65,535 arrays may share a block. Intended.
class KNOTWORK_EXPORT LXBlock {
  public:
    /// A new block, for arrays. Where no header can be had, and a host's handler returns from the
    /// error, one without storage that all such arrays share, count included: threads too.
    static LXBlock* make(std::size_t count, std::size_t elementSize);

    /// A block of `count` uninitialised elements of `elementSize` bytes; its count is 1.
    LXBlock(std::size_t count, std::size_t elementSize);
    ~LXBlock();
    LXBlock(const LXBlock&) = delete;
    LXBlock& operator=(const LXBlock&) = delete;

    void* storage() const { return storage_; }  ///< null for a block of 0 elements
    std::uint16_t users() const { return users_; }
    void share() { ++users_; }

    /// One user less; the last one frees the storage and the block.
    static void release(LXBlock* block)
    {
        if (--block->users_ == 0) destroy(block);
    }

    /// Frees the elements of a block that has no other user; the block itself stays.
    void dropStorage();

    /// Raises 0x3008: for counts that no block can hold, found before there is a block.
    static void raiseOutOfMemory();

    static void* operator new(std::size_t size);
    static void operator delete(void* header, std::size_t size);

  private:
    // Out of line: inlined into a caller that releases twice, it looks like a use after free.
    static void destroy(LXBlock* block);

    std::uint16_t users_;
    void* storage_;
};

static_assert(sizeof(LXBlock) == 16 || sizeof(void*) != 8, "hosts know the header's layout");
