// SPDX-License-Identifier: MIT
#include <tavrin/SparseArray.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::arrayOf;

namespace {

using SparseArrayTest = test::LibraryTest;
using SparseArrayWalkTest = test::LibraryTest;
using SparseArrayThreadTest = test::MultiThreadedLibraryTest;

SimpleArray keysOf(const SparseArray &table)
{
    SimpleArray keys;
    table.getKeys(keys);
    return keys;
}

SimpleArray dataOf(const SparseArray &table)
{
    SimpleArray data;
    table.getData(data);
    return data;
}

using Visitor = std::function<bool(std::int64_t key, std::int64_t *value)>;

void walk(SparseArray &table, Visitor visitor)
{
    table.forEach([](std::int64_t key, std::int64_t *value,
                     std::int64_t arg) { return (*reinterpret_cast<Visitor *>(arg))(key, value); },
                  reinterpret_cast<std::intptr_t>(&visitor));
}

SparseArray tableOf(std::initializer_list<std::int64_t> keys)
{
    SparseArray table;
    for (std::int64_t key : keys)
        table.set(key, key * 10);
    return table;
}

std::int64_t liveBytes()
{
    Heap::flushCache();
    return test::TestAllocator::shared().liveBytes();
}

// Of two keys that lie `distance` apart, the larger one is walked first exactly as long as they
// share a bucket, that is while the table has at most `distance` buckets.
bool hasMoreBucketsThan(int distance, const SparseArray &table)
{
    SparseArray probe = table;
    probe.set(1, 1);
    probe.set(1 + distance, 1);
    const SimpleArray keys = keysOf(probe);
    return keys.indexOf(1) < keys.indexOf(1 + distance);
}

} // namespace

// The table

TEST(SparseArray, ANewTableWorksBeforeInitAndAfterExit)
{
    SparseArray table;
    const SparseArray copy = table;
    EXPECT_EQ(table.find(1), 0);
    EXPECT_FALSE(table.hasKey(0));
    EXPECT_EQ(table.findKey(0), -1);
    EXPECT_EQ(table.remove(1), 0);
    table.removeData(0);
    table.erase();
    EXPECT_TRUE(table == copy);
    EXPECT_THROW(table.set(1, 1), std::bad_alloc);
    EXPECT_EQ(table.length(), 0);
    InitTerm::init();
    table.set(1, 1);
    table.erase();
    InitTerm::exit();
    EXPECT_THROW(table.set(1, 1), std::bad_alloc);
    EXPECT_EQ(table.length(), 0);
}

TEST_F(SparseArrayTest, ANewTableOwnsNoStorage)
{
    const std::int64_t before = liveBytes();
    const SparseArray table;
    EXPECT_EQ(liveBytes(), before);
    EXPECT_EQ(keysOf(table).length(), 0);
    EXPECT_EQ(dataOf(table).length(), 0);
}

TEST_F(SparseArrayTest, SetAddsAKeyOrReplacesItsValue)
{
    SparseArray table;
    table.set(5, 50);
    table.set(7, 70);
    EXPECT_EQ(table.find(5), 50);
    EXPECT_EQ(table[7], 70);
    table.set(5, 51);
    EXPECT_EQ(table.find(5), 51);
    EXPECT_EQ(table.length(), 2);
}

TEST_F(SparseArrayTest, ReplacingAValueKeepsTheWalkingOrder)
{
    SparseArray table = tableOf({0, 32, 64});
    const SimpleArray before = keysOf(table);
    table.set(0, 5);
    EXPECT_EQ(keysOf(table), before);
}

TEST_F(SparseArrayTest, TheFirstSetYields32Buckets)
{
    const SparseArray table = tableOf({1, 33});
    EXPECT_EQ(keysOf(table), arrayOf({33, 1}));
    EXPECT_EQ(keysOf(tableOf({0, 33})), arrayOf({0, 33}));
    EXPECT_EQ(keysOf(tableOf({32, 1, 31})), arrayOf({32, 1, 31}));
}

