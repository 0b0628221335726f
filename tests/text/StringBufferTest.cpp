// SPDX-License-Identifier: MIT
// The record behind a string, seen from inside: block sizes, counts and the pin.
#include <tavrin/String.h>

#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>

#include "support/LibraryTest.h"
#include "support/TestAllocator.h"
#include "text/StringAccess.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using detail::StringAccess;
using test::patternOf;
using test::TestAllocator;
using test::Units;
using test::unitsOf;

using StringBufferTest = test::LibraryTest;
using StringBufferMultiThreadedTest = test::MultiThreadedLibraryTest;

namespace {

int capacityOf(const String &text)
{
    return StringAccess::buffer(text)->capacity();
}

int countOf(const String &text)
{
    return StringAccess::buffer(text)->refCount;
}

bool isPinned(const String &text)
{
    return StringAccess::buffer(text)->isPinned();
}

String ofLength(int length)
{
    return String(Units(patternOf(length)));
}

// The rule of block sizes, written as a search.
int capacityFor(int length)
{
    int room = 16;
    while (room < length + 1)
        room *= 2;
    return room - 1;
}

} // namespace

TEST_F(StringBufferTest, EmptyRecordIsConstantAndReadsAsShared)
{
    const StringBuffer *record = StringAccess::buffer(String());
    EXPECT_EQ(record, detail::emptyBuffer);
    EXPECT_EQ(record->length, 0);
    EXPECT_EQ(record->capacity(), 0);
    EXPECT_FALSE(record->isPinned());
    EXPECT_TRUE(record->isShared());
    EXPECT_EQ(record->text[0], 0);
    EXPECT_EQ(countOf(String::emptyString()), countOf(String()));
}

TEST_F(StringBufferTest, HeadIsTwelveBytes)
{
    EXPECT_EQ(offsetof(StringBuffer, length), 0U);
    EXPECT_EQ(offsetof(StringBuffer, capacityWord), 4U);
    EXPECT_EQ(offsetof(StringBuffer, refCount), 8U);
    EXPECT_EQ(offsetof(StringBuffer, text), 12U);
}

TEST_F(StringBufferTest, BlocksHavePowerOfTwoRoomFromSixteenUnits)
{
    for (int length = 1; length < 5000; ++length) {
        const String text = ofLength(length);
        ASSERT_EQ(capacityOf(text), capacityFor(length)) << length;
        ASSERT_EQ(countOf(text), 1);
        ASSERT_FALSE(isPinned(text));
    }
}

TEST_F(StringBufferTest, AllocationHoldsTheHeadAndTheRoom)
{
    const int cacheSize = Heap::getCacheSize();
    Heap::setCacheSize(0);
    for (const int length : {1, 15, 16, 31, 32, 127, 128, 1000}) {
        const String text = ofLength(length);
        const std::size_t bytes = 12 + 2 * static_cast<std::size_t>(capacityOf(text) + 1);
        EXPECT_EQ(TestAllocator::shared().lastSize(), (bytes + 23) & ~std::size_t{15}) << length;
    }
    Heap::setCacheSize(cacheSize);
}

TEST_F(StringBufferTest, TheSixteenthUnitMovesATextToTheNextBlock)
{
    String text = ofLength(15);
    EXPECT_EQ(capacityOf(text), 15);
    text.append('x');
    EXPECT_EQ(capacityOf(text), 31);
}

TEST_F(StringBufferTest, AdjustKeepsTheBlockWhileLessThan2049UnitsAreSpare)
{
    struct Row
    {
        const char *name;
        int before;
        int after;
        int capacity;
    };
    const Row rows[] = {
        {"far above the slack", 5000, 100, 127},
        {"to the half of the block, which the rule sizes anew", 5000, 4000, 4095},
        {"to where the same block would be made again", 5000, 4096, 8191},
        {"just inside the slack", 8191, 6143, 8191},
        {"at the limit of the slack, but above the half", 8191, 6142, 8191},
        {"one unit in a block of 2047", 2047, 1, 2047},
        {"one unit in a block of 4095", 4095, 1, 15},
        {"2047 of 4095: spare room of 2048", 4095, 2047, 4095},
        {"2046 of 4095: spare room of 2049", 4095, 2046, 2047},
        {"growth inside the block", 16, 31, 31},
        {"growth past the block", 31, 32, 63},
        {"growth by far", 1, 100000, 131071},
        {"the same length", 100, 100, 127},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        String text = ofLength(row.before);
        text.adjust(row.after);
        EXPECT_EQ(capacityOf(text), row.capacity);
        EXPECT_EQ(text.length(), row.after);
        const int kept = std::min(row.before, row.after);
        EXPECT_EQ(unitsOf(text.substr(0, kept)), patternOf(kept));
        EXPECT_EQ(text.wstr()[row.after], 0);
    }
}

