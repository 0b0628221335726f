// SPDX-License-Identifier: MIT
#include <tavrin/SimpleArray.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

using namespace Tavrin;

namespace {

using TypedArrayTest = test::LibraryTest;

struct Item
{
    int number;
};

Item one{1}, two{2}, three{3};

TSimpleArray<Item> itemsOf(std::initializer_list<Item *> items)
{
    TSimpleArray<Item> result;
    for (Item *item : items)
        result += item;
    return result;
}

} // namespace

TEST_F(TypedArrayTest, AddsNoData)
{
    EXPECT_EQ(sizeof(TSimpleArray<Item>), sizeof(SimpleArray));
    EXPECT_EQ(sizeof(TISimpleArray<Item>), sizeof(SimpleArray));
}

TEST_F(TypedArrayTest, ReadsSlotsAsPointersAndNullOutOfRange)
{
    const TSimpleArray<Item> items = itemsOf({&one, nullptr, &two});
    EXPECT_EQ(items.length(), 3);
    EXPECT_EQ(items[0], &one);
    EXPECT_EQ(items[1], nullptr);
    EXPECT_EQ(items[2]->number, 2);
    EXPECT_EQ(items[3], nullptr);
    EXPECT_EQ(items[-1], nullptr);
}

TEST_F(TypedArrayTest, WritesThroughASlot)
{
    TSimpleArray<Item> items = itemsOf({&one, &two});
    items[0] = &three;
    items[1] = items[0];
    EXPECT_EQ(items[1]->number, 3);
    EXPECT_EQ(items.indexOf(&three), 0);
    items[9] = &one;
    Item *spare = items[100];
    EXPECT_EQ(spare, &one);
    EXPECT_EQ(items.length(), 2);
    items[0] = nullptr;
    EXPECT_FALSE(items[0]);
}

TEST_F(TypedArrayTest, HasTheOperationsOfTheArrayForPointers)
{
    TSimpleArray<Item> items;
    items.append(&one);
    items.insert(&two, 0);
    items.append(items);
    items += itemsOf({&three});
    EXPECT_EQ(items, itemsOf({&two, &one, &two, &one, &three}));
    items -= &two;
    items.remove(&one);
    EXPECT_EQ(items, itemsOf({&two, &one, &three}));
    EXPECT_EQ(items.removeAt(1), &one);
    EXPECT_EQ(items.indexOf(&one), -1);
    items.merge(itemsOf({&two, nullptr, &one}), false);
    EXPECT_EQ(items, itemsOf({&two, &three, &one}));
    const TSimpleArray<Item> tail = items.copy(1, -1);
    EXPECT_EQ(tail, itemsOf({&three, &one}));
    items.setSize(1);
    items.clear();
    EXPECT_EQ(items.length(), 0);
    items.erase();
}

TEST_F(TypedArrayTest, WalksAsARangeOfPointers)
{
    const TSimpleArray<Item> items = itemsOf({&one, &two, &three});
    int sum = 0;
    for (Item *item : items)
        sum = sum * 10 + item->number;
    EXPECT_EQ(sum, 123);
    const std::vector<Item *> backward(std::make_reverse_iterator(items.end()),
                                       std::make_reverse_iterator(items.begin()));
    EXPECT_EQ(backward, (std::vector<Item *>{&three, &two, &one}));
    TSimpleArray<Item> none;
    EXPECT_TRUE(none.begin() == none.end());
}

TEST_F(TypedArrayTest, ItsIteratorsAreRandomAccessIterators)
{
    static_assert(std::random_access_iterator<TSimpleArray<Item>::Iterator>);
    const TSimpleArray<Item> items = itemsOf({&one, &two, &three});
    auto place = items.begin();
    EXPECT_EQ(*place++, &one);
    EXPECT_EQ(*place--, &two);
    EXPECT_EQ(place[2], &three);
    EXPECT_EQ(*(2 + place), &three);
    EXPECT_EQ(*(items.end() - 1), &three);
    place += 2;
    place -= 1;
    EXPECT_EQ(*--place, &one);
    EXPECT_EQ(*++place, &two);
    EXPECT_EQ(items.end() - place, 2);
    EXPECT_TRUE(place < items.end());
    EXPECT_NE(std::find(items.begin(), items.end(), &three), items.end());
}

TEST_F(TypedArrayTest, HoldsPointersToConst)
{
    static const Item fixed{4};
    TSimpleArray<const Item> items;
    items += &fixed;
    items.append(&one);
    EXPECT_EQ(items[0]->number, 4);
    EXPECT_EQ(items.indexOf(&one), 1);
    for (const Item *item : items)
        EXPECT_NE(item, nullptr);
}

TEST_F(TypedArrayTest, SharesItsRecordWithCopies)
{
    TSimpleArray<Item> items = itemsOf({&one});
    TSimpleArray<Item> twin = items;
    EXPECT_EQ(items.getData(), twin.getData());
    twin[0] = &two;
    EXPECT_EQ(items[0], &one);
    EXPECT_NE(items, twin);
}

TEST_F(TypedArrayTest, ReadsAnUntypedArray)
{
    SimpleArray slots;
    slots.append(TSimpleArray<Item>::toSlot(&two));
    const TSimpleArray<Item> items(slots);
    EXPECT_EQ(items[0], &two);
    EXPECT_EQ(items.getData(), slots.getData());
}

TEST_F(TypedArrayTest, TheSecondFaceIsUsedLikeTheFirst)
{
    TISimpleArray<Item> items;
    items += &one;
    items.append(&two);
    items[5] = &three;
    Item *spare = items[7];
    EXPECT_EQ(spare, &three);
    const TISimpleArray<Item> tail = items.copy(1, 1);
    EXPECT_EQ(tail[0], &two);
    EXPECT_EQ(items.removeAt(0), &one);
}

TEST_F(TypedArrayTest, AnOperationThatRunsOutOfMemoryChangesNothing)
{
    struct Operation
    {
        const char *name;
        void (*run)(TSimpleArray<Item> &items);
    };
    constexpr Operation operations[] = {
        {"a slot", [](auto &items) { items[0] = &three; }},
        {"append", [](auto &items) { items.append(&three); }},
        {"append of an array", [](auto &items) { items += itemsOf({&three}); }},
        {"insert", [](auto &items) { items.insert(&three, 0); }},
        {"remove", [](auto &items) { items -= &one; }},
        {"removeAt", [](auto &items) { items.removeAt(1); }},
        {"merge",
         [](auto &items) {
             items.merge(itemsOf({&two, &three}), false);
         }},
        {"copy", [](auto &items) { items = items.copy(1, 1); }},
    };
    struct Objects
    {
        TSimpleArray<Item> items = itemsOf({&one, &two});
        TSimpleArray<Item> twin = items; // shares the record
    };
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        Objects done;
        operation.run(done.items);
        test::underMemoryFailure([] { return Objects(); },
                                 [&](Objects &objects) { operation.run(objects.items); },
                                 [&](const Objects &objects, bool failed) {
                                     EXPECT_EQ(objects.twin, done.twin);
                                     EXPECT_EQ(objects.items, failed ? done.twin : done.items);
                                 });
    }
}