TEST_F(SparseArrayTest, TheSeventeenthItemAddsNoBucketsAndTheEighteenthDoublesThem)
{
    SparseArray table;
    table.set(1, 0);
    table.set(33, 0);
    for (int item = 3; item <= 17; ++item)
        table.set(item + 1, 0);
    EXPECT_EQ(table.length(), 17);
    EXPECT_EQ(keysOf(table)[0], 33);
    EXPECT_EQ(keysOf(table)[1], 1);
    table.set(20, 0);
    EXPECT_EQ(keysOf(table)[0], 1);
    EXPECT_EQ(keysOf(table)[17], 33);
}

TEST_F(SparseArrayTest, ReplacingAValueNeverAddsBuckets)
{
    SparseArray table;
    for (int key = 0; key < 17; ++key)
        table.set(key == 16 ? 32 : key, 1);
    const SimpleArray before = keysOf(table);
    table.set(3, 2);
    EXPECT_EQ(keysOf(table), before);
    EXPECT_EQ(before[0], 32);
}

TEST_F(SparseArrayTest, RemovalNeverTakesBucketsAway)
{
    SparseArray table;
    for (int key = 0; key < 100; ++key)
        table.set(key, 1);
    for (int key = 0; key < 100; ++key)
        table.remove(key);
    EXPECT_EQ(table.length(), 0);
    table.set(1, 1);
    table.set(129, 1);
    EXPECT_EQ(keysOf(table), arrayOf({1, 129}));
    table.set(257, 1);
    EXPECT_EQ(keysOf(table), arrayOf({257, 1, 129}));
}

TEST_F(SparseArrayTest, ACopyHasOnlyTheBucketsThatItsItemsNeed)
{
    SparseArray table;
    for (int key = 0; key < 100; ++key)
        table.set(key, 1);
    for (int key = 0; key < 100; ++key)
        table.remove(key);
    EXPECT_FALSE(hasMoreBucketsThan(32, table));
}

TEST_F(SparseArrayTest, KeysThatDifferOnlyAboveBit31ShareABucketAndRemainDistinct)
{
    SparseArray table;
    const std::int64_t far = 5 + (std::int64_t{1} << 32);
    const std::int64_t nearer = 5 + (std::int64_t{1} << 31);
    table.set(5, 1);
    table.set(far, 2);
    table.set(nearer, 3);
    EXPECT_EQ(table.length(), 3);
    EXPECT_EQ(table.find(5), 1);
    EXPECT_EQ(table.find(far), 2);
    EXPECT_EQ(table.find(nearer), 3);
    EXPECT_EQ(keysOf(table), arrayOf({nearer, far, 5}));
    EXPECT_EQ(table.remove(far), 2);
    EXPECT_EQ(keysOf(table), arrayOf({nearer, 5}));
}

TEST_F(SparseArrayTest, NegativeKeysAreKeysLikeOthers)
{
    SparseArray table;
    for (std::int64_t key : {std::int64_t{-1}, std::int64_t{-32}, INT64_MIN, INT64_MAX})
        table.set(key, key);
    for (std::int64_t key : {std::int64_t{-1}, std::int64_t{-32}, INT64_MIN, INT64_MAX})
        EXPECT_EQ(table.find(key), key);
    EXPECT_FALSE(table.hasKey(0));
    EXPECT_FALSE(table.hasKey(31));
    EXPECT_EQ(table.remove(INT64_MIN), INT64_MIN);
    EXPECT_EQ(table.length(), 3);
}

TEST_F(SparseArrayTest, AValueOf0IsAnItemAllTheSame)
{
    SparseArray table;
    table.set(4, 0);
    EXPECT_EQ(table.find(4), 0);
    EXPECT_TRUE(table.hasKey(4));
    EXPECT_EQ(table.findKey(0), 4);
    EXPECT_EQ(table.remove(4), 0);
    EXPECT_FALSE(table.hasKey(4));
}

TEST_F(SparseArrayTest, FindKeyGivesTheFirstKeyInWalkingOrderOrMinus1)
{
    SparseArray table;
    table.set(9, 1);
    table.set(3, 1);
    table.set(35, 1);
    EXPECT_EQ(table.findKey(1), 35);
    EXPECT_EQ(table.findKey(2), -1);
    table.set(-1, 2);
    EXPECT_EQ(table.findKey(2), -1);
}