TEST_F(StringBufferTest, AdjustOfASharedTextSizesTheNewBlockByTheRule)
{
    const String shared = ofLength(5000);
    for (const int length : {1, 15, 16, 4999, 5000, 5001, 9000}) {
        String text(shared);
        text.adjust(length);
        EXPECT_EQ(capacityOf(text), capacityFor(length));
        EXPECT_EQ(countOf(text), 1);
        EXPECT_EQ(countOf(shared), 1);
    }
}

TEST_F(StringBufferTest, KeepingABlockIsWhatTheTwoRulesTogetherSay)
{
    StringBuffer record{0, 0, 1, {0}};
    for (int room = 16; room <= 16384; room *= 2) {
        record.capacityWord = static_cast<unsigned>(room - 1);
        for (int length = 1; length <= room + 1; ++length) {
            const bool fits = length <= room - 1;
            const bool kept = fits && (room - 1 - length < 2049 || capacityFor(length) == room - 1);
            ASSERT_EQ(record.keepsBlockFor(length), kept) << length << " in " << room;
        }
    }
}

TEST_F(StringBufferTest, TheShortWayOfAppendingKeepsWhatKeepingABlockSays)
{
    StringBuffer record{0, 0, 1, {0}};
    for (int room = 16; room <= 16384; room *= 2) {
        record.capacityWord = static_cast<unsigned>(room - 1);
        for (int length = 1; length < room; ++length) {
            const bool canBe = record.keepsBlockFor(length);
            if (canBe) {
                ASSERT_EQ(record.takesOneMoreAt(length), record.keepsBlockFor(length + 1))
                    << length << " in " << room;
            }
        }
        ASSERT_FALSE(record.takesOneMoreAt(0)) << "after clear, in " << room;
    }
}

TEST_F(StringBufferTest, EveryWayOfGettingShorterLeavesABlockThatSuitsTheLength)
{
    struct Row
    {
        const char *name;
        void (*shorten)(String &text);
    };
    const Row rows[] = {
        {"adjust", [](String &text) { text.adjust(1); }},
        {"erase of the end", [](String &text) { text.erase(1, -1); }},
        {"erase of the beginning", [](String &text) { text.erase(0, 19000); }},
        {"assignment of a unit", [](String &text) { text = 'x'; }},
        {"assignment of bytes", [](String &text) { text = "short"; }},
        {"assignment of the own end", [](String &text) { text = text.wstr() + 19000; }},
        {"replaceAll", [](String &text) { text.replaceAll(" ", "", 0); }},
        {"split", [](String &text) { text.split('|'); }},
        {"strip", [](String &text) { text.strip(); }},
        {"decode", [](String &text) { text.decode("short", -1, nullptr); }},
        {"print", [](String &text) { text.print("%d", 1); }},
        {"setup", [](String &text) { text.setup('x', 7); }},
    };
    for (const Row &row : rows) {
        String text;
        text.setup(' ', 20000);
        text.set(15000, '|');
        row.shorten(text);
        const StringBuffer &record = *StringAccess::buffer(text);
        EXPECT_GT(record.length, 0) << row.name;
        EXPECT_LT(record.length, 20000) << row.name;
        EXPECT_TRUE(record.keepsBlockFor(record.length)) << row.name;
    }
}

TEST_F(StringBufferTest, ThePinIsNoPartOfTheRoom)
{
    StringBuffer record{0, 0, 1, {0}};
    for (const int capacity : {15, 4095, (1 << 30) - 1, std::numeric_limits<int>::max()}) {
        record.capacityWord = static_cast<unsigned>(capacity) | StringBuffer::pinnedFlag;
        EXPECT_TRUE(record.takesOneMoreAt(1)) << capacity;
        EXPECT_TRUE(record.takesOneMoreAt(capacity - 1)) << capacity;
        EXPECT_FALSE(record.takesOneMoreAt(0)) << capacity;
        EXPECT_FALSE(record.takesOneMoreAt(capacity)) << capacity;
    }
}

TEST_F(StringBufferTest, AppendingUnitByUnitKeepsThePin)
{
    String text("x");
    text.makeUnique();
    for (int length = 2; length < 5000; ++length) {
        text.append(static_cast<unsigned short>(length));
        ASSERT_TRUE(isPinned(text)) << length;
        ASSERT_EQ(capacityOf(text), capacityFor(length)) << length;
    }
    for (int at = 1; at < text.length(); ++at)
        ASSERT_EQ(text[at], at + 1);
}

