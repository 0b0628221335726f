// SPDX-License-Identifier: MIT
#include <tavrin/SimpleArray.h>

#include <climits>
#include <cstdint>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::arrayOf;
using test::numbersTo;

namespace {

using SimpleArrayTest = test::LibraryTest;

constexpr int defaultIncrement = 8;

bool shareRecord(const SimpleArray &left, const SimpleArray &right)
{
    return left.getData() == right.getData();
}

bool isEmptyRecord(const SimpleArray &array)
{
    return shareRecord(array, SimpleArray());
}

// The slots that the block of the last request has room for, behind header and record.
int slotsOfLastBlock()
{
    return static_cast<int>((test::TestAllocator::shared().lastSize() - 8 - 24) / 8);
}

} // namespace

// Construction, sharing, comparison

TEST_F(SimpleArrayTest, ANewArrayIsEmptyAndAllocatesNothing)
{
    const std::int64_t before = test::TestAllocator::shared().allocations();
    const SimpleArray array;
    EXPECT_EQ(array.length(), 0);
    EXPECT_EQ(array.getIncrement(), defaultIncrement);
    EXPECT_TRUE(isEmptyRecord(array));
    EXPECT_EQ(test::TestAllocator::shared().allocations(), before);
}

TEST(SimpleArray, IsOnePointer)
{
    EXPECT_EQ(sizeof(SimpleArray), sizeof(void *));
}

TEST(SimpleArray, AnEmptyArrayWorksBeforeInitAndAfterExit)
{
    SimpleArray before;
    const SimpleArray copy = before;
    before = copy;
    before.clear();
    before.erase();
    before.setSize(0);
    EXPECT_EQ(before.removeAt(0), 0);
    EXPECT_EQ(before.indexOf(0), -1);
    EXPECT_EQ(copy[0], 0);
    EXPECT_TRUE(before == copy);
    EXPECT_THROW(before.append(1), std::bad_alloc);
    EXPECT_THROW(before[0] = 1, std::bad_alloc);
    EXPECT_EQ(before.length(), 0);
    InitTerm::init();
    before.append(1);
    EXPECT_EQ(before.length(), 1);
    before.erase();
    InitTerm::exit();
    EXPECT_THROW(before.append(1), std::bad_alloc);
    EXPECT_EQ(before, copy);
}

TEST_F(SimpleArrayTest, ACopySharesTheRecordUntilTheFirstWriteToEither)
{
    const SimpleArray original = arrayOf({1, 2, 3});
    SimpleArray left = original, right = original;
    EXPECT_TRUE(shareRecord(left, right));
    left[0] = 9;
    EXPECT_FALSE(shareRecord(left, right));
    EXPECT_TRUE(shareRecord(original, right));
    EXPECT_EQ(left, arrayOf({9, 2, 3}));
    EXPECT_EQ(right, arrayOf({1, 2, 3}));
}

TEST_F(SimpleArrayTest, AMovedArrayGivesItsRecordAwayAndIsEmpty)
{
    SimpleArray source = arrayOf({1, 2, 3});
    const std::int64_t *data = source.getData();
    SimpleArray target = std::move(source);
    EXPECT_EQ(target.getData(), data);
    EXPECT_TRUE(isEmptyRecord(source));
    source = std::move(target);
    EXPECT_EQ(source.getData(), data);
    EXPECT_TRUE(isEmptyRecord(target));
    source = std::move(static_cast<SimpleArray &>(source));
    EXPECT_EQ(source, arrayOf({1, 2, 3}));
}

TEST_F(SimpleArrayTest, AssignmentSharesAndGivesTheOldRecordUp)
{
    SimpleArray target = arrayOf({4});
    const SimpleArray source = arrayOf({1, 2, 3});
    target = source;
    EXPECT_TRUE(shareRecord(target, source));
    const SimpleArray &itself = target;
    target = itself;
    EXPECT_EQ(target, arrayOf({1, 2, 3}));
    target = SimpleArray();
    EXPECT_TRUE(isEmptyRecord(target));
}