TEST_F(SparseArrayTest, RemoveUnlinksFromTheFrontTheMiddleAndTheEndOfAChain)
{
    for (const std::int64_t removed : {0, 32, 64}) {
        SparseArray table = tableOf({0, 32, 64});
        SimpleArray left = arrayOf({64, 32, 0});
        EXPECT_EQ(table.remove(removed), removed * 10);
        left -= removed;
        EXPECT_EQ(keysOf(table), left);
        EXPECT_EQ(table.length(), 2);
        EXPECT_EQ(table.remove(removed), 0);
        EXPECT_EQ(table.length(), 2);
    }
}

TEST_F(SparseArrayTest, GetDataSkips0AndRepeats)
{
    SparseArray table;
    table.set(1, 7);
    table.set(2, 0);
    table.set(3, 8);
    table.set(4, 7);
    SimpleArray out = arrayOf({99});
    table.getData(out);
    EXPECT_EQ(out, arrayOf({7, 8}));
}

TEST_F(SparseArrayTest, GetKeysReplacesWhatTheArrayHeld)
{
    const SparseArray table = tableOf({3, 1, 2});
    SimpleArray out = arrayOf({99, 98, 97, 96, 95});
    const SimpleArray twin = out;
    table.getKeys(out);
    EXPECT_EQ(out, arrayOf({1, 2, 3}));
    EXPECT_EQ(twin, arrayOf({99, 98, 97, 96, 95}));
    SparseArray().getKeys(out);
    EXPECT_EQ(out.length(), 0);
}

TEST_F(SparseArrayTest, RemoveDataRemovesAllKeysOfAValue)
{
    SparseArray table;
    for (int key = 0; key < 40; ++key)
        table.set(key, key % 3);
    table.removeData(0);
    EXPECT_EQ(table.length(), 26);
    EXPECT_EQ(table.findKey(0), -1);
    table.removeData(5);
    EXPECT_EQ(table.length(), 26);
}

TEST_F(SparseArrayTest, EraseGivesAllStorageUp)
{
    const std::int64_t before = liveBytes();
    SparseArray table;
    for (int key = 0; key < 1000; ++key)
        table.set(key, 1);
    EXPECT_GT(liveBytes(), before);
    table.erase();
    EXPECT_EQ(table.length(), 0);
    EXPECT_EQ(liveBytes(), before);
    EXPECT_FALSE(hasMoreBucketsThan(32, table));
}

TEST_F(SparseArrayTest, RemovingTheLastItemGivesTheStorageOfTheItemsUp)
{
    SparseArray table;
    table.set(0, 1);
    const std::int64_t small = liveBytes();
    for (int key = 0; key < 20000; ++key)
        table.set(key, 1);
    const std::int64_t large = liveBytes();
    for (int key = 0; key < 20000; ++key)
        table.remove(key);
    EXPECT_LT(liveBytes(), large - 20000 * 24);
    table.set(1, 2);
    EXPECT_EQ(table.find(1), 2);
    table.erase();
    EXPECT_LT(liveBytes(), small);
}

TEST_F(SparseArrayTest, ATableOfChangingKeysDoesNotGrow)
{
    SparseArray table;
    for (int key = 0; key < 100; ++key)
        table.set(key, key);
    const std::int64_t before = liveBytes();
    for (int key = 100; key < 20000; ++key) {
        table.remove(key - 100);
        table.set(key, key);
    }
    EXPECT_EQ(liveBytes(), before);
    EXPECT_EQ(table.length(), 100);
    EXPECT_EQ(table.find(19999), 19999);
}

// Copies and comparison

TEST_F(SparseArrayTest, ACopyHasItsOwnItems)
{
    SparseArray table = tableOf({1, 2, 3});
    SparseArray copy = table;
    table.set(1, 99);
    table.remove(2);
    EXPECT_EQ(copy.find(1), 10);
    EXPECT_EQ(copy.find(2), 20);
    EXPECT_EQ(copy.length(), 3);
    copy = table;
    EXPECT_EQ(copy.find(1), 99);
    EXPECT_EQ(copy.length(), 2);
}