TEST_F(StringBufferTest, AppendingUnitByUnitFollowsAdjust)
{
    String text;
    for (int length = 1; length < 20000; ++length) {
        text.append(static_cast<unsigned short>(length));
        ASSERT_EQ(capacityOf(text), capacityFor(length)) << length;
    }
    text.clear();
    EXPECT_EQ(capacityOf(text), 32767);
    text.append('x');
    EXPECT_EQ(capacityOf(text), 15) << "the spare room had grown past the slack";
}

TEST_F(StringBufferTest, ClearKeepsTheCapacity)
{
    String text = ofLength(100);
    text.clear();
    EXPECT_EQ(capacityOf(text), 127);
    const String copy(text);
    EXPECT_EQ(capacityOf(copy), 127);
    text.clear();
    EXPECT_EQ(capacityOf(text), 15) << "shared: a block for the length that it had";
}

TEST_F(StringBufferTest, CopiesAreCounted)
{
    const String original = ofLength(10);
    EXPECT_EQ(countOf(original), 1);
    {
        const String copy(original);
        String assigned;
        assigned = copy;
        EXPECT_EQ(countOf(original), 3);
        String moved(std::move(assigned));
        EXPECT_EQ(countOf(original), 3);
        moved.append('x');
        EXPECT_EQ(countOf(original), 2);
        EXPECT_EQ(countOf(moved), 1);
    }
    EXPECT_EQ(countOf(original), 1);
}

TEST_F(StringBufferMultiThreadedTest, CopiesAreCountedInMultiThreadedOperation)
{
    const String original = ofLength(10);
    {
        const String copy(original);
        String assigned("other");
        assigned = copy;
        EXPECT_EQ(countOf(original), 3);
    }
    EXPECT_EQ(countOf(original), 1);
}

TEST_F(StringBufferTest, EmptyStringsAreNotCounted)
{
    const int count = countOf(String());
    const String first;
    String second(first);
    second = String("x");
    second.erase();
    EXPECT_EQ(countOf(first), count);
}

TEST_F(StringBufferTest, PinIsSetByMakeUniqueAndSurvivesAdjustOfAnyKind)
{
    String text = ofLength(10);
    text.makeUnique();
    EXPECT_TRUE(isPinned(text));
    EXPECT_EQ(capacityOf(text), 15);
    for (const int length : {12, 100, 5000, 9000, 100, 10}) {
        text.adjust(length);
        EXPECT_TRUE(isPinned(text)) << length;
        EXPECT_EQ(countOf(text), 1);
    }
    EXPECT_EQ(capacityOf(text), 127);
    text.append('x');
    text.append("more text than the block had room for, so that it has to grow once more. "
                "more text than the block had room for, so that it has to grow once more.");
    EXPECT_TRUE(isPinned(text));
    text.replaceAll(" ", "   ");
    EXPECT_TRUE(isPinned(text));
    text.insert("x", 0);
    EXPECT_TRUE(isPinned(text));
    text.init(3);
    EXPECT_FALSE(isPinned(text));
}

TEST_F(StringBufferTest, PinnedBuffersAreNeverShared)
{
    String text = ofLength(10);
    text.makeUnique();
    const String copy(text);
    const String sum = text + "";
    String piece(text);
    piece = piece.split('\x01');
    for (const String *other : {&copy, &sum, &std::as_const(piece)}) {
        EXPECT_FALSE(isPinned(*other));
        EXPECT_EQ(unitsOf(*other), unitsOf(text));
    }
    EXPECT_EQ(countOf(text), 1);
}

TEST_F(StringBufferTest, SmallBlocksGrowThroughTheBlockCache)
{
    TestAllocator &allocator = TestAllocator::shared();
    String text;
    const std::int64_t before = allocator.reallocations();
    for (int length = 0; length < 127; ++length)
        text.append('x');
    EXPECT_EQ(allocator.reallocations(), before);
    text.append('x');
    EXPECT_EQ(allocator.reallocations(), before + 1);
    EXPECT_EQ(capacityOf(text), 255);
}

TEST_F(StringBufferTest, ShrinkingNeverRunsOutOfMemory)
{
    TestAllocator &allocator = TestAllocator::shared();
    for (const int length : {10, 200}) {
        String text = ofLength(5000);
        Heap::flushCache();
        allocator.failRequests(1, TestAllocator::forever);
        text.adjust(length);
        allocator.stopFailing();
        EXPECT_GT(allocator.refusals(), 0);
        EXPECT_EQ(unitsOf(text), patternOf(length));
        EXPECT_EQ(capacityOf(text), 8191) << "the block stays when no smaller one is to be had";
    }
}
