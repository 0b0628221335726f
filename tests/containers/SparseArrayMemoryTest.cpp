// SPDX-License-Identifier: MIT
// Every operation of SparseArray with each of its requests for memory refused in turn: what throws
// has changed nothing, the walking order included.
#include <tavrin/SparseArray.h>

#include <functional>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

using namespace Tavrin;
using test::Allocates;
using test::arrayOf;

namespace {

using SparseArrayMemoryTest = test::LibraryTest;

// Keys 0, 32, 64 ... with values 1, 2, 0, 1, 2, 0 ... in one chain at first.
SparseArray tableWith(int items)
{
    SparseArray table;
    for (int number = 0; number < items; ++number)
        table.set(number * 32, (number + 1) % 3);
    return table;
}

// Reaches what is there for subclasses.
class OpenTable : public SparseArray
{
public:
    using SparseArray::smartShrink;
};

struct Operation
{
    const char *name;
    std::function<void(SparseArray &)> run;
    Allocates allocates = Allocates::perhaps;
};

const Operation operations[] = {
    {"set of a new key", [](SparseArray &t) { t.set(-5, 1); }},
    {"set of an old key", [](SparseArray &t) { t.set(32, 9); }},
    {"remove", [](SparseArray &t) { t.remove(32); }},
    {"removeData", [](SparseArray &t) { t.removeData(1); }},
    {"erase", [](SparseArray &t) { t.erase(); }},
    {"assignment", [](SparseArray &t) { t = tableWith(40); }, Allocates::always},
    {"addition of one key",
     [](SparseArray &t) {
         SparseArray other;
         other.set(-5, 1);
         t += other;
     },
     Allocates::always},
    {"addition to itself", [](SparseArray &t) { t += t; }},
    {"copy", [](SparseArray &t) { const SparseArray copy = t; }},
    {"move",
     [](SparseArray &t) {
         SparseArray taken(std::move(t));
         t = std::move(taken);
     }},
    {"smartShrink",
     [](SparseArray &t) {
         OpenTable open;
         static_cast<SparseArray &>(open) = std::move(t);
         open.smartShrink();
         t = std::move(static_cast<SparseArray &>(open));
     }},
    {"reading",
     [](SparseArray &t) {
         t.find(32);
         t.findKey(2);
         t.hasKey(5);
         (void)(t == SparseArray());
     }},
    {"getKeys",
     [](SparseArray &t) {
         SimpleArray keys;
         t.getKeys(keys);
     }},
    {"getData",
     [](SparseArray &t) {
         SimpleArray data;
         t.getData(data);
     }},
    {"forEach that removes",
     [](SparseArray &t) {
         t.forEach([](std::int64_t key, std::int64_t *, std::int64_t) { return key != 64; }, 0);
     }},
};

// A table that remembers what it was.
struct Observed
{
    explicit Observed(int items) : table(tableWith(items)), before(tableWith(items)) {}

    SparseArray table;
    SparseArray before;
};

} // namespace

TEST_F(SparseArrayMemoryTest, AnOperationThatFailsChangesNothing)
{
    // 0: no buckets; 12: the first slab is full; 17: the next item doubles the buckets.
    for (const int items : {0, 1, 12, 17, 36}) {
        for (const Operation &operation : operations) {
            SCOPED_TRACE(testing::Message() << operation.name << " with " << items << " items");
            SparseArray result = tableWith(items);
            operation.run(result);
            test::underMemoryFailure(
                [&] { return std::make_unique<Observed>(items); },
                [&](std::unique_ptr<Observed> &observed) { operation.run(observed->table); },
                [&](const std::unique_ptr<Observed> &observed, bool failed) {
                    EXPECT_EQ(observed->table == (failed ? observed->before : result), true);
                    EXPECT_EQ(observed->table.length(),
                              (failed ? observed->before : result).length());
                    observed->table.set(12345, 6);
                    EXPECT_EQ(observed->table.find(12345), 6);
                },
                operation.allocates);
        }
    }
}

TEST_F(SparseArrayMemoryTest, AFailedAdditionHasSetSomeOfTheKeys)
{
    test::underMemoryFailure([] { return tableWith(3); },
                             [](SparseArray &table) { table += tableWith(60); },
                             [](const SparseArray &table, bool failed) {
                                 SimpleArray keys;
                                 table.getKeys(keys);
                                 EXPECT_EQ(keys.length(), table.length());
                                 EXPECT_EQ(table.length() == 60, !failed);
                                 for (const std::int64_t key : keys)
                                     EXPECT_EQ(table.find(key), (key / 32 + 1) % 3);
                             });
}

TEST_F(SparseArrayMemoryTest, TheArraysThatReceiveKeysAndDataKeepWhatTheyHeld)
{
    const SparseArray table = tableWith(40);
    test::underMemoryFailure([] { return arrayOf({7}); },
                             [&](SimpleArray &out) { table.getKeys(out); },
                             [&](const SimpleArray &out, bool failed) {
                                 EXPECT_EQ(out.length(), failed ? 1 : 40);
                                 if (failed) {
                                     EXPECT_EQ(out[0], 7);
                                 }
                             });
    test::underMemoryFailure([] { return arrayOf({7}); },
                             [&](SimpleArray &out) { table.getData(out); },
                             [&](const SimpleArray &out, bool failed) {
                                 EXPECT_EQ(out, failed ? arrayOf({7}) : arrayOf({1, 2}));
                             });
}