TEST_F(SimpleArrayTest, ComparisonLooksAtLengthAndSlotsOnly)
{
    SimpleArray grown = numbersTo(40);
    grown.removeGap(3, 37);
    SimpleArray other = arrayOf({1, 2, 3});
    other.setIncrement(100);
    EXPECT_TRUE(grown == other);
    EXPECT_FALSE(grown != other);
    EXPECT_TRUE(grown == grown);
    other[2] = 4;
    EXPECT_TRUE(grown != other);
    EXPECT_TRUE(grown != arrayOf({1, 2}));
    EXPECT_TRUE(SimpleArray() == SimpleArray());
}

// Indexing

TEST_F(SimpleArrayTest, AWriteOutOfRangeLandsOnTheSpareSlot)
{
    SimpleArray array = arrayOf({1, 2, 3});
    array[5] = 7;
    EXPECT_EQ(array, arrayOf({1, 2, 3}));
    EXPECT_EQ(array[100], 7);
    EXPECT_EQ(array[-1], 7);
    EXPECT_EQ(array[3], 7);
    array[INT_MIN] += 1;
    EXPECT_EQ(array[INT_MAX], 8);
}

TEST_F(SimpleArrayTest, TheConstFormReads0OutOfRangeWhateverTheSpareSlotHolds)
{
    SimpleArray array = arrayOf({1, 2, 3});
    array[5] = 7;
    const SimpleArray &constant = array;
    EXPECT_EQ(constant[-1], 0);
    EXPECT_EQ(constant[3], 0);
    EXPECT_EQ(constant[5], 0);
    EXPECT_EQ(constant[INT_MAX], 0);
    EXPECT_EQ(constant[2], 3);
}

TEST_F(SimpleArrayTest, AnEmptyArrayGetsASpareSlotOfItsOwn)
{
    SimpleArray array;
    array[5] = 7;
    EXPECT_EQ(array.length(), 0);
    EXPECT_EQ(array[100], 7);
    SimpleArray other;
    EXPECT_EQ(other[100], 0);
}

TEST_F(SimpleArrayTest, TheSpareSlotOfACloneStartsAt0)
{
    SimpleArray array = arrayOf({1});
    array[9] = 7;
    SimpleArray twin = array;
    EXPECT_EQ(twin[9], 0);
    EXPECT_EQ(array[9], 7);
}

TEST_F(SimpleArrayTest, TheSpareSlotStaysWhenAnUnsharedArrayGrows)
{
    SimpleArray array = arrayOf({1});
    array[9] = 7;
    array.setSize(100);
    EXPECT_EQ(array[100], 7);
    array.setSize(1);
    EXPECT_EQ(array[100], 7);
}

TEST_F(SimpleArrayTest, GetDataShowsTheSlotsInOneBlock)
{
    const SimpleArray array = numbersTo(20);
    for (int index = 0; index < 20; ++index)
        EXPECT_EQ(array.getData()[index], index + 1);
    EXPECT_EQ(array.end() - array.begin(), 20);
}

// Size and storage

TEST_F(SimpleArrayTest, TheCapacityIsTheLengthRoundedUpToTheIncrement)
{
    static constexpr struct
    {
        const char *name;
        int increment, size, capacity;
    } rows[] = {
        {"one slot", 8, 1, 8},
        {"just the increment", 8, 8, 8},
        {"one above", 8, 9, 16},
        {"twice the increment", 8, 16, 16},
        {"increment of one", 1, 5, 5},
        {"odd increment", 7, 8, 14},
        {"large increment", 100, 1, 100},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        SimpleArray array;
        array.setIncrement(row.increment);
        array.setSize(row.size);
        // A block has room for an even number of slots, so an odd capacity shows as one more.
        EXPECT_EQ(slotsOfLastBlock(), row.capacity + row.capacity % 2);
        EXPECT_EQ(array.length(), row.size);
    }
}

TEST_F(SimpleArrayTest, SetSizeOf9HasACapacityOf16AndANewSlotOf0)
{
    SimpleArray array = numbersTo(8);
    array.setSize(9);
    EXPECT_EQ(slotsOfLastBlock(), 16);
    EXPECT_EQ(array[8], 0);
}

TEST_F(SimpleArrayTest, SetSizeZeroesSlotsThatWereInUseBefore)
{
    SimpleArray array = numbersTo(8);
    array.setSize(2);
    array.setSize(8);
    EXPECT_EQ(array, arrayOf({1, 2, 0, 0, 0, 0, 0, 0}));
}