TEST_F(SparseArrayTest, ACopyReversesTheChains)
{
    const SparseArray table = tableOf({0, 32, 64});
    const SparseArray copy = table;
    EXPECT_EQ(keysOf(table), arrayOf({64, 32, 0}));
    EXPECT_EQ(keysOf(copy), arrayOf({0, 32, 64}));
    EXPECT_FALSE(copy == table);
}

TEST_F(SparseArrayTest, AssignmentToItselfKeepsTheWalkingOrder)
{
    SparseArray table = tableOf({0, 32, 64});
    table = *&table;
    EXPECT_EQ(keysOf(table), arrayOf({64, 32, 0}));
    table += table;
    EXPECT_EQ(keysOf(table), arrayOf({64, 32, 0}));
    table = std::move(*&table);
    EXPECT_EQ(keysOf(table), arrayOf({64, 32, 0}));
}

TEST_F(SparseArrayTest, AMovedTableGivesItsItemsAway)
{
    SparseArray source = tableOf({0, 32, 64});
    SparseArray target = std::move(source);
    EXPECT_EQ(keysOf(target), arrayOf({64, 32, 0}));
    EXPECT_EQ(source.length(), 0);
    EXPECT_FALSE(source.hasKey(0));
    source.set(1, 1);
    target = std::move(source);
    EXPECT_EQ(keysOf(target), arrayOf({1}));
}

TEST_F(SparseArrayTest, ComparisonDependsOnTheOrderOfTheChains)
{
    EXPECT_TRUE(tableOf({0, 32}) == tableOf({0, 32}));
    EXPECT_TRUE(tableOf({0, 32}) != tableOf({32, 0}));
    EXPECT_TRUE(tableOf({0, 33}) == tableOf({33, 0}));
}

TEST_F(SparseArrayTest, ComparisonLooksAtKeysValuesAndChainLengths)
{
    SparseArray table = tableOf({0, 32});
    SparseArray other = tableOf({0, 32});
    other.set(32, 1);
    EXPECT_FALSE(table == other);
    EXPECT_FALSE(table == tableOf({0, 64}));
    EXPECT_FALSE(table == tableOf({32}));
    EXPECT_FALSE(tableOf({32}) == table);
    EXPECT_TRUE(table == table);
}

TEST_F(SparseArrayTest, ComparisonLooksAtTheNumberOfBuckets)
{
    SparseArray emptied = tableOf({1});
    emptied.remove(1);
    EXPECT_FALSE(emptied == SparseArray());
    emptied.erase();
    EXPECT_TRUE(emptied == SparseArray());
    SparseArray large;
    for (int key = 0; key < 18; ++key)
        large.set(key, 0);
    for (int key = 0; key < 17; ++key)
        large.remove(key);
    SparseArray small;
    small.set(17, 0);
    EXPECT_FALSE(large == small);
}

TEST_F(SparseArrayTest, AddingATableSetsItsKeys)
{
    SparseArray table = tableOf({1, 2});
    SparseArray other;
    other.set(2, 99);
    other.set(3, 98);
    EXPECT_EQ(&(table += other), &table);
    EXPECT_EQ(table.length(), 3);
    EXPECT_EQ(table.find(1), 10);
    EXPECT_EQ(table.find(2), 99);
    EXPECT_EQ(table.find(3), 98);
}

// Walking

TEST_F(SparseArrayWalkTest, ForEachOfAnEmptyTableCallsNothing)
{
    SparseArray table;
    walk(table, [](std::int64_t, std::int64_t *) -> bool { throw std::logic_error("called"); });
    table.set(1, 1);
    table.remove(1);
    walk(table, [](std::int64_t, std::int64_t *) -> bool { throw std::logic_error("called"); });
}

TEST_F(SparseArrayWalkTest, ForEachMayWriteToTheValues)
{
    SparseArray table = tableOf({1, 2, 3});
    walk(table, [](std::int64_t key, std::int64_t *value) {
        *value += key;
        return true;
    });
    EXPECT_EQ(table.find(1), 11);
    EXPECT_EQ(table.find(3), 33);
}

