// SPDX-License-Identifier: MIT
// HashTable::forEach, and what its callback may do to the table meanwhile.
#include <tavrin/HashTable.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "containers/HashTableSupport.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::arrayOf;
using test::keyOf;
using test::Names;
using test::namesOf;
using test::tableOf;
using test::tableUpTo;
using test::unitsOf;
using test::walk;

namespace {

using HashTableWalkTest = test::LibraryTest;

bool neverCalled(const String &, std::int64_t *)
{
    throw std::logic_error("called");
}

} // namespace

TEST_F(HashTableWalkTest, ForEachOfAnEmptyTableCallsNothing)
{
    HashTable table;
    walk(table, neverCalled);
    table.set("a", 1, false);
    table.remove("a", false);
    walk(table, neverCalled);
}

TEST_F(HashTableWalkTest, BucketsAreVisitedFrom0UpAndChainsFromTheFront)
{
    HashTable table = tableOf({5, 0, 16, 3, 21});
    SimpleArray seen;
    walk(table, [&](const String &key, std::int64_t *value) {
        EXPECT_EQ(unitsOf(key), test::nameOf(static_cast<int>(*value)));
        seen.append(*value);
        return true;
    });
    EXPECT_EQ(seen, arrayOf({16, 0, 3, 21, 5}));
}

TEST_F(HashTableWalkTest, ForEachMayWriteToTheValues)
{
    HashTable table = tableOf({1, 2, 3});
    walk(table, [](const String &, std::int64_t *value) {
        *value += 10;
        return true;
    });
    EXPECT_EQ(table[keyOf(1)], 11);
    EXPECT_EQ(table[keyOf(3)], 13);
}

TEST_F(HashTableWalkTest, RemovalByForEachDoesNotReduceTheLength)
{
    for (const int items : {4, 40}) {
        HashTable table = tableUpTo(items);
        walk(table, [](const String &, std::int64_t *value) { return *value % 2 == 0; });
        EXPECT_EQ(table.length(), items);
        EXPECT_FALSE(table.hasKey(keyOf(1), false));
        EXPECT_TRUE(table.hasKey(keyOf(2), false));
        EXPECT_EQ(namesOf(table).size(), static_cast<unsigned>(items / 2));
        table.remove(keyOf(2), false);
        EXPECT_EQ(table.length(), items - 1);
        table.erase();
        EXPECT_EQ(table.length(), 0);
    }
}

TEST_F(HashTableWalkTest, ATableWhoseItemsAllWentIsNotEmptyByItsLength)
{
    HashTable table = tableUpTo(3);
    walk(table, [](const String &, std::int64_t *) { return false; });
    EXPECT_EQ(table.length(), 3);
    EXPECT_EQ(namesOf(table), Names());
    walk(table, neverCalled);
    EXPECT_FALSE(table == HashTable());
    table.set(keyOf(1), 1, false);
    EXPECT_EQ(table.length(), 4);
    EXPECT_EQ(table.remove(keyOf(1), false), 1);
}

TEST_F(HashTableWalkTest, RemovedItemsStillCountForGrowth)
{
    HashTable table = tableUpTo(9);
    walk(table, [](const String &, std::int64_t *) { return false; });
    table.set(keyOf(16), 16, false);
    table.set(keyOf(1), 1, false);
    EXPECT_EQ(namesOf(table), namesOf({1, 16}));
}

TEST_F(HashTableWalkTest, RemovedItemsStillCountForShrinking)
{
    HashTable table = tableUpTo(20);
    table.set(keyOf(33), 33, false);
    walk(table, [](const String &, std::int64_t *value) { return *value % 32 < 3; });
    // 64 buckets still: 33 is not in the one of 1.
    EXPECT_EQ(namesOf(table), namesOf({0, 1, 2, 33}));
}

TEST_F(HashTableWalkTest, AnItemMayRemoveItself)
{
    for (const bool keeps : {true, false}) {
        HashTable table = tableOf({0, 16, 32, 5});
        walk(table, [&](const String &key, std::int64_t *value) {
            const std::int64_t expected = *value;
            EXPECT_EQ(table.remove(key, false), expected);
            return keeps;
        });
        EXPECT_EQ(table.length(), 0);
        EXPECT_TRUE(table == HashTable());
    }
}

