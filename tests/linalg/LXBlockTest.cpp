// SPDX-License-Identifier: MIT
#include "knotwork/linalg/LXBlock.h"

#include <csignal>
#include <cstdint>

#include "knotwork/linalg/detail/SmallBlockPool.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using knotwork::SmallBlockPool;
using namespace knotwork_test;

constexpr std::size_t kTooMany = SIZE_MAX / 4;  // of 8 bytes: the product wraps

TEST(LXBlockTest, CountsItsUsersAndHoldsItsElements)
{
    LXBlock* block = new LXBlock(3, sizeof(double));
    EXPECT_EQ(block->users(), 1);
    auto* numbers = static_cast<double*>(block->storage());
    ASSERT_NE(numbers, nullptr);
    numbers[2] = 4.0;
    block->share();
    EXPECT_EQ(block->users(), 2);
    LXBlock::release(block);
    EXPECT_EQ(block->users(), 1);
    EXPECT_EQ(numbers[2], 4.0);
    LXBlock::release(block);  // the address sanitizer says whether both parts are gone
}

TEST(LXBlockTest, EmptyBlockHasNoStorageAndOneUser)
{
    const LXBlock block(0, sizeof(double));
    EXPECT_EQ(block.storage(), nullptr);
    EXPECT_EQ(block.users(), 1);
}

TEST(LXBlockTest, MemoryItCannotHaveIsFatalWhateverTheCatalogueSays)
{
    RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
    const LXBlock block(kTooMany, sizeof(double));
    ASSERT_EQ(handler.raised().size(), 1u);
    EXPECT_EQ(handler.raised()[0].code, 0x3008);
    EXPECT_EQ(handler.raised()[0].severity, 2);
    EXPECT_EQ(handler.raised()[0].origin, 0x901A);
    EXPECT_EQ(handler.raised()[0].message, "[NOMEM: LXBlock]: Out of memory");
    EXPECT_EQ(block.storage(), nullptr);
    EXPECT_EQ(block.users(), 1) << "a handler that returns finds a whole block";
}

TEST(LXBlockDeathTest, MemoryItCannotHaveEndsTheProcess)
{
    EXPECT_EXIT(LXBlock(kTooMany, sizeof(double)), testing::KilledBySignal(SIGABRT),
                testing::Eq("** [NOMEM: LXBlock]: Out of memory.\n** Processing terminated.\n"));
}

TEST(SmallBlockPoolTest, KeepsFiveOfEachEvenSizeAndGivesTheLastBackFirst)
{
    for (const std::size_t size : {2u, 4u, 6u, 8u, 10u}) {
        SCOPED_TRACE(size);
        std::vector<void*> blocks(6);
        for (void*& b : blocks) b = SmallBlockPool::allocate(size);
        for (void* b : blocks) SmallBlockPool::release(b, size);  // the sixth goes to the heap
        for (int k = 4; k >= 0; --k)
            EXPECT_EQ(SmallBlockPool::allocate(size), blocks[static_cast<std::size_t>(k)]);
        for (int k = 0; k < 5; ++k)
            SmallBlockPool::release(blocks[static_cast<std::size_t>(k)], size);
    }
}

TEST(SmallBlockPoolTest, OddSizesShareTheNextEvenOne)
{
    for (const std::size_t odd : {1u, 3u, 5u, 7u, 9u}) {
        void* block = SmallBlockPool::allocate(odd);
        SmallBlockPool::release(block, odd);
        EXPECT_EQ(SmallBlockPool::allocate(odd + 1), block) << odd;
        SmallBlockPool::release(block, odd + 1);
    }
}

TEST(SmallBlockPoolTest, LargerBlocksKeepTheirSize)
{
    for (const std::size_t size : {11u, 12u, 16u, 4000u}) {
        auto* block = static_cast<unsigned char*>(SmallBlockPool::allocate(size));
        ASSERT_NE(block, nullptr);
        for (std::size_t i = 0; i < size; ++i) block[i] = 0xAB;  // overruns show under asan
        SmallBlockPool::release(block, size);
    }
}

}  // namespace
