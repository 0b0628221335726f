// SPDX-License-Identifier: MIT
#include <tavrin/Heap.h>

#include <new>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

using namespace Tavrin;

TEST(Heap, AllocationBeforeInitThrowsBadAllocation)
{
    try {
        (void)Heap::operator new(1);
        FAIL() << "no exception";
    } catch (const std::bad_alloc &exhausted) {
        EXPECT_STREQ(exhausted.what(), "bad allocation");
    }
}

TEST(Heap, ZeroBytesGiveAUsableBlockOf16)
{
    InitTerm::init();
    int blocksBefore = 0, blocks = 0;
    std::size_t bytesBefore = 0, bytes = 0;
    Heap::getMemoryStatistics(blocksBefore, bytesBefore);
    void *block = Heap::operator new(0);
    Heap::getMemoryStatistics(blocks, bytes);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(blocks - blocksBefore, 1);
    EXPECT_EQ(bytes - bytesBefore, 16u);
    Heap::operator delete(block);
    InitTerm::exit();
}
