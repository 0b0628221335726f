// SPDX-License-Identifier: MIT
// SparseArray against its plain form: random operations, and the whole walking order compared after
// each step.
#include <tavrin/SparseArray.h>

#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "containers/ChainedTable.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::ChainedTable;

namespace {

using SparseArrayModelTest = test::LibraryTest;

using Items = std::vector<ChainedTable::Item>;

// Lets the tests reach what is there for subclasses.
class OpenTable : public SparseArray
{
public:
    using SparseArray::findItem;
    using SparseArray::smartGrow;
    using SparseArray::smartShrink;
};

struct Pair
{
    OpenTable table;
    ChainedTable model;
};

Items walkOf(SparseArray &table)
{
    Items items;
    table.forEach(
        [](std::int64_t key, std::int64_t *value, std::int64_t arg) {
            reinterpret_cast<Items *>(arg)->emplace_back(key, *value);
            return true;
        },
        reinterpret_cast<std::intptr_t>(&items));
    return items;
}

std::vector<std::int64_t> keysOf(const ChainedTable &model)
{
    std::vector<std::int64_t> keys;
    for (const auto &[key, value] : model.walk())
        keys.push_back(key);
    keys.resize(static_cast<unsigned>(model.count));
    return keys;
}

std::vector<std::int64_t> dataOf(const ChainedTable &model)
{
    std::vector<std::int64_t> data;
    for (const auto &[key, value] : model.walk())
        if (value != 0 && std::find(data.begin(), data.end(), value) == data.end())
            data.push_back(value);
    return data;
}

std::int64_t firstKeyOf(const ChainedTable &model, std::int64_t value)
{
    for (const auto &item : model.walk())
        if (item.second == value)
            return item.first;
    return -1;
}

void removeKeysDivisibleBy(std::int64_t divisor, Pair &pair)
{
    pair.table.forEach(
        [](std::int64_t key, std::int64_t *, std::int64_t arg) { return key % arg != 0; }, divisor);
    if (pair.model.count == 0)
        return;
    for (auto &chain : pair.model.buckets)
        chain.remove_if([&](const ChainedTable::Item &item) { return item.first % divisor == 0; });
}

void shrink(Pair &pair)
{
    pair.table.smartShrink();
    ChainedTable &model = pair.model;
    const std::size_t size = model.buckets.size();
    if (size != 0 && std::int64_t{model.count} * 100 / static_cast<std::int64_t>(size) < 30)
        model.rehash(size < 32 ? 32 : size / 2);
}

class Random
{
public:
    explicit Random(unsigned seed) : engine(seed) {}
    int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(engine); }
    // Small keys, keys that differ only above bit 30, addresses, negative ones.
    std::int64_t key()
    {
        const std::int64_t small = upTo(60);
        switch (upTo(4)) {
        case 0:
            return small + (std::int64_t{upTo(3)} << 32);
        case 1:
            return small + (std::int64_t{upTo(3)} << 31);
        case 2:
            return 0x7F0012345008 + small * 48;
        case 3:
            return -small;
        default:
            return small;
        }
    }
    std::int64_t value() { return upTo(6); }

private:
    std::mt19937 engine;
};

void step(Pair &target, Pair &other, Random &random)
{
    const std::int64_t key = random.key();
    const std::int64_t value = random.value();
    switch (random.upTo(40)) {
    case 0:
        target.table = other.table;
        target.model = other.model;
        break;
    case 1:
        target.table += other.table;
        target.model += other.model;
        break;
    case 2:
        target.table.removeData(value);
        for (const auto &item : target.model.walk())
            if (item.second == value)
                target.model.remove(item.first);
        break;
    case 3:
        removeKeysDivisibleBy(random.upTo(4) + 2, target);
        break;
    case 4:
        if (random.upTo(3) == 0) {
            target.table.erase();
            target.model.erase();
        }
        break;
    case 5:
        shrink(target);
        break;
    case 6: {
        OpenTable moved(std::move(target.table));
        target.table = std::move(moved);
        break;
    }
    case 7:
    case 8:
    case 9:
    case 10:
    case 11:
    case 12:
    case 13:
    case 14:
        ASSERT_EQ(target.table.remove(key), target.model.remove(key));
        break;
    default:
        target.table.set(key, value);
        target.model.set(key, value);
        break;
    }
}

