// SPDX-License-Identifier: MIT
// HashTable against its plain form: random operations, and the whole walking order compared after
// each step.
#include <tavrin/HashTable.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "containers/ChainedNames.h"
#include "containers/HashTableSupport.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::ChainedNames;
using test::textOf;
using test::unitsOf;

namespace {

using HashTableModelTest = test::LibraryTest;

using Items = std::vector<ChainedNames::Item>;

struct Pair
{
    HashTable table;
    ChainedNames model;

    void set(const std::u16string &key, std::int64_t value, bool ignoreCase)
    {
        ASSERT_EQ(unitsOf(table.set(textOf(key), value, ignoreCase)), key);
        model.set(key, value, ignoreCase);
    }
    void remove(const std::u16string &key, bool ignoreCase)
    {
        ASSERT_EQ(table.remove(textOf(key), ignoreCase), model.remove(key, ignoreCase));
    }
};

Items walkOf(HashTable &table)
{
    Items items;
    table.forEach(
        [](const String &key, std::int64_t *value, std::int64_t arg) {
            reinterpret_cast<Items *>(arg)->push_back({unitsOf(key), *value});
            return true;
        },
        reinterpret_cast<std::intptr_t>(&items));
    return items;
}

// Few names, so that they meet each other again: words in several spellings, with and without a
// tail, of all lengths.
class Random
{
public:
    explicit Random(unsigned seed) : engine(seed) {}
    int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(engine); }
    bool flip() { return upTo(1) == 1; }
    std::u16string name()
    {
        static const std::u16string_view stems[] = {
            u"",     u"x",         u"id",           u"get",  u"\u00E4rger",  u"\u0436\u0443\u043A",
            u"name", u"namespace", u"namespaceURI", u"item", u"\u4E2D\u6587"};
        std::u16string name(stems[upTo(std::size(stems) - 1)]);
        for (int parts = upTo(2); parts > 0; --parts)
            name += parts % 2 == 0 ? u"LengthOfTheText" : u"At";
        name +=
            std::u16string(static_cast<unsigned>(upTo(3)), static_cast<char16_t>(u'0' + upTo(9)));
        if (flip())
            for (char16_t &unit : name)
                if (upTo(9) == 0)
                    unit = UnicodeUtils::towupper(unit);
        return name;
    }
    std::int64_t value() { return upTo(6); }

private:
    std::mt19937 engine;
};

void step(Pair &target, Pair &other, Random &random)
{
    const std::u16string key = random.name();
    const std::int64_t value = random.value();
    switch (random.upTo(60)) {
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
        target.model.removeData(value);
        break;
    case 3:
        target.table.forEach(
            [](const String &, std::int64_t *held, std::int64_t arg) { return *held != arg; },
            value);
        target.model.filter([&](const ChainedNames::Item &item) { return item.value != value; });
        break;
    case 4:
        if (random.upTo(3) == 0) {
            target.table.erase();
            target.model.erase();
        }
        break;
    case 5: {
        HashTable moved(std::move(target.table));
        target.table = std::move(moved);
        break;
    }
    case 6:
    case 7:
        // Many at once, so that the buckets halve.
        for (const ChainedNames::Item &item : target.model.walk())
            if (random.upTo(3) != 0)
                target.remove(item.key, random.flip());
        break;
    default:
        if (random.upTo(3) == 0)
            target.remove(key, random.flip());
        else
            target.set(key, value, random.upTo(3) == 0);
        break;
    }
}

void compare(Pair &pair, Random &random)
{
    const Items items = pair.model.walk();
    ASSERT_EQ(walkOf(pair.table), items);
    ASSERT_EQ(pair.table.length(), pair.model.count);
    test::Names keys;
    std::vector<std::int64_t> data;
    for (const auto &[key, value] : items) {
        keys.push_back(key);
        data.push_back(value);
    }
    ASSERT_EQ(test::namesOf(pair.table), keys);
    SimpleArray out;
    pair.table.getData(out);
    ASSERT_EQ(test::valuesOf(out), data);

    const std::int64_t value = random.value();
    const auto first = std::find(data.begin(), data.end(), value);
    const String *key = pair.table.findKey(value);
    ASSERT_EQ(key != nullptr, first != data.end());
    if (key != nullptr) {
        ASSERT_EQ(unitsOf(*key), keys[static_cast<std::size_t>(first - data.begin())]);
    }
    for (const bool ignoreCase : {false, true}) {
        const std::u16string name = random.name();
        const ChainedNames::Item *expected = pair.model.find(name, ignoreCase);
        ASSERT_EQ(pair.table.hasKey(textOf(name), ignoreCase), expected != nullptr);
        ASSERT_EQ(pair.table.find(textOf(name), ignoreCase), expected ? expected->value : 0);
    }
}

} // namespace

TEST_F(HashTableModelTest, RandomOperationsWalkInTheOrderOfThePlainForm)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Random random(seed);
        Pair pairs[3];
        for (int round = 0; round < 400; ++round) {
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

TEST_F(HashTableModelTest, ALargeTableWalksInTheOrderOfThePlainForm)
{
    // Many chains, and one chain.
    for (const std::u16string_view prefix : {u"", u"names"}) {
        const auto nameOf = [&](int number) {
            std::u16string name(prefix);
            for (; number != 0; number /= 26)
                name += static_cast<char16_t>(u'a' + number % 26);
            return name;
        };
        Pair pair;
        for (int number = 0; number < 2000; ++number)
            pair.set(nameOf(number), number, false);
        EXPECT_EQ(walkOf(pair.table), pair.model.walk());
        for (int number = 0; number < 2000; ++number)
            EXPECT_EQ(pair.table.find(textOf(nameOf(number)), true), number);
        for (int number = 0; number < 2000; number += 3)
            pair.remove(nameOf(number), false);
        EXPECT_EQ(walkOf(pair.table), pair.model.walk());
        for (int number = 0; number < 1990; ++number)
            pair.remove(nameOf(number), false);
        EXPECT_EQ(walkOf(pair.table), pair.model.walk());
        for (int number = 0; number < 2000; ++number)
            EXPECT_EQ(pair.table.hasKey(textOf(nameOf(number)), false),
                      number >= 1990 && number % 3 != 0);
    }
}
