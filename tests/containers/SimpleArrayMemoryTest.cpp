// SPDX-License-Identifier: MIT
// Every operation of SimpleArray with each of its requests for memory refused in turn: what throws
// has changed nothing.
#include <tavrin/SimpleArray.h>

#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

using namespace Tavrin;
using test::Allocates;
using test::arrayOf;
using test::numbersTo;

namespace {

using SimpleArrayMemoryTest = test::LibraryTest;

struct Pair
{
    SimpleArray array;
    SimpleArray twin; // shares the record
};

Pair shared()
{
    const SimpleArray array = numbersTo(16);
    return {array, array};
}

struct Operation
{
    const char *name;
    std::function<void(SimpleArray &)> run;
    Allocates unshared = Allocates::always;
    bool isStrong = true;
};

const Operation operations[] = {
    {"copy construction of a pinned array",
     [](SimpleArray &a) {
         a.makeUnique();
         const SimpleArray copy = a;
     }},
    {"assignment of a pinned array",
     [](SimpleArray &a) {
         SimpleArray pinned = arrayOf({5});
         pinned.makeUnique();
         a = pinned;
     }},
    {"writing access", [](SimpleArray &a) { a[0] = 9; }, Allocates::perhaps},
    {"writing access out of range", [](SimpleArray &a) { a[99] = 9; }, Allocates::perhaps},
    {"append", [](SimpleArray &a) { a.append(9); }},
    {"append of an array", [](SimpleArray &a) { a.append(arrayOf({9})); }},
    {"append to itself", [](SimpleArray &a) { a.append(a); }},
    {"insert", [](SimpleArray &a) { a.insert(9, 3); }},
    {"insertGap", [](SimpleArray &a) { a.insertGap(3, 9); }},
    {"remove", [](SimpleArray &a) { a.remove(3); }, Allocates::perhaps},
    {"forEach", [](SimpleArray &a) { a.forEach([](int, std::int64_t *, std::int64_t) {}, 0); },
     Allocates::perhaps},
    {"removeAt", [](SimpleArray &a) { a.removeAt(3); }, Allocates::perhaps},
    {"removeAt past the end", [](SimpleArray &a) { a.removeAt(99); }, Allocates::perhaps},
    {"removeGap within the block", [](SimpleArray &a) { a.removeGap(3, 2); }, Allocates::perhaps},
    {"removeGap that shrinks the block", [](SimpleArray &a) { a.removeGap(3, 12); }},
    {"removeGap of all", [](SimpleArray &a) { a.removeGap(0, 16); }, Allocates::perhaps},
    {"merge of one value",
     [](SimpleArray &a) {
         a.merge(arrayOf({9, 17}), false);
     }},
    {"merge of many values", [](SimpleArray &a) { a.merge(numbersTo(60), false); },
     Allocates::always, false},
    {"setSize, growing", [](SimpleArray &a) { a.setSize(100); }},
    {"setSize within the block", [](SimpleArray &a) { a.setSize(12); }, Allocates::perhaps},
    {"setSize, shrinking", [](SimpleArray &a) { a.setSize(2); }},
    {"setIncrement", [](SimpleArray &a) { a.setIncrement(3); }, Allocates::perhaps},
    {"clear", [](SimpleArray &a) { a.clear(); }, Allocates::perhaps},
    {"erase", [](SimpleArray &a) { a.erase(); }, Allocates::perhaps},
    {"makeUnique", [](SimpleArray &a) { a.makeUnique(); }, Allocates::perhaps},
    {"copy", [](SimpleArray &a) { a = a.copy(2, 9); }},
};

} // namespace

TEST_F(SimpleArrayMemoryTest, AnOperationOnASharedArrayThatFailsChangesNothing)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        SimpleArray result = numbersTo(16);
        operation.run(result);
        test::underMemoryFailure(
            shared, [&](Pair &pair) { operation.run(pair.array); },
            [&](const Pair &pair, bool failed) {
                EXPECT_EQ(pair.twin, numbersTo(16));
                if (!failed) {
                    EXPECT_EQ(pair.array, result);
                } else if (operation.isStrong) {
                    EXPECT_EQ(pair.array, numbersTo(16));
                }
            },
            Allocates::perhaps);
    }
}

TEST_F(SimpleArrayMemoryTest, AnOperationOnAnArrayOfItsOwnThatFailsChangesNothing)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        SimpleArray result = numbersTo(16);
        operation.run(result);
        test::underMemoryFailure([] { return numbersTo(16); },
                                 [&](SimpleArray &array) { operation.run(array); },
                                 [&](const SimpleArray &array, bool failed) {
                                     if (!failed) {
                                         EXPECT_EQ(array, result);
                                     } else if (operation.isStrong) {
                                         EXPECT_EQ(array, numbersTo(16));
                                     }
                                 },
                                 operation.unshared);
    }
}

TEST_F(SimpleArrayMemoryTest, AFailedMergeHasAppendedTheFirstValues)
{
    test::underMemoryFailure([] { return numbersTo(3); },
                             [](SimpleArray &array) { array.merge(numbersTo(60), false); },
                             [](const SimpleArray &array, bool failed) {
                                 EXPECT_EQ(array, numbersTo(array.length()));
                                 EXPECT_EQ(array.length() == 60, !failed);
                             });
}

TEST_F(SimpleArrayMemoryTest, ShrinkingAnArrayOfItsOwnNeverFails)
{
    test::underMemoryFailure([] { return numbersTo(1000); },
                             [](SimpleArray &array) { array.setSize(1); },
                             [](const SimpleArray &array, bool failed) {
                                 EXPECT_FALSE(failed);
                                 EXPECT_EQ(array, numbersTo(1));
                             });
}

TEST_F(SimpleArrayMemoryTest, AnEmptyArrayThatFailsToGrowStaysEmpty)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        SimpleArray result;
        operation.run(result);
        test::underMemoryFailure([] { return SimpleArray(); },
                                 [&](SimpleArray &array) { operation.run(array); },
                                 [&](const SimpleArray &array, bool failed) {
                                     if (!failed) {
                                         EXPECT_EQ(array, result);
                                     } else if (operation.isStrong) {
                                         EXPECT_EQ(array.length(), 0);
                                     }
                                 },
                                 Allocates::perhaps);
    }
}
