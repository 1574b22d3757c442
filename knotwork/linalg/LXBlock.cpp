// SPDX-License-Identifier: MIT
#include "knotwork/linalg/LXBlock.h"

#include <limits>
#include <new>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/SmallBlockPool.h"

namespace {

const knotwork::CoreErrors coreErrors;

void* allocateElements(std::size_t count, std::size_t elementSize)
{
    if (count > std::numeric_limits<std::size_t>::max() / elementSize) return nullptr;
    return ::operator new(count* elementSize, std::nothrow);
}

}  // namespace

void LXBlock::raiseOutOfMemory()
{
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

void LXBlock::destroy(LXBlock* block)
{
    delete block;
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