TEST_F(HashTableWalkTest, AnItemThatReplacesItselfIsNotRemovedAgain)
{
    HashTable table = tableOf({5});
    walk(table, [&](const String &, std::int64_t *) {
        table.remove(keyOf(5), false);
        table.set(keyOf(5), 77, false);
        return false;
    });
    EXPECT_EQ(table[keyOf(5)], 77);
    EXPECT_EQ(table.length(), 1);
}

TEST_F(HashTableWalkTest, AnItemMayBeRespelled)
{
    HashTable table = tableUpTo(30);
    table.set("name", -1, false);
    walk(table, [&](const String &, std::int64_t *value) {
        if (*value == -1)
            table.set("NAME", -2, true);
        return true;
    });
    EXPECT_EQ(table.find("NAME", false), -2);
    EXPECT_FALSE(table.hasKey("name", false));
}

TEST_F(HashTableWalkTest, ItemsThatWereRemovedMeanwhileAreNotVisited)
{
    HashTable table = tableOf({0, 16, 32, 48, 7});
    SimpleArray seen;
    walk(table, [&](const String &, std::int64_t *value) {
        seen.append(*value);
        if (*value == 48) {
            table.remove(keyOf(32), false);
            table.remove(keyOf(7), false);
        }
        return true;
    });
    EXPECT_EQ(seen, arrayOf({48, 16, 0}));
    EXPECT_EQ(table.length(), 3);
}

TEST_F(HashTableWalkTest, ItemsThatAreAddedMeanwhileAreVisitedInLaterBucketsOnly)
{
    HashTable table = tableOf({4});
    SimpleArray seen;
    walk(table, [&](const String &, std::int64_t *value) {
        seen.append(*value);
        if (*value == 4) {
            for (const int number : {3, 20, 5})
                table.set(keyOf(number), number, false);
        }
        return true;
    });
    EXPECT_EQ(seen, arrayOf({4, 5}));
    EXPECT_EQ(table.length(), 4);
}

TEST_F(HashTableWalkTest, AWalkThatAlwaysAddsKeysEnds)
{
    HashTable table = tableOf({0});
    int visits = 0;
    walk(table, [&](const String &, std::int64_t *value) {
        ++visits;
        const int next = static_cast<int>(*value) + 1;
        table.set(keyOf(next), next, false);
        return true;
    });
    EXPECT_EQ(visits, 16);
    EXPECT_EQ(table.length(), 17);
    EXPECT_TRUE(table.hasKey(keyOf(16), false));
}

TEST_F(HashTableWalkTest, BucketsAreAddedOnceTheWalkIsOver)
{
    HashTable table = tableOf({1});
    walk(table, [&](const String &, std::int64_t *) {
        for (int number = 100; number < 400; ++number)
            table.set(keyOf(number), number, false);
        for (int number = 100; number < 400; ++number)
            EXPECT_EQ(table.find(keyOf(number), number % 2 == 0), number);
        return true;
    });
    Names before = namesOf(table);
    EXPECT_EQ(before[0], test::nameOf(384));
    table.set(keyOf(33), 33, false);
    EXPECT_EQ(namesOf(table)[0], test::nameOf(128));
    for (int number = 100; number < 400; ++number)
        EXPECT_EQ(table[keyOf(number)], number);
}

TEST_F(HashTableWalkTest, VariantsThatAreAddedMeanwhileKeepTheirOrder)
{
    HashTable table;
    table.set("name", 1, false);
    walk(table, [&](const String &, std::int64_t *) {
        table.set("Name", 2, false);
        for (int number = 0; number < 100; ++number)
            table.set(keyOf(number), 0, false);
        table.set("NAME", 3, false);
        EXPECT_EQ(table.find("nAME", true), 3);
        return true;
    });
    table.remove("NAME", false);
    EXPECT_EQ(table.find("nAME", true), 2);
    table.remove("Name", false);
    EXPECT_EQ(table.find("nAME", true), 1);
}