void compare(Pair &pair, Random &random)
{
    SimpleArray out;
    ASSERT_EQ(walkOf(pair.table), pair.model.count == 0 ? Items() : pair.model.walk());
    ASSERT_EQ(pair.table.length(), pair.model.count);
    pair.table.getKeys(out);
    ASSERT_EQ(test::valuesOf(out), keysOf(pair.model));
    pair.table.getData(out);
    ASSERT_EQ(test::valuesOf(out), dataOf(pair.model));
    const std::int64_t value = random.value();
    ASSERT_EQ(pair.table.findKey(value), firstKeyOf(pair.model, value));
    const std::int64_t key = random.key();
    bool isPresent = false;
    std::int64_t found = 0;
    for (const auto &item : pair.model.walk()) {
        if (item.first == key) {
            isPresent = true;
            found = item.second;
        }
    }
    ASSERT_EQ(pair.table.hasKey(key), isPresent);
    ASSERT_EQ(pair.table.find(key), found);
    ASSERT_EQ(pair.table[key], found);
}

} // namespace

TEST_F(SparseArrayModelTest, RandomOperationsWalkInTheOrderOfThePlainForm)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        Random random(seed);
        Pair pairs[3];
        for (int round = 0; round < 300; ++round) {
            SCOPED_TRACE(testing::Message() << "round " << round << " of seed " << seed);
            Pair &target = pairs[random.upTo(2)];
            Pair &other = pairs[random.upTo(2)];
            step(target, other, random);
            compare(target, random);
            ASSERT_EQ(target.table == other.table, target.model == other.model);
            ASSERT_EQ(target.table != other.table, !(target.model == other.model));
            if (HasFatalFailure())
                return;
        }
    }
}

TEST_F(SparseArrayModelTest, ALargeTableWalksInTheOrderOfThePlainForm)
{
    for (const std::int64_t stride : {1, 48, 1 << 20}) {
        Pair pair;
        for (std::int64_t number = 0; number < 5000; ++number) {
            pair.table.set(number * stride, number);
            pair.model.set(number * stride, number);
        }
        EXPECT_EQ(walkOf(pair.table), pair.model.walk());
        for (std::int64_t number = 0; number < 5000; number += 3) {
            EXPECT_EQ(pair.table.remove(number * stride), number);
            pair.model.remove(number * stride);
        }
        EXPECT_EQ(walkOf(pair.table), pair.model.walk());
    }
}

TEST_F(SparseArrayModelTest, SmartShrinkHalvesATableThatIsFilledByLessThan30PerCent)
{
    // 100 items fill 256 buckets by 39 per cent.
    Pair pair;
    for (int key = 0; key < 100; ++key) {
        pair.table.set(key * 7, key);
        pair.model.set(key * 7, key);
    }
    for (const int left : {77, 76, 20, 10, 9, 5, 1}) {
        SCOPED_TRACE(left);
        while (pair.model.count > left) {
            const std::int64_t key = pair.model.walk().front().first;
            pair.table.remove(key);
            pair.model.remove(key);
        }
        for (int times = 0; times < 3; ++times) {
            shrink(pair);
            EXPECT_EQ(walkOf(pair.table), pair.model.walk());
        }
    }
    // A table of 16 buckets is given 32, which is how this ends.
    if (pair.model.buckets.size() == 32)
        shrink(pair);
    EXPECT_EQ(pair.model.buckets.size(), 16u);
    shrink(pair);
    EXPECT_EQ(pair.model.buckets.size(), 32u);
    // The numbers of buckets are equal when the tables are.
    SparseArray same;
    const ChainedTable::Item only = pair.model.walk().front();
    same.set(only.first, only.second);
    EXPECT_EQ(pair.table, same);
}

TEST_F(SparseArrayModelTest, WhatIsThereForSubclassesDoesNoHarm)
{
    OpenTable table;
    table.smartShrink();
    table.set(1, 2);
    table.smartGrow();
    EXPECT_EQ(table.findItem(1), nullptr);
    EXPECT_EQ(table.find(1), 2);
    EXPECT_EQ(table.length(), 1);
}