TEST_F(SimpleArrayTest, SetSizeOf0OrBelowGivesTheRecordAndTheIncrementUp)
{
    for (const int size : {0, -1, INT_MIN}) {
        SimpleArray array;
        array.setIncrement(100);
        array.append(1);
        array[200] = 7;
        array.setSize(size);
        EXPECT_TRUE(isEmptyRecord(array));
        EXPECT_EQ(array.getIncrement(), defaultIncrement);
        EXPECT_EQ(array[200], 0);
    }
}

TEST_F(SimpleArrayTest, SetSizeToThePresentLengthKeepsSharing)
{
    SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.setSize(3);
    EXPECT_TRUE(shareRecord(array, twin));
}

TEST_F(SimpleArrayTest, SetSizeOfASharedArrayLeavesTheOtherAlone)
{
    for (const int size : {1, 7, 9, 100}) {
        SCOPED_TRACE(size);
        SimpleArray array = numbersTo(8);
        const SimpleArray twin = array;
        array.setSize(size);
        EXPECT_EQ(twin, numbersTo(8));
        EXPECT_EQ(array.length(), size);
        EXPECT_EQ(array.copy(0, 8), numbersTo(8).copy(0, size));
    }
}

TEST_F(SimpleArrayTest, AShrinkingArrayGivesMemoryBack)
{
    SimpleArray array;
    array.setSize(1000);
    const std::int64_t before = test::TestAllocator::shared().liveBytes();
    array.setSize(10);
    EXPECT_LT(test::TestAllocator::shared().liveBytes(), before - 7000);
}

TEST_F(SimpleArrayTest, ClearKeepsStorageAndIncrementAndEraseDoesNot)
{
    SimpleArray array;
    array.setIncrement(50);
    array.setSize(20);
    array[3] = 5;
    const std::int64_t *data = array.getData();
    array.clear();
    EXPECT_EQ(array.length(), 0);
    EXPECT_EQ(array.getData(), data);
    EXPECT_EQ(array.getIncrement(), 50);
    for (int index = 0; index < 50; ++index)
        EXPECT_EQ(data[index], 0);
    array.append(1);
    EXPECT_EQ(array.getData(), data);
    array.erase();
    EXPECT_TRUE(isEmptyRecord(array));
    EXPECT_EQ(array.getIncrement(), defaultIncrement);
}

TEST_F(SimpleArrayTest, ClearOfASharedArrayLeavesTheOtherAlone)
{
    SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.clear();
    EXPECT_EQ(array.length(), 0);
    EXPECT_EQ(twin, numbersTo(3));
}

TEST_F(SimpleArrayTest, ClearOfAnEmptyArrayDoesNothing)
{
    SimpleArray array;
    array.clear();
    EXPECT_TRUE(isEmptyRecord(array));
    array[0] = 7;
    array.clear();
    EXPECT_EQ(array[0], 7);
}

TEST_F(SimpleArrayTest, AnIncrementBelow1Becomes1)
{
    for (const int increment : {0, -1, INT_MIN, 1}) {
        SimpleArray array;
        array.setIncrement(increment);
        EXPECT_EQ(array.getIncrement(), 1);
    }
}

TEST_F(SimpleArrayTest, SetIncrementOnAnEmptyArrayMakesARecordOfItsOwn)
{
    SimpleArray array;
    array.setIncrement(3);
    EXPECT_FALSE(isEmptyRecord(array));
    EXPECT_EQ(SimpleArray().getIncrement(), defaultIncrement);
    EXPECT_EQ(array.length(), 0);
}

TEST_F(SimpleArrayTest, SetIncrementTakesEffectAtTheNextGrowth)
{
    SimpleArray array = numbersTo(8);
    const SimpleArray twin = array;
    array.setIncrement(100);
    EXPECT_EQ(twin.getIncrement(), defaultIncrement);
    EXPECT_EQ(slotsOfLastBlock(), 8);
    array.append(9);
    EXPECT_EQ(slotsOfLastBlock(), 100);
    EXPECT_EQ(array, numbersTo(9));
}

// Appending, inserting