TEST_F(HashTableWalkTest, BucketsHalveOnceTheWalkIsOver)
{
    HashTable table = tableUpTo(200);
    SimpleArray seen;
    walk(table, [&](const String &, std::int64_t *value) {
        seen.append(*value);
        for (int number = 5; number < 200; ++number)
            if (number % 16 != 1)
                table.remove(keyOf(number), false);
        return true;
    });
    EXPECT_EQ(seen.length(), 5 + 12);
    EXPECT_EQ(seen[4], 4);
    // 17 items are left: 26 per cent of 64 buckets, so there are 32.
    EXPECT_EQ(table.length(), 17);
    const Names names = namesOf(table);
    EXPECT_EQ(names.back().front() % 32, (0x4E00 + 17) % 32);
    EXPECT_EQ(names[names.size() - 7], test::nameOf(4));
}

TEST_F(HashTableWalkTest, TheLastRemovalWithinAWalkGivesTheBucketsUpAfterIt)
{
    HashTable table = tableUpTo(12);
    walk(table, [&](const String &, std::int64_t *) {
        for (int number = 0; number < 12; ++number)
            table.remove(keyOf(number), false);
        EXPECT_FALSE(table == HashTable());
        return true;
    });
    EXPECT_EQ(table.length(), 0);
    EXPECT_TRUE(table == HashTable());
}

TEST_F(HashTableWalkTest, EraseEndsTheWalk)
{
    for (const bool keeps : {true, false}) {
        HashTable table = tableUpTo(30);
        int visits = 0;
        walk(table, [&](const String &, std::int64_t *) {
            ++visits;
            table.erase();
            table.set(keyOf(9), 9, false);
            return keeps;
        });
        EXPECT_EQ(visits, 1);
        EXPECT_EQ(table.length(), 1);
        EXPECT_EQ(table[keyOf(9)], 9);
    }
}

TEST_F(HashTableWalkTest, AssignmentEndsTheWalk)
{
    const HashTable other = tableOf({7, 8});
    HashTable table = tableOf({1, 2, 3});
    int visits = 0;
    walk(table, [&](const String &, std::int64_t *) {
        ++visits;
        table = other;
        return false;
    });
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(namesOf(table), namesOf({7, 8}));
}

TEST_F(HashTableWalkTest, MovingTheTableAwayEndsTheWalk)
{
    HashTable table = tableOf({1, 2, 3});
    HashTable target;
    int visits = 0;
    walk(table, [&](const String &, std::int64_t *) {
        ++visits;
        target = std::move(table);
        return false;
    });
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(namesOf(target), namesOf({1, 2, 3}));
    EXPECT_EQ(table.length(), 0);
}

TEST_F(HashTableWalkTest, TheCallbackMayDestroyTheTable)
{
    auto table = std::make_unique<HashTable>(tableUpTo(20));
    int visits = 0;
    walk(*table, [&](const String &, std::int64_t *) {
        ++visits;
        table.reset();
        return false;
    });
    EXPECT_EQ(visits, 1);
}

TEST_F(HashTableWalkTest, AWalkWithinAWalkMayRemoveEverything)
{
    HashTable table = tableOf({0, 16, 32, 1, 2});
    int outer = 0, inner = 0;
    walk(table, [&](const String &, std::int64_t *) {
        ++outer;
        walk(table, [&](const String &, std::int64_t *) {
            ++inner;
            return false;
        });
        return false;
    });
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner, 5);
    EXPECT_EQ(table.length(), 5);
    EXPECT_EQ(namesOf(table), Names());
}

TEST_F(HashTableWalkTest, EraseWithinTwoWalksEndsBoth)
{
    HashTable table = tableOf({1, 2, 3});
    int outer = 0, inner = 0;
    walk(table, [&](const String &, std::int64_t *) {
        ++outer;
        walk(table, [&](const String &, std::int64_t *) {
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

TEST_F(HashTableWalkTest, AnExceptionOfTheCallbackEndsTheWalkOnly)
{
    HashTable table = tableUpTo(20);
    EXPECT_THROW(walk(table,
                      [&](const String &, std::int64_t *) -> bool {
                          for (int number = 3; number < 20; ++number)
                              table.remove(keyOf(number), false);
                          throw std::runtime_error("from the callback");
                      }),
                 std::runtime_error);
    EXPECT_EQ(namesOf(table), namesOf({0, 1, 2}));
    // The next removal makes up for the ones within the walk.
    table.set(keyOf(33), 33, false);
    EXPECT_EQ(namesOf(table), namesOf({0, 1, 2, 33}));
    table.remove(keyOf(0), false);
    EXPECT_EQ(namesOf(table), namesOf({1, 33, 2}));
}