TEST_F(SparseArrayWalkTest, RemovalByForEachDoesNotReduceTheLength)
{
    SparseArray table = tableOf({1, 2, 3, 4});
    walk(table, [](std::int64_t key, std::int64_t *) { return key % 2 == 0; });
    EXPECT_EQ(table.length(), 4);
    EXPECT_FALSE(table.hasKey(1));
    EXPECT_TRUE(table.hasKey(2));
    EXPECT_EQ(keysOf(table), arrayOf({2, 4, 0, 0}));
    table.remove(2);
    EXPECT_EQ(table.length(), 3);
    table.erase();
    EXPECT_EQ(table.length(), 0);
}

TEST_F(SparseArrayWalkTest, KeysAfterARemovalByForEachEndInZerosWhateverTheArrayHeld)
{
    SparseArray table = tableOf({1, 2, 3, 4});
    walk(table, [](std::int64_t key, std::int64_t *) { return key == 3; });
    SimpleArray out = arrayOf({9, 9, 9, 9});
    table.getKeys(out);
    EXPECT_EQ(out, arrayOf({3, 0, 0, 0}));
}

TEST_F(SparseArrayWalkTest, RemovedItemsStillCountForGrowth)
{
    SparseArray table;
    for (int key = 0; key < 17; ++key)
        table.set(key, 1);
    walk(table, [](std::int64_t, std::int64_t *) { return false; });
    EXPECT_EQ(table.length(), 17);
    table.set(1, 1);
    table.set(33, 1);
    EXPECT_EQ(keysOf(table)[0], 1);
}

TEST_F(SparseArrayWalkTest, AnItemMayRemoveItself)
{
    for (const bool keeps : {true, false}) {
        SparseArray table = tableOf({0, 32, 64, 5});
        walk(table, [&](std::int64_t key, std::int64_t *) {
            EXPECT_EQ(table.remove(key), key * 10);
            return keeps;
        });
        EXPECT_EQ(table.length(), 0);
        EXPECT_FALSE(table.hasKey(32));
    }
}

TEST_F(SparseArrayWalkTest, AnItemThatReplacesItselfIsNotRemovedAgain)
{
    SparseArray table = tableOf({5});
    walk(table, [&](std::int64_t key, std::int64_t *) {
        table.remove(key);
        table.set(key, 77);
        return false;
    });
    EXPECT_EQ(table.find(5), 77);
    EXPECT_EQ(table.length(), 1);
}

TEST_F(SparseArrayWalkTest, ItemsThatWereRemovedMeanwhileAreNotVisited)
{
    SparseArray table = tableOf({0, 32, 64, 96, 7});
    SimpleArray seen;
    walk(table, [&](std::int64_t key, std::int64_t *) {
        seen.append(key);
        if (key == 96) {
            table.remove(64);
            table.remove(7);
        }
        return true;
    });
    EXPECT_EQ(seen, arrayOf({96, 32, 0}));
    EXPECT_EQ(table.length(), 3);
}

TEST_F(SparseArrayWalkTest, ItemsThatAreAddedMeanwhileAreVisitedInLaterBucketsOnly)
{
    SparseArray table = tableOf({4});
    SimpleArray seen;
    walk(table, [&](std::int64_t key, std::int64_t *) {
        seen.append(key);
        if (key == 4) {
            table.set(3, 0);
            table.set(36, 0);
            table.set(5, 0);
        }
        return true;
    });
    EXPECT_EQ(seen, arrayOf({4, 5}));
    EXPECT_EQ(table.length(), 4);
}

TEST_F(SparseArrayWalkTest, AWalkThatAlwaysAddsKeysEnds)
{
    SparseArray table = tableOf({0});
    int visits = 0;
    walk(table, [&](std::int64_t key, std::int64_t *) {
        ++visits;
        table.set(key + 1, 0);
        return true;
    });
    EXPECT_EQ(visits, 32);
    EXPECT_EQ(table.length(), 33);
    EXPECT_TRUE(table.hasKey(32));
}

TEST_F(SparseArrayWalkTest, BucketsAreAddedOnceTheWalkIsOver)
{
    SparseArray table = tableOf({1});
    walk(table, [&](std::int64_t, std::int64_t *) {
        for (int key = 100; key < 200; ++key)
            table.set(key, 0);
        return true;
    });
    for (int key = 100; key < 200; ++key)
        EXPECT_TRUE(table.hasKey(key));
    table.set(33, 1);
    EXPECT_LT(keysOf(table).indexOf(1), keysOf(table).indexOf(33));
}