TEST_F(SimpleArrayTest, AppendAndItsOperatorAddAtTheEnd)
{
    SimpleArray array;
    for (int number = 1; number <= 100; ++number) {
        if (number % 2 == 0)
            array.append(number);
        else
            EXPECT_EQ(&(array += number), &array);
    }
    EXPECT_EQ(array, numbersTo(100));
}

TEST_F(SimpleArrayTest, AppendToASharedArrayLeavesTheOtherAlone)
{
    for (const int length : {1, 7, 8, 9}) {
        SimpleArray array = numbersTo(length);
        const SimpleArray twin = array;
        array.append(length + 1);
        EXPECT_EQ(array, numbersTo(length + 1));
        EXPECT_EQ(twin, numbersTo(length));
    }
}

TEST_F(SimpleArrayTest, AppendOfAnArrayAddsItsSlots)
{
    SimpleArray array = arrayOf({1, 2});
    EXPECT_EQ(&(array += arrayOf({3, 0, 3})), &array);
    array.append(SimpleArray());
    EXPECT_EQ(array, arrayOf({1, 2, 3, 0, 3}));
    SimpleArray empty;
    empty += array;
    EXPECT_EQ(empty, array);
}

TEST_F(SimpleArrayTest, AppendingNothingToAnEmptyArrayGivesItsIncrementUp)
{
    SimpleArray array;
    array.setIncrement(100);
    array.append(SimpleArray());
    EXPECT_EQ(array.getIncrement(), defaultIncrement);
}

