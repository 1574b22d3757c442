// SPDX-License-Identifier: MIT
#include "knotwork/linalg/LXBlock.h"

#include <limits>
#include <new>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/OutOfMemory.h"
#include "knotwork/linalg/detail/SmallBlockPool.h"

namespace {

const knotwork::CoreErrors coreErrors;

void* allocateElements(std::size_t count, std::size_t elementSize)
{
    if (count > std::numeric_limits<std::size_t>::max() / elementSize) return nullptr;
    return ::operator new(count* elementSize, std::nothrow);
}

/// Stands in for a block whose header could not be had.
LXBlock* standIn()
{
    static LXBlock block(0, 1);
    return &block;
}

}  // namespace

int& knotwork::OutOfMemoryThrows::depth()
{
    thread_local int depth = 0;
    return depth;
}

void LXBlock::raiseOutOfMemory()
{
    if (knotwork::OutOfMemoryThrows::active()) throw std::bad_alloc();
    ErrorRecord record = {0x3008, 2, 0x901A};  // fatal whatever the catalogue says
    lxRaiseRecord(&record, "LXBlock");
}

LXBlock::LXBlock(std::size_t count, std::size_t elementSize) : users_(1), storage_(nullptr)
{
    if (count == 0) return;
    storage_ = allocateElements(count, elementSize);
    if (storage_ == nullptr) raiseOutOfMemory();
}

LXBlock::~LXBlock()
{
    ::operator delete(storage_);
}

LXBlock* LXBlock::make(std::size_t count, std::size_t elementSize)
{
    void* header = knotwork::SmallBlockPool::allocate(sizeof(LXBlock));
    if (header == nullptr) {
        raiseOutOfMemory();
        standIn()->share();
        return standIn();
    }
    try {
        return ::new (header) LXBlock(count, elementSize);
    } catch (...) {  // a handler threw
        knotwork::SmallBlockPool::release(header, sizeof(LXBlock));
        throw;
    }
}

void LXBlock::dropStorage()
{
    if (users_ != 1) return;
    ::operator delete(storage_);
    storage_ = nullptr;
}

void LXBlock::destroy(LXBlock* block)
{
    if (block != standIn()) delete block;
}

void* LXBlock::operator new(std::size_t size)
{
    void* header = knotwork::SmallBlockPool::allocate(size);
    if (header != nullptr) return header;
    raiseOutOfMemory();
    throw std::bad_alloc();  // a host's handler returned, and an array cannot be without its block
}

void LXBlock::operator delete(void* header, std::size_t size)
{
    knotwork::SmallBlockPool::release(header, size);
}