TEST_F(SparseArrayWalkTest, EraseEndsTheWalk)
{
    for (const bool keeps : {true, false}) {
        SparseArray table = tableOf({1, 2, 3});
        int visits = 0;
        walk(table, [&](std::int64_t, std::int64_t *) {
            ++visits;
            table.erase();
            table.set(9, 9);
            return keeps;
        });
        EXPECT_EQ(visits, 1);
        EXPECT_EQ(table.length(), 1);
        EXPECT_EQ(table.find(9), 9);
    }
}

TEST_F(SparseArrayWalkTest, AssignmentEndsTheWalk)
{
    const SparseArray other = tableOf({7, 8});
    SparseArray table = tableOf({1, 2, 3});
    int visits = 0;
    walk(table, [&](std::int64_t, std::int64_t *) {
        ++visits;
        table = other;
        return false;
    });
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(keysOf(table), arrayOf({7, 8}));
}

TEST_F(SparseArrayWalkTest, MovingTheTableAwayEndsTheWalk)
{
    SparseArray table = tableOf({1, 2, 3});
    SparseArray target;
    int visits = 0;
    walk(table, [&](std::int64_t, std::int64_t *) {
        ++visits;
        target = std::move(table);
        return false;
    });
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(keysOf(target), arrayOf({1, 2, 3}));
    EXPECT_EQ(table.length(), 0);
}

TEST_F(SparseArrayWalkTest, TheCallbackMayDestroyTheTable)
{
    auto table = std::make_unique<SparseArray>(tableOf({1, 2, 3}));
    int visits = 0;
    walk(*table, [&](std::int64_t, std::int64_t *) {
        ++visits;
        table.reset();
        return false;
    });
    EXPECT_EQ(visits, 1);
}

TEST_F(SparseArrayWalkTest, AWalkWithinAWalkMayRemoveEverything)
{
    SparseArray table = tableOf({0, 32, 64, 1, 2});
    int outer = 0, inner = 0;
    walk(table, [&](std::int64_t, std::int64_t *) {
        ++outer;
        walk(table, [&](std::int64_t, std::int64_t *) {
            ++inner;
            return false;
        });
        return false;
    });
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner, 5);
    EXPECT_EQ(table.length(), 5);
    EXPECT_EQ(keysOf(table), arrayOf({0, 0, 0, 0, 0}));
}

TEST_F(SparseArrayWalkTest, EraseWithinTwoWalksEndsBoth)
{
    SparseArray table = tableOf({1, 2, 3});
    int outer = 0, inner = 0;
    walk(table, [&](std::int64_t, std::int64_t *) {
        ++outer;
        walk(table, [&](std::int64_t, std::int64_t *) {
            ++inner;
            table.erase();
            return true;
        });
        return false;
    });
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(table.length(), 0);
}

TEST_F(SparseArrayWalkTest, AnExceptionOfTheCallbackEndsTheWalkOnly)
{
    SparseArray table = tableOf({1, 2, 3});
    EXPECT_THROW(walk(table,
                      [](std::int64_t, std::int64_t *) -> bool {
                          throw std::runtime_error("from the callback");
                      }),
                 std::runtime_error);
    EXPECT_EQ(table.length(), 3);
    for (int key = 4; key < 40; ++key)
        table.set(key, 1);
    EXPECT_LT(keysOf(table).indexOf(1), keysOf(table).indexOf(33));
}

// Threads

TEST_F(SparseArrayThreadTest, SeveralThreadsMayReadOneTable)
{
    SparseArray table;
    for (int key = 0; key < 1000; ++key)
        table.set(key, key + 1);
    test::runOnThreads(4, [&](int thread) {
        for (int key = thread; key < 1000; ++key) {
            ASSERT_EQ(table.find(key), key + 1);
            ASSERT_TRUE(table.hasKey(key));
        }
        ASSERT_EQ(keysOf(table).length(), 1000);
        ASSERT_EQ(SparseArray(table).length(), 1000);
    });
}