TEST_F(SimpleArrayTest, AppendingAnArrayToItselfDoublesIt)
{
    SimpleArray array = arrayOf({1, 2, 3});
    array.append(array);
    EXPECT_EQ(array, arrayOf({1, 2, 3, 1, 2, 3}));
    const SimpleArray twin = array;
    array += array;
    EXPECT_EQ(array, arrayOf({1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
    array.append(twin);
    EXPECT_EQ(array.length(), 18);
    EXPECT_EQ(twin, arrayOf({1, 2, 3, 1, 2, 3}));
}

TEST_F(SimpleArrayTest, AppendingAnItemOfTheArrayItselfIsSafe)
{
    SimpleArray array = numbersTo(8);
    array += array[0];
    array.insert(array[1], 0);
    EXPECT_EQ(array[0], 2);
    EXPECT_EQ(array[9], 1);
    array -= array[1];
    EXPECT_EQ(array.length(), 9);
}

TEST_F(SimpleArrayTest, InsertClampsThePosition)
{
    static constexpr struct
    {
        const char *name;
        int position;
        int lands;
    } rows[] = {
        {"far below", INT_MIN, 0}, {"below", -1, 0},         {"first", 0, 0},
        {"middle", 2, 2},          {"at the end", 3, 3},     {"past the end", 4, 3},
        {"far past", 1000, 3},     {"farthest", INT_MAX, 3},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        SimpleArray array = numbersTo(3);
        array.insert(9, row.position);
        EXPECT_EQ(array.length(), 4);
        EXPECT_EQ(array.indexOf(9), row.lands);
        array.removeAt(row.lands);
        EXPECT_EQ(array, numbersTo(3));
    }
}

TEST_F(SimpleArrayTest, InsertIntoAFullOrSharedArrayMakesRoom)
{
    SimpleArray array = numbersTo(8);
    const SimpleArray twin = array;
    array.insert(0, 4);
    EXPECT_EQ(array, arrayOf({1, 2, 3, 4, 0, 5, 6, 7, 8}));
    EXPECT_EQ(twin, numbersTo(8));
    SimpleArray empty;
    empty.insert(5, 0);
    EXPECT_EQ(empty, arrayOf({5}));
}

TEST_F(SimpleArrayTest, InsertGapOpensZeroedSlots)
{
    SimpleArray array = numbersTo(3);
    array.insertGap(1, 2);
    EXPECT_EQ(array, arrayOf({1, 0, 0, 2, 3}));
    array.insertGap(1000, 1);
    EXPECT_EQ(array, arrayOf({1, 0, 0, 2, 3, 0}));
    array.insertGap(-5, 1);
    EXPECT_EQ(array, arrayOf({0, 1, 0, 0, 2, 3, 0}));
}

TEST_F(SimpleArrayTest, AGapBelow1SlotChangesNothing)
{
    SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.insertGap(1, 0);
    array.insertGap(1, -7);
    array.removeGap(1, 0);
    array.removeGap(1, -7);
    array.removeGap(3, 5);
    array.removeGap(INT_MAX, INT_MAX);
    EXPECT_TRUE(shareRecord(array, twin));
}

TEST_F(SimpleArrayTest, InsertGapOfASharedArrayLeavesTheOtherAlone)
{
    SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.insertGap(0, 20);
    EXPECT_EQ(array.length(), 23);
    EXPECT_EQ(array[20], 1);
    EXPECT_EQ(twin, numbersTo(3));
}

// Removing

TEST_F(SimpleArrayTest, RemoveTakesTheFirstOccurrenceOnly)
{
    SimpleArray array = arrayOf({5, 1, 5, 1});
    array.remove(1);
    EXPECT_EQ(array, arrayOf({5, 5, 1}));
    EXPECT_EQ(&(array -= 5), &array);
    EXPECT_EQ(array, arrayOf({5, 1}));
    const SimpleArray twin = array;
    array.remove(9);
    EXPECT_TRUE(shareRecord(array, twin));
}

TEST_F(SimpleArrayTest, RemoveAtReturnsTheValueAndClosesTheGap)
{
    SimpleArray array = numbersTo(4);
    const SimpleArray twin = array;
    EXPECT_EQ(array.removeAt(1), 2);
    EXPECT_EQ(array, arrayOf({1, 3, 4}));
    EXPECT_EQ(array.removeAt(2), 4);
    EXPECT_EQ(array.removeAt(-3), 1);
    EXPECT_EQ(array, arrayOf({3}));
    EXPECT_EQ(twin, numbersTo(4));
}

TEST_F(SimpleArrayTest, RemoveAtOfTheOnlyItemReturnsItAndLeavesTheEmptyRecord)
{
    SimpleArray array = arrayOf({7});
    const SimpleArray twin = array;
    EXPECT_EQ(array.removeAt(0), 7);
    EXPECT_TRUE(isEmptyRecord(array));
    EXPECT_EQ(twin, arrayOf({7}));
}

TEST_F(SimpleArrayTest, RemoveAtAtOrPastTheEndStillShortensTheArray)
{
    SimpleArray array = numbersTo(3);
    EXPECT_EQ(array.removeAt(3), 0);
    EXPECT_EQ(array, numbersTo(2));
    EXPECT_EQ(array.removeAt(INT_MAX), 0);
    EXPECT_EQ(array, numbersTo(1));
    EXPECT_EQ(array.removeAt(1), 0);
    EXPECT_TRUE(isEmptyRecord(array));
    SimpleArray full = numbersTo(8);
    EXPECT_EQ(full.removeAt(8), 0);
    EXPECT_EQ(full, numbersTo(7));
}

TEST_F(SimpleArrayTest, RemoveAtOfAnEmptyArrayReturns0)
{
    SimpleArray array;
    EXPECT_EQ(array.removeAt(0), 0);
    EXPECT_EQ(array.removeAt(-1), 0);
    array[4] = 7;
    EXPECT_EQ(array.removeAt(4), 0);
    EXPECT_EQ(array[4], 7);
}

TEST_F(SimpleArrayTest, RemoveGapCutsTheCountAtTheEnd)
{
    static constexpr struct
    {
        const char *name;
        int position, count;
        const char *left;
    } rows[] = {
        {"middle", 1, 2, "145"},       {"start", 0, 3, "45"},
        {"up to the end", 2, 3, "12"}, {"past the end", 3, INT_MAX, "123"},
        {"negative", -9, 1, "2345"},   {"all", 0, 5, ""},
        {"more than all", 0, 99, ""},  {"none", 5, 1, "12345"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        SimpleArray array = numbersTo(5);
        const SimpleArray twin = array;
        array.removeGap(row.position, row.count);
        SimpleArray expected;
        for (const char *digit = row.left; *digit != 0; ++digit)
            expected.append(*digit - '0');
        EXPECT_EQ(array, expected);
        EXPECT_EQ(twin, numbersTo(5));
    }
}

TEST_F(SimpleArrayTest, RemoveGapOfAllGivesTheRecordUp)
{
    SimpleArray array = numbersTo(5);
    array.setIncrement(100);
    array.removeGap(0, 5);
    EXPECT_TRUE(isEmptyRecord(array));
}

// Searching, sets, walking, copying

TEST_F(SimpleArrayTest, IndexOfFindsTheFirstMatch)
{
    const SimpleArray array = arrayOf({3, -1, 0, 3, INT64_MIN});
    EXPECT_EQ(array.indexOf(3), 0);
    EXPECT_EQ(array.indexOf(-1), 1);
    EXPECT_EQ(array.indexOf(0), 2);
    EXPECT_EQ(array.indexOf(INT64_MIN), 4);
    EXPECT_EQ(array.indexOf(4), -1);
    EXPECT_EQ(SimpleArray().indexOf(0), -1);
}

TEST_F(SimpleArrayTest, MergeAppendsMissingValuesAndSkips0UnlessAsked)
{
    SimpleArray without = arrayOf({2});
    without.merge(arrayOf({1, 0, 2}), false);
    EXPECT_EQ(without, arrayOf({2, 1}));
    SimpleArray with = arrayOf({2});
    with.merge(arrayOf({1, 0, 2}), true);
    EXPECT_EQ(with, arrayOf({2, 1, 0}));
}

TEST_F(SimpleArrayTest, MergeTakesEachNewValueOnce)
{
    SimpleArray array;
    array.merge(arrayOf({1, 1, 0, 0, 2, 1}), true);
    EXPECT_EQ(array, arrayOf({1, 0, 2}));
}

TEST_F(SimpleArrayTest, MergingAnArrayWithItselfChangesNothing)
{
    SimpleArray array = arrayOf({1, 0, 1, 2});
    array.merge(array, true);
    EXPECT_EQ(array, arrayOf({1, 0, 1, 2}));
    SimpleArray twin = array;
    twin.merge(array, true);
    EXPECT_TRUE(shareRecord(array, twin));
}

TEST_F(SimpleArrayTest, ForEachSkipsSlotsThatHold0)
{
    const SimpleArray array = arrayOf({0, 5, 0, 7, 0});
    SimpleArray seen;
    array.forEach(
        [](int index, std::int64_t *slot, std::int64_t arg) {
            auto &out = *reinterpret_cast<SimpleArray *>(arg);
            out.append(index);
            out.append(*slot);
        },
        reinterpret_cast<std::intptr_t>(&seen));
    EXPECT_EQ(seen, arrayOf({1, 5, 3, 7}));
}

TEST_F(SimpleArrayTest, ForEachWritesThroughToArraysThatShareTheRecord)
{
    const SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.forEach([](int, std::int64_t *slot, std::int64_t arg) { *slot += arg; }, 10);
    EXPECT_EQ(array, arrayOf({11, 12, 13}));
    EXPECT_EQ(twin, arrayOf({11, 12, 13}));
}

TEST_F(SimpleArrayTest, ForEachFollowsTheChangesOfItsCallback)
{
    SimpleArray array = numbersTo(3);
    const auto self = reinterpret_cast<std::intptr_t>(&array);
    array.forEach(
        [](int, std::int64_t *slot, std::int64_t arg) {
            auto &walked = *reinterpret_cast<SimpleArray *>(arg);
            if (*slot < 20)
                walked.append(*slot + 10);
        },
        self);
    EXPECT_EQ(array, arrayOf({1, 2, 3, 11, 12, 13, 21, 22, 23}));
    array.forEach([](int, std::int64_t *,
                     std::int64_t arg) { reinterpret_cast<SimpleArray *>(arg)->erase(); },
                  self);
    EXPECT_TRUE(isEmptyRecord(array));
}

TEST_F(SimpleArrayTest, CopyTakesARangeIntoAnArrayOfItsOwn)
{
    static constexpr struct
    {
        const char *name;
        int start, count;
        const char *taken;
    } rows[] = {
        {"middle", 1, 2, "23"},
        {"all", 0, 5, "12345"},
        {"to the end", 2, -1, "345"},
        {"cut at the end", 3, INT_MAX, "45"},
        {"negative start", -4, 2, "12"},
        {"at the end", 5, 3, ""},
        {"past the end", 9, -1, ""},
        {"nothing", 2, 0, ""},
        {"far below", INT_MIN, INT_MIN, "12345"},
    };
    SimpleArray array = numbersTo(5);
    array.setIncrement(100);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const SimpleArray taken = array.copy(row.start, row.count);
        SimpleArray expected;
        for (const char *digit = row.taken; *digit != 0; ++digit)
            expected.append(*digit - '0');
        EXPECT_EQ(taken, expected);
        EXPECT_FALSE(shareRecord(taken, array));
        EXPECT_EQ(taken.getIncrement(), defaultIncrement);
    }
    EXPECT_TRUE(isEmptyRecord(array.copy(2, 0)));
}

// Pinned arrays

TEST_F(SimpleArrayTest, APinnedArrayIsNeverShared)
{
    SimpleArray array = numbersTo(3);
    array.makeUnique();
    const SimpleArray copy = array;
    EXPECT_FALSE(shareRecord(copy, array));
    EXPECT_EQ(copy, array);
    SimpleArray assigned;
    assigned = array;
    EXPECT_FALSE(shareRecord(assigned, array));
}

TEST_F(SimpleArrayTest, ACopyOfAPinnedArrayIsPinnedToo)
{
    SimpleArray array = numbersTo(3);
    array.makeUnique();
    const SimpleArray copy = array;
    const SimpleArray copyOfCopy = copy;
    EXPECT_FALSE(shareRecord(copyOfCopy, copy));
}

TEST_F(SimpleArrayTest, MakeUniqueEndsSharing)
{
    SimpleArray array = numbersTo(3);
    const SimpleArray twin = array;
    array.makeUnique();
    EXPECT_FALSE(shareRecord(array, twin));
    const std::int64_t *data = array.getData();
    array.makeUnique();
    EXPECT_EQ(array.getData(), data);
    const SimpleArray other = twin;
    EXPECT_TRUE(shareRecord(other, twin));
}

TEST_F(SimpleArrayTest, APinnedArrayStaysPinnedWhenItGrowsAndShrinks)
{
    SimpleArray array = numbersTo(3);
    array.makeUnique();
    array.setSize(100);
    EXPECT_FALSE(shareRecord(SimpleArray(array), array));
    array.setSize(1);
    EXPECT_FALSE(shareRecord(SimpleArray(array), array));
    array.clear();
    EXPECT_FALSE(shareRecord(SimpleArray(array), array));
}

TEST_F(SimpleArrayTest, EraseEndsPinning)
{
    SimpleArray array;
    array.makeUnique();
    EXPECT_FALSE(isEmptyRecord(array));
    array.append(1);
    EXPECT_FALSE(shareRecord(SimpleArray(array), array));
    array.erase();
    array.append(1);
    EXPECT_TRUE(shareRecord(SimpleArray(array), array));
}

// Limits

TEST_F(SimpleArrayTest, LengthsThatAnIntDoesNotHoldAreOutOfMemory)
{
    SimpleArray array = numbersTo(8);
    EXPECT_THROW(array.setSize(INT_MAX), std::bad_alloc);
    EXPECT_THROW(array.insertGap(4, INT_MAX), std::bad_alloc);
    EXPECT_THROW(array.insertGap(INT_MAX, INT_MAX - 8), std::bad_alloc);
    EXPECT_EQ(array, numbersTo(8));
    array.setIncrement(INT_MAX);
    EXPECT_THROW(array.append(9), std::bad_alloc);
    EXPECT_THROW(array.append(array), std::bad_alloc);
    EXPECT_THROW(array.insert(9, 0), std::bad_alloc);
    EXPECT_EQ(array, numbersTo(8));
}

TEST_F(SimpleArrayTest, TheExceptionOfAnImpossibleLengthIsThatOfHeap)
{
    SimpleArray array = numbersTo(8);
    try {
        array.insertGap(0, INT_MAX);
        FAIL() << "no exception";
    } catch (const std::bad_alloc &exhausted) {
        EXPECT_STREQ(exhausted.what(), "bad allocation");
    }
}
