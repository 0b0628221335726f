// SPDX-License-Identifier: MIT
// Every operation of HashTable with each of its requests for memory refused in turn: what throws
// has changed nothing, the walking order included.
#include <tavrin/HashTable.h>

#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "containers/HashTableSupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

using namespace Tavrin;
using test::Allocates;
using test::arrayOf;
using test::keyOf;

namespace {

using HashTableMemoryTest = test::LibraryTest;

// Values 1, 2, 0, 1, 2, 0 ... in one chain at first, and two spellings of a name.
HashTable tableWith(int items)
{
    HashTable table;
    for (int number = 0; number < items; ++number) {
        if (number == 2)
            table.set("name", 0, false);
        else if (number == 5)
            table.set("NAME", 0, false);
        else
            table.set(keyOf(number * 16), (number + 1) % 3, false);
    }
    return table;
}

struct Addition
{
    HashTable &table;
    String key;
};

struct Operation
{
    const char *name;
    std::function<void(HashTable &)> run;
    Allocates allocates = Allocates::perhaps;
};

const Operation operations[] = {
    {"set of a new key", [](HashTable &t) { t.set("new", 1, false); }},
    {"set of a new key that cannot be shared",
     [](HashTable &t) {
         String key = "pinned";
         key.makeUnique();
         t.set(key, 1, false);
     },
     Allocates::always},
    {"set of an old key", [](HashTable &t) { t.set(keyOf(16), 9, false); }},
    {"set of an old key without case", [](HashTable &t) { t.set("nAME", 9, true); }},
    {"set of an old key without case that cannot be shared",
     [](HashTable &t) {
         String key = "nAME";
         key.makeUnique();
         t.set(key, 9, true);
     },
     Allocates::always},
    {"remove", [](HashTable &t) { t.remove(keyOf(16), false); }},
    {"removeData", [](HashTable &t) { t.removeData(1); }},
    {"erase", [](HashTable &t) { t.erase(); }},
    {"assignment", [](HashTable &t) { t = tableWith(40); }, Allocates::always},
    {"addition of one key",
     [](HashTable &t) {
         HashTable other;
         other.set("new", 1, false);
         t += other;
     },
     Allocates::always},
    {"copy", [](HashTable &t) { const HashTable copy = t; }},
    {"getKeys",
     [](HashTable &t) {
         TSimpleArray<const String> keys;
         t.getKeys(keys);
     }},
    {"getData",
     [](HashTable &t) {
         SimpleArray data;
         t.getData(data);
     }},
    {"forEach that removes",
     [](HashTable &t) {
         t.forEach([](const String &, std::int64_t *value, std::int64_t) { return *value != 1; },
                   0);
     }},
    {"forEach that adds",
     [](HashTable &t) {
         Addition addition = {t, "new"};
         t.forEach(
             [](const String &, std::int64_t *, std::int64_t arg) {
                 const Addition &added = *reinterpret_cast<const Addition *>(arg);
                 if (!added.table.hasKey(added.key, false))
                     added.table.set(added.key, 1, false);
                 return true;
             },
             reinterpret_cast<std::intptr_t>(&addition));
     }},
};

// A table that remembers what it was.
struct Observed
{
    explicit Observed(int items) : table(tableWith(items)), before(tableWith(items)) {}

    HashTable table;
    HashTable before;
};

} // namespace

TEST_F(HashTableMemoryTest, AnOperationThatFailsChangesNothing)
{
    // 0: no buckets; 6: the first slab is full; 9: the next item doubles the buckets and builds the
    // index; 10: one less halves them; 20: the index is full.
    for (const int items : {0, 1, 6, 9, 10, 17, 20, 36}) {
        for (const Operation &operation : operations) {
            SCOPED_TRACE(testing::Message() << operation.name << " with " << items << " items");
            HashTable result = tableWith(items);
            operation.run(result);
            test::underMemoryFailure(
                [&] { return std::make_unique<Observed>(items); },
                [&](std::unique_ptr<Observed> &observed) { operation.run(observed->table); },
                [&](const std::unique_ptr<Observed> &observed, bool failed) {
                    const HashTable &expected = failed ? observed->before : result;
                    EXPECT_TRUE(observed->table == expected);
                    EXPECT_EQ(observed->table.length(), expected.length());
                    EXPECT_EQ(observed->table.find("nAME", true), expected.find("nAME", true));
                    observed->table.set("later", 6, false);
                    EXPECT_EQ(observed->table.find("LATER", true), 6);
                },
                operation.allocates);
        }
    }
}

TEST_F(HashTableMemoryTest, RemovalSucceedsWithoutMemory)
{
    // Down from 1024 buckets to none; the index stays larger than it need be.
    struct Emptied
    {
        HashTable table = tableWith(300);
        std::vector<String> keys;
    };
    test::underMemoryFailure(
        [] {
            auto emptied = std::make_unique<Emptied>();
            for (const std::u16string &name : test::namesOf(emptied->table))
                emptied->keys.push_back(test::textOf(name));
            return emptied;
        },
        [](std::unique_ptr<Emptied> &emptied) {
            for (const String &key : emptied->keys) {
                EXPECT_TRUE(emptied->table.hasKey(key, false));
                emptied->table.remove(key, false);
                EXPECT_FALSE(emptied->table.hasKey(key, false));
            }
        },
        [](const std::unique_ptr<Emptied> &emptied, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_TRUE(emptied->table == HashTable());
        },
        Allocates::perhaps);
}

TEST_F(HashTableMemoryTest, AFailedAdditionHasSetSomeOfTheKeys)
{
    test::underMemoryFailure([] { return tableWith(3); },
                             [](HashTable &table) { table += tableWith(60); },
                             [](const HashTable &table, bool failed) {
                                 EXPECT_EQ(table.length() == 60, !failed);
                                 const HashTable whole = tableWith(60);
                                 for (const std::u16string &name : test::namesOf(table)) {
                                     const String key = test::textOf(name);
                                     EXPECT_TRUE(whole.hasKey(key, false));
                                     EXPECT_EQ(table[key], whole[key]);
                                 }
                             });
}

TEST_F(HashTableMemoryTest, TheArraysThatReceiveKeysAndDataKeepWhatTheyHeld)
{
    const HashTable table = tableWith(40);
    test::underMemoryFailure([] { return arrayOf({7}); },
                             [&](SimpleArray &out) { table.getData(out); },
                             [&](const SimpleArray &out, bool failed) {
                                 EXPECT_EQ(out.length(), failed ? 1 : 41);
                                 EXPECT_EQ(out[0], 7);
                             });
    const String other = "other";
    test::underMemoryFailure(
        [&] {
            TSimpleArray<const String> keys;
            keys.append(&other);
            return keys;
        },
        [&](TSimpleArray<const String> &out) { table.getKeys(out); },
        [&](const TSimpleArray<const String> &out, bool failed) {
            EXPECT_EQ(out.length(), failed ? 1 : 41);
            EXPECT_EQ(out[0], &other);
        });
}
