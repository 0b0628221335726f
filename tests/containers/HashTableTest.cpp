// SPDX-License-Identifier: MIT
#include <tavrin/HashTable.h>

#include <climits>
#include <initializer_list>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "containers/ArraySupport.h"
#include "containers/HashTableSupport.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::arrayOf;
using test::keyOf;
using test::Names;
using test::namesOf;
using test::tableOf;
using test::tableUpTo;
using test::textOf;
using test::unitsOf;

namespace {

using HashTableTest = test::LibraryTest;
using HashTableCaseTest = test::LibraryTest;
using HashTableBucketTest = test::LibraryTest;
using TypedHashTableTest = test::LibraryTest;
using HashTableThreadTest = test::MultiThreadedLibraryTest;

SimpleArray dataOf(const HashTable &table)
{
    SimpleArray data;
    table.getData(data);
    return data;
}

std::int64_t liveBytes()
{
    Heap::flushCache();
    return test::TestAllocator::shared().liveBytes();
}

// Lets the tests reach what is there for subclasses.
class OpenTable : public HashTable
{
public:
    using HashTable::findItem;
    using HashTable::smartGrow;
    using HashTable::smartShrink;
};

} // namespace

// The table

TEST(HashTable, AnEmptyTableWorksBeforeInitAndAfterExit)
{
    HashTable table;
    const HashTable copy = table;
    EXPECT_EQ(table.find(String(), false), 0);
    EXPECT_FALSE(table.hasKey(String(), true));
    EXPECT_EQ(table.findKey(0), nullptr);
    EXPECT_EQ(table.remove(String(), false), 0);
    table.removeData(0);
    table.erase();
    EXPECT_TRUE(table == copy);
    EXPECT_THROW(table.set(String(), 1, false), std::bad_alloc);
    EXPECT_EQ(table.length(), 0);
    InitTerm::init();
    table.set("a", 1, false);
    table.erase();
    InitTerm::exit();
    EXPECT_THROW(table.set(String(), 1, false), std::bad_alloc);
    EXPECT_EQ(table.length(), 0);
}

TEST_F(HashTableTest, ANewTableOwnsNoStorage)
{
    const std::int64_t before = liveBytes();
    const HashTable table;
    EXPECT_EQ(liveBytes(), before);
    EXPECT_EQ(namesOf(table), Names());
    EXPECT_EQ(dataOf(table).length(), 0);
}

TEST_F(HashTableTest, AnItemBeginsWithItsKey)
{
    OpenTable table;
    const String *key = &table.set("width", 7, false);
    const HashItem *item = table.findItem("width", false);
    EXPECT_EQ(static_cast<const void *>(item), key);
    EXPECT_EQ(item->value, 7);
    EXPECT_EQ(item->next, nullptr);
    EXPECT_EQ(item->hash, ((('W' * 2u + 'I') * 2 + 'D') * 2 + 'T') * 2 + 'H');
}

TEST_F(HashTableTest, SetAddsAKeyOrReplacesItsValueAndReturnsTheKey)
{
    HashTable table;
    const String *width = &table.set("width", 50, false);
    table.set("height", 70, false);
    EXPECT_EQ(*width, "width");
    EXPECT_EQ(table.find("width", false), 50);
    EXPECT_EQ(table["height"], 70);
    EXPECT_EQ(&table.set("width", 51, false), width);
    EXPECT_EQ(table["width"], 51);
    EXPECT_EQ(table.length(), 2);
}

TEST_F(HashTableTest, AMissingKeyGives0AndFalse)
{
    for (const int items : {0, 1, 9, 10, 300}) {
        SCOPED_TRACE(items);
        HashTable table = tableUpTo(items);
        EXPECT_EQ(table.find("missing", false), 0);
        EXPECT_EQ(table.find("missing", true), 0);
        EXPECT_EQ(table["missing"], 0);
        EXPECT_FALSE(table.hasKey("missing", false));
        EXPECT_FALSE(table.hasKey("missing", true));
        EXPECT_EQ(table.findKey(-1), nullptr);
        EXPECT_EQ(table.remove("missing", true), 0);
        table.removeData(-1);
        EXPECT_EQ(table.length(), items);
    }
}

TEST_F(HashTableTest, AValueOf0IsAnItemAllTheSame)
{
    HashTable table;
    table.set("zero", 0, false);
    EXPECT_EQ(table.find("zero", false), 0);
    EXPECT_TRUE(table.hasKey("zero", false));
    ASSERT_NE(table.findKey(0), nullptr);
    EXPECT_EQ(*table.findKey(0), "zero");
    EXPECT_EQ(table.remove("zero", false), 0);
    EXPECT_FALSE(table.hasKey("zero", false));
}

TEST_F(HashTableTest, AnyValueCanBeKept)
{
    HashTable table;
    table.set("least", INT64_MIN, false);
    table.set("most", INT64_MAX, false);
    table.set("minus one", -1, false);
    EXPECT_EQ(table["least"], INT64_MIN);
    EXPECT_EQ(table["most"], INT64_MAX);
    EXPECT_EQ(table["minus one"], -1);
}

TEST_F(HashTableTest, TheEmptyKeyIsAKeyOfHash0)
{
    OpenTable table;
    table.set(String(), 5, false);
    EXPECT_EQ(table.find(String(), false), 5);
    EXPECT_EQ(table.find("", true), 5);
    EXPECT_EQ(table.findItem("", false)->hash, 0u);
    for (int number = 0; number < 40; ++number)
        table.set(keyOf(number), number, false);
    EXPECT_EQ(table.find(String(), false), 5);
    EXPECT_EQ(table.remove(String(), true), 5);
    EXPECT_FALSE(table.hasKey(String(), false));
}

TEST_F(HashTableTest, AUnit0EndsTheHashAndIsAPartOfTheKey)
{
    OpenTable table;
    const String plain = textOf(u"ab");
    const String longer = textOf({u"ab\0cd", 5});
    const String other = textOf({u"ab\0ce", 5});
    for (int number = 0; number < 2; ++number) {
        table.set(plain, 1, false);
        table.set(longer, 2, false);
        table.set(other, 3, false);
        EXPECT_EQ(table.findItem(longer, false)->hash, 'A' * 2u + 'B');
        EXPECT_EQ(table.find(plain, false), 1);
        EXPECT_EQ(table.find(longer, true), 2);
        EXPECT_EQ(table.find(other, false), 3);
        EXPECT_EQ(table.findItem(textOf({u"\0abcd", 5}), false), nullptr);
        for (int more = 0; more < 40; ++more)
            table.set(keyOf(more), more, false);
    }
}

TEST_F(HashTableTest, KeysOfAllLengthsAreTold)
{
    for (const bool ignoreCase : {false, true}) {
        HashTable table;
        for (int length = 0; length < 200; ++length) {
            table.set(textOf(std::u16string(static_cast<unsigned>(length), u'x')), length + 1,
                      false);
            table.set(textOf(std::u16string(static_cast<unsigned>(length), u'\u0436')), -length,
                      false);
        }
        for (int length = 1; length < 200; ++length) {
            const auto size = static_cast<unsigned>(length);
            EXPECT_EQ(table.find(textOf(std::u16string(size, u'x')), ignoreCase), length + 1);
            EXPECT_EQ(table.find(textOf(std::u16string(size, u'\u0436')), ignoreCase), -length);
            EXPECT_EQ(table.find(textOf(std::u16string(size, u'\u0416')), ignoreCase),
                      ignoreCase ? -length : 0);
            EXPECT_EQ(table.find(textOf(std::u16string(size, u'X')), ignoreCase),
                      ignoreCase ? length + 1 : 0);
        }
    }
}

TEST_F(HashTableTest, KeysThatDifferInOneUnitAreTold)
{
    for (const std::size_t length : std::initializer_list<std::size_t>{
             1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 23, 24, 25, 48, 49, 80}) {
        SCOPED_TRACE(length);
        HashTable table;
        const std::u16string base(length, u'm');
        for (std::size_t at = 0; at < length; ++at) {
            std::u16string name = base;
            name[at] = u'n';
            table.set(textOf(name), static_cast<std::int64_t>(at) + 1, false);
        }
        EXPECT_EQ(table.length(), static_cast<int>(length));
        EXPECT_FALSE(table.hasKey(textOf(base), true));
        for (std::size_t at = 0; at < length; ++at) {
            std::u16string name = base;
            name[at] = u'n';
            EXPECT_EQ(table.find(textOf(name), false), static_cast<std::int64_t>(at) + 1);
            name[at] = u'N';
            EXPECT_EQ(table.find(textOf(name), true), static_cast<std::int64_t>(at) + 1);
            EXPECT_FALSE(table.hasKey(textOf(name), false));
        }
    }
}

TEST_F(HashTableTest, FindKeyGivesTheFirstKeyInWalkingOrder)
{
    HashTable table = tableOf({9, 3, 19});
    for (const int number : {9, 3, 19})
        table.set(keyOf(number), 1, false);
    EXPECT_EQ(unitsOf(*table.findKey(1)), test::nameOf(19));
    table.remove(keyOf(19), false);
    EXPECT_EQ(unitsOf(*table.findKey(1)), test::nameOf(3));
}

TEST_F(HashTableTest, RemoveUnlinksFromTheFrontTheMiddleAndTheEndOfAChain)
{
    for (const int removed : {0, 16, 32}) {
        HashTable table = tableOf({0, 16, 32});
        Names left = namesOf({32, 16, 0});
        EXPECT_EQ(table.remove(keyOf(removed), false), removed);
        std::erase(left, test::nameOf(removed));
        EXPECT_EQ(namesOf(table), left);
        EXPECT_EQ(table.length(), 2);
        EXPECT_EQ(table.remove(keyOf(removed), false), 0);
        EXPECT_EQ(table.length(), 2);
    }
}

TEST_F(HashTableTest, AKeyInTheTableMayBeTheArgument)
{
    for (const int items : {5, 50}) {
        HashTable table = tableUpTo(items);
        const String &key = *table.findKey(3);
        EXPECT_EQ(&table.set(key, 33, true), &key);
        EXPECT_EQ(table.find(key, false), 33);
        EXPECT_EQ(table.remove(key, false), 33);
        EXPECT_EQ(table.length(), items - 1);
        EXPECT_FALSE(table.hasKey(keyOf(3), false));
    }
}

TEST_F(HashTableTest, GetDataAndGetKeysAppendInWalkingOrder)
{
    HashTable table = tableOf({2, 18, 1});
    table.set(keyOf(18), 0, false);
    SimpleArray data = arrayOf({99});
    table.getData(data);
    EXPECT_EQ(data, arrayOf({99, 1, 0, 2}));
    const String other = "other";
    TSimpleArray<const String> keys;
    keys.append(&other);
    table.getKeys(keys);
    const TSimpleArray<const String> &read = keys;
    ASSERT_EQ(read.length(), 4);
    EXPECT_EQ(read[0], &other);
    EXPECT_EQ(unitsOf(*read[2]), test::nameOf(18));
    EXPECT_EQ(read[3], table.findKey(2));
}

TEST_F(HashTableTest, AnEmptyTableAppendsNothingAndLeavesTheArrayAlone)
{
    SimpleArray data;
    data.setIncrement(100);
    HashTable().getData(data);
    TSimpleArray<const String> keys;
    keys.setIncrement(100);
    HashTable().getKeys(keys);
    EXPECT_EQ(data.getIncrement(), 100);
    EXPECT_EQ(keys.getIncrement(), 100);
}

TEST_F(HashTableTest, RemoveDataRemovesAllItemsOfAValue)
{
    HashTable table;
    for (int number = 0; number < 40; ++number)
        table.set(keyOf(number), number % 3, false);
    table.removeData(0);
    EXPECT_EQ(table.length(), 26);
    EXPECT_EQ(table.findKey(0), nullptr);
    table.removeData(5);
    EXPECT_EQ(table.length(), 26);
    table.removeData(1);
    table.removeData(2);
    EXPECT_EQ(table.length(), 0);
    EXPECT_TRUE(table == HashTable());
}

TEST_F(HashTableTest, EraseGivesAllStorageUp)
{
    const std::int64_t before = liveBytes();
    {
        HashTable table = tableUpTo(1000);
        EXPECT_GT(liveBytes(), before);
        table.erase();
        EXPECT_EQ(table.length(), 0);
        EXPECT_EQ(liveBytes(), before);
        table.set("a", 1, false);
        EXPECT_EQ(table["a"], 1);
    }
    EXPECT_EQ(liveBytes(), before);
}

TEST_F(HashTableTest, ATableOfChangingKeysDoesNotGrow)
{
    HashTable table = tableUpTo(100);
    for (int number = 100; number < 1000; ++number) {
        table.remove(keyOf(number - 100), false);
        table.set(keyOf(number), number, false);
    }
    const std::int64_t before = liveBytes();
    for (int number = 1000; number < 10000; ++number) {
        table.remove(keyOf(number - 100), false);
        table.set(keyOf(number), number, false);
    }
    EXPECT_EQ(liveBytes(), before);
    EXPECT_EQ(table.length(), 100);
    EXPECT_EQ(table[keyOf(9999)], 9999);
}

TEST_F(HashTableTest, ItemsStayInPlaceWhileTheTableGrowsAndShrinks)
{
    HashTable table;
    const String *key = &table.set("here", 1, false);
    for (int number = 0; number < 1000; ++number)
        table.set(keyOf(number), 2, false);
    EXPECT_EQ(table.findKey(1), key);
    table.removeData(2);
    EXPECT_EQ(table.findKey(1), key);
    EXPECT_EQ(*key, "here");
}

// Case

TEST_F(HashTableCaseTest, EachCallSaysWhetherCaseMatters)
{
    for (const int more : {0, 100}) {
        HashTable table = tableUpTo(more);
        table.set("key", 77, false);
        EXPECT_EQ(table.find("KEY", true), 77);
        EXPECT_EQ(table.find("KEY", false), 0);
        EXPECT_TRUE(table.hasKey("kEy", true));
        EXPECT_FALSE(table.hasKey("kEy", false));
        EXPECT_EQ(table["Key"], 0);
        EXPECT_EQ(table.remove("KEY", false), 0);
        EXPECT_EQ(table.remove("KEY", true), 77);
        EXPECT_EQ(table.length(), more);
    }
}

TEST_F(HashTableCaseTest, SetWithoutCaseTakesTheNewSpelling)
{
    for (const int more : {0, 100}) {
        HashTable table = tableUpTo(more);
        const String *key = &table.set("key", 5, false);
        EXPECT_EQ(&table.set("KEY", 1, true), key);
        EXPECT_EQ(*key, "KEY");
        EXPECT_EQ(table.length(), more + 1);
        EXPECT_EQ(table.find("KEY", false), 1);
        EXPECT_EQ(table.find("key", false), 0);
    }
}

TEST_F(HashTableCaseTest, SetWithCaseAddsASecondItemInFrontOfTheFirst)
{
    for (const int more : {0, 100}) {
        HashTable table = tableUpTo(more);
        table.set("key", 5, false);
        const String &second = table.set("KEY", 1, false);
        EXPECT_EQ(second, "KEY");
        EXPECT_EQ(table.length(), more + 2);
        EXPECT_EQ(table.find("key", false), 5);
        EXPECT_EQ(table.find("KEY", false), 1);
        // In the same bucket, so one stands right behind the other.
        const Names names = namesOf(table);
        const auto place = std::find(names.begin(), names.end(), u"KEY");
        ASSERT_NE(place, names.end());
        EXPECT_EQ(place[1], u"key");
    }
}

TEST_F(HashTableCaseTest, WithoutCaseTheFirstInWalkingOrderCounts)
{
    HashTable table;
    table.set("key", 1, false);
    table.set("Key", 2, false);
    table.set("KEY", 3, false);
    EXPECT_EQ(table.find("kEY", true), 3);
    // Seven more items make it ten, and the tenth reverses the chain.
    for (int number = 0; number < 7; ++number)
        table.set(keyOf(number), 0, false);
    EXPECT_EQ(table.find("kEY", true), 1);
    EXPECT_EQ(table.set("kEY", 4, true), "kEY");
    EXPECT_EQ(table.find("key", false), 0);
    EXPECT_EQ(table.find("kEY", false), 4);
    // With nine items left the buckets halve, which reverses the chain again.
    EXPECT_EQ(table.remove("KEY", true), 4);
    EXPECT_EQ(table.find("key", true), 3);
    EXPECT_EQ(table.find("Key", false), 2);
}

TEST_F(HashTableCaseTest, ANewVariantStandsInFrontAlsoAfterARehash)
{
    HashTable table;
    table.set("key", 1, false);
    table.set("Key", 2, false);
    for (int number = 0; number < 8; ++number)
        table.set(keyOf(number), 0, false);
    EXPECT_EQ(table.find("KEY", true), 1);
    table.set("KEY", 3, false);
    EXPECT_EQ(table.find("key", true), 3);
    for (int number = 8; number < 16; ++number)
        table.set(keyOf(number), 0, false);
    EXPECT_EQ(table.find("KEY", true), 2);
    EXPECT_EQ(table.find("KEY", false), 3);
    EXPECT_EQ(table.find("key", false), 1);
}

TEST_F(HashTableCaseTest, ARespelledKeyMayComeToBeThereTwice)
{
    // The first in walking order counts, and a copy keeps the value of the last.
    HashTable table;
    table.set("Key", 1, false);
    table.set("key", 2, false);
    for (const int more : {0, 100}) {
        for (int number = 0; number < more; ++number)
            table.set(keyOf(number), 0, false);
        table.set("Key", 1, true);
        SCOPED_TRACE(more);
        EXPECT_EQ(table.length(), more + 2);
        EXPECT_EQ(table.find("key", false), 0);
        EXPECT_EQ(table.find("Key", false), 1);
        const HashTable copy = table;
        EXPECT_EQ(copy.length(), more + 1);
    }
    EXPECT_EQ(table.remove("Key", false), 1);
    EXPECT_TRUE(table.hasKey("Key", false));
    EXPECT_EQ(table.remove("Key", false), 1);
    EXPECT_FALSE(table.hasKey("KEY", true));
}

TEST_F(HashTableCaseTest, RemoveDataTakesTheItemsThatHaveTheValueAmongEqualKeys)
{
    HashTable table = tableUpTo(100);
    table.set("KEY", -1, false);
    table.set("key", -2, false);
    while (table.find("key", true) != -1)
        table.set(keyOf(table.length()), 0, false);
    table.set("key", -1, true);
    table.removeData(-2);
    EXPECT_EQ(table.find("key", false), -1);
    table.removeData(-1);
    EXPECT_FALSE(table.hasKey("key", true));
}

TEST_F(HashTableCaseTest, CaseIsThatOfUnicodeUtils)
{
    struct Row
    {
        const char *name;
        std::u16string_view key;
        std::u16string_view sought;
        bool isFound;
    };
    const Row rows[] = {
        {"Latin-1", u"gr\u00F6\u00DFe", u"GR\u00D6\u00DFE", true},
        {"Greek", u"\u03C3\u03C4\u03CD\u03BB", u"\u03A3\u03A4\u038E\u039B", true},
        {"final sigma", u"\u03C2", u"\u03C3", true},
        {"Cyrillic", u"\u0446\u0432\u0435\u0442", u"\u0426\u0412\u0415\u0422", true},
        {"long s", u"\u017Ftyle", u"STYLE", true},
        {"dotless i", u"h\u0131dden", u"HIDDEN", true},
        {"y with diaeresis", u"\u00FF", u"\u0178", true},
        {"micro sign", u"\u00B5m", u"\u039CM", true},
        {"Kelvin sign", u"\u212A", u"k", false},
        {"signs that differ by the bit of ASCII case", u"a[1]", u"A{1}", false},
        {"digits and controls", u"a1", u"a\u0011", false},
    };
    for (const int more : {0, 100}) {
        for (const Row &row : rows) {
            SCOPED_TRACE(row.name);
            for (const std::u16string tail : {u"", u"Tail", u"AndALongTailThatIsTheSameInBoth"}) {
                HashTable table = tableUpTo(more);
                table.set(textOf(std::u16string(row.key) + tail), 77, false);
                const String sought = textOf(std::u16string(row.sought) + tail);
                EXPECT_EQ(table.find(sought, true), row.isFound ? 77 : 0);
                EXPECT_EQ(table.find(sought, false), 0);
            }
        }
    }
}

TEST_F(HashTableCaseTest, ManyVariantsOfOneNameAreTold)
{
    HashTable table;
    const auto variant = [](unsigned bits) {
        std::u16string name = u"backgroundcolor";
        for (unsigned at = 0; at < name.size(); ++at)
            if ((bits >> at & 1) != 0)
                name[at] = static_cast<char16_t>(name[at] - 0x20);
        return textOf(name);
    };
    for (unsigned bits = 0; bits < 256; ++bits)
        table.set(variant(bits), bits + 1, false);
    for (unsigned bits = 0; bits < 256; ++bits)
        EXPECT_EQ(table.find(variant(bits), false), bits + 1);
    EXPECT_EQ(unitsOf(*table.findKey(table.find("BACKGROUNDCOLOR", true))), namesOf(table)[0]);
    for (unsigned bits = 0; bits < 256; bits += 2)
        EXPECT_EQ(table.remove(variant(bits), false), bits + 1);
    for (unsigned bits = 0; bits < 256; ++bits)
        EXPECT_EQ(table.hasKey(variant(bits), false), bits % 2 == 1);
}

// Buckets

TEST_F(HashTableBucketTest, TheFirstSetYields16BucketsAndTheLastRemovalNone)
{
    EXPECT_EQ(namesOf(tableOf({1, 17})), namesOf({17, 1}));
    EXPECT_EQ(namesOf(tableOf({15, 0})), namesOf({0, 15}));
    EXPECT_EQ(namesOf(tableOf({0, 17})), namesOf({0, 17}));
    HashTable table = tableOf({1});
    EXPECT_FALSE(table == HashTable());
    table.remove(keyOf(1), false);
    EXPECT_TRUE(table == HashTable());
}

TEST_F(HashTableBucketTest, TheNinthItemAddsNoBucketsAndTheTenthDoublesThem)
{
    HashTable table = tableOf({0, 16, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(namesOf(table), namesOf({16, 0, 1, 2, 3, 4, 5, 6, 7}));
    table.set(keyOf(8), 8, false);
    EXPECT_EQ(namesOf(table), namesOf({0, 1, 2, 3, 4, 5, 6, 7, 8, 16}));
}

TEST_F(HashTableBucketTest, ARehashReversesTheChains)
{
    HashTable table = tableOf({0, 32, 64, 1, 2, 3, 4, 5, 6});
    EXPECT_EQ(namesOf(table), namesOf({64, 32, 0, 1, 2, 3, 4, 5, 6}));
    table.set(keyOf(7), 7, false);
    EXPECT_EQ(namesOf(table), namesOf({0, 32, 64, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(HashTableBucketTest, TheBucketsHalveBelow30PerCent)
{
    // Ten items in 32 buckets: with nine left the load is 28 per cent.
    HashTable table = tableOf({0, 16, 1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(namesOf(table), namesOf({0, 1, 2, 3, 4, 5, 6, 7, 8, 16}));
    table.remove(keyOf(8), false);
    EXPECT_EQ(namesOf(table), namesOf({16, 0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(HashTableBucketTest, ALoadFrom30To50PerCentIsLeftAlone)
{
    // 21 items fill 64 buckets by 32 per cent, 20 by 31 and 19 by 29.
    HashTable table = tableUpTo(20);
    table.set(keyOf(33), 33, false);
    EXPECT_EQ(namesOf(table).back(), test::nameOf(33));
    table.remove(keyOf(19), false);
    EXPECT_EQ(namesOf(table).back(), test::nameOf(33));
    table.remove(keyOf(18), false);
    EXPECT_EQ(namesOf(table).back(), test::nameOf(17));
}

TEST_F(HashTableBucketTest, After64ItemsAndRemovalOfAllBut5ThereAre16Buckets)
{
    HashTable table = tableUpTo(64);
    for (int number = 0; number < 64; ++number)
        if (number != 5 && number % 16 != 1)
            table.remove(keyOf(number), false);
    EXPECT_EQ(table.length(), 5);
    // All numbers with the remainder 1 are in the bucket in front of that of 5.
    EXPECT_EQ(namesOf(table).back(), test::nameOf(5));
}

TEST_F(HashTableBucketTest, KeysThatShareTheirFirstFiveUnitsShareTheHash)
{
    OpenTable table;
    table.set("abcdeX", 1, false);
    table.set("ABCDEy", 2, false);
    EXPECT_EQ(table.findItem("abcdeX", false)->hash, table.findItem("ABCDEy", false)->hash);
    EXPECT_EQ(table.findItem("ABCDEy", false)->next, table.findItem("abcdeX", false));
    EXPECT_EQ(table.length(), 2);
    EXPECT_EQ(table["abcdeX"], 1);
    EXPECT_EQ(table["ABCDEy"], 2);
}

TEST_F(HashTableBucketTest, HashesAreThoseOfTheRule)
{
    struct Row
    {
        std::u16string_view key;
        unsigned hash;
    };
    const Row rows[] = {
        {u"", 0},
        {u"a", 'A'},
        {u"Z", 'Z'},
        {u"id", 2 * 'I' + 'D'},
        {u"@`[{", 8 * '@' + 4 * '`' + 2 * '[' + '{'},
        {u"azAZ", 8 * 'A' + 4 * 'Z' + 2 * 'A' + 'Z'},
        {u"~\u007F~\u007F~x", 16 * '~' + 8 * 0x7F + 4 * '~' + 2 * 0x7F + '~'},
        {u"x1_$y", 16 * 'X' + 8 * '1' + 4 * '_' + 2 * '$' + 'Y'},
        {u"x1_$yZZZZ", 16 * 'X' + 8 * '1' + 4 * '_' + 2 * '$' + 'Y'},
        {u"\u00E4bcdefg", 16 * 0xC4 + 8 * 'B' + 4 * 'C' + 2 * 'D' + 'E'},
        {u"abcd\u00FFfg", 16 * 'A' + 8 * 'B' + 4 * 'C' + 2 * 'D' + 0x178},
        {u"abc\u0436efg", 16 * 'A' + 8 * 'B' + 4 * 'C' + 2 * 0x416 + 'E'},
        {u"\uFFFF\uFFFF\uFFFF\uFFFF\uFFFF\uFFFF", 31 * 0xFFFF},
        {{u"abcd\0fg", 7}, 8 * 'A' + 4 * 'B' + 2 * 'C' + 'D'},
        {{u"abc\0efg", 7}, 4 * 'A' + 2 * 'B' + 'C'},
        {{u"\0abcdefg", 8}, 0},
    };
    OpenTable table;
    for (const Row &row : rows) {
        table.set(textOf(row.key), 1, false);
        EXPECT_EQ(table.findItem(textOf(row.key), false)->hash, row.hash)
            << testing::PrintToString(textOf(row.key));
    }
}

TEST_F(HashTableBucketTest, SubclassesGrowAndShrinkByTheSameRules)
{
    OpenTable table;
    table.smartShrink();
    EXPECT_TRUE(table == HashTable());
    table.smartGrow();
    EXPECT_FALSE(table == HashTable());
    table.smartGrow();
    table.smartShrink();
    EXPECT_TRUE(table == HashTable());
    for (int number = 0; number < 9; ++number)
        table.set(keyOf(number * 16), number, false);
    const Names before = namesOf(table);
    table.smartShrink();
    EXPECT_EQ(namesOf(table), before);
    table.smartGrow();
    EXPECT_EQ(namesOf(table), namesOf({0, 32, 64, 96, 128, 16, 48, 80, 112}));
    table.smartShrink();
    EXPECT_EQ(namesOf(table), namesOf({112, 80, 48, 16, 128, 96, 64, 32, 0}));
    table.smartShrink();
    EXPECT_EQ(namesOf(table), namesOf({112, 80, 48, 16, 128, 96, 64, 32, 0}));
}

// Copies and comparison

TEST_F(HashTableTest, ACopyHasItsOwnItems)
{
    for (const int items : {3, 100}) {
        HashTable table = tableUpTo(items);
        HashTable copy = table;
        table.set(keyOf(1), 99, false);
        table.remove(keyOf(2), false);
        EXPECT_EQ(copy[keyOf(1)], 1);
        EXPECT_EQ(copy[keyOf(2)], 2);
        EXPECT_EQ(copy.length(), items);
        copy = table;
        EXPECT_EQ(copy[keyOf(1)], 99);
        EXPECT_EQ(copy.length(), items - 1);
    }
}

TEST_F(HashTableTest, ACopyReversesTheChains)
{
    const HashTable table = tableOf({0, 16, 32});
    const HashTable copy = table;
    EXPECT_EQ(namesOf(table), namesOf({32, 16, 0}));
    EXPECT_EQ(namesOf(copy), namesOf({0, 16, 32}));
    EXPECT_FALSE(copy == table);
}

TEST_F(HashTableTest, AssignmentToItselfKeepsTheWalkingOrder)
{
    HashTable table = tableOf({0, 16, 32});
    table = *&table;
    EXPECT_EQ(namesOf(table), namesOf({32, 16, 0}));
    table += table;
    EXPECT_EQ(namesOf(table), namesOf({32, 16, 0}));
    table = std::move(*&table);
    EXPECT_EQ(namesOf(table), namesOf({32, 16, 0}));
}

TEST_F(HashTableTest, AMovedTableGivesItsItemsAway)
{
    for (const int items : {5, 50}) {
        HashTable source = tableUpTo(items);
        const Names names = namesOf(source);
        HashTable target = std::move(source);
        EXPECT_EQ(namesOf(target), names);
        EXPECT_EQ(target[keyOf(4)], 4);
        EXPECT_EQ(source.length(), 0);
        EXPECT_FALSE(source.hasKey(keyOf(4), false));
        source.set(keyOf(1), 1, false);
        target = std::move(source);
        EXPECT_EQ(namesOf(target), namesOf({1}));
    }
}

TEST_F(HashTableTest, ComparisonDependsOnTheOrderOfTheChains)
{
    EXPECT_TRUE(tableOf({0, 16}) == tableOf({0, 16}));
    EXPECT_TRUE(tableOf({0, 16}) != tableOf({16, 0}));
    EXPECT_TRUE(tableOf({0, 17}) == tableOf({17, 0}));
}

TEST_F(HashTableTest, ComparisonLooksAtKeysValuesAndChainLengths)
{
    const HashTable table = tableOf({0, 16});
    HashTable other = tableOf({0, 16});
    other.set(keyOf(16), 1, false);
    EXPECT_FALSE(table == other);
    EXPECT_FALSE(table == tableOf({0, 32}));
    EXPECT_FALSE(table == tableOf({16}));
    EXPECT_FALSE(tableOf({16}) == table);
    EXPECT_TRUE(table == table);
    HashTable lower, upper;
    lower.set("a", 1, false);
    upper.set("A", 1, false);
    EXPECT_FALSE(lower == upper);
}

TEST_F(HashTableTest, ComparisonLooksAtTheNumberOfBuckets)
{
    // What a walk removes still counts, so the first table keeps its 64 buckets.
    HashTable large = tableUpTo(20);
    test::walk(large, [](const String &, std::int64_t *value) { return *value < 10; });
    const HashTable small = tableUpTo(10);
    EXPECT_EQ(namesOf(large), namesOf(small));
    EXPECT_FALSE(large == small);
    EXPECT_TRUE(HashTable(large) == small);
}

TEST_F(HashTableTest, AddingATableSetsItsKeysExactly)
{
    HashTable table;
    table.set("a", 1, false);
    table.set("b", 2, false);
    HashTable other;
    other.set("b", 99, false);
    other.set("A", 98, false);
    EXPECT_EQ(&(table += other), &table);
    EXPECT_EQ(table.length(), 3);
    EXPECT_EQ(table["a"], 1);
    EXPECT_EQ(table["A"], 98);
    EXPECT_EQ(table["b"], 99);
}

// The typed face

TEST_F(TypedHashTableTest, ValuesAreReadAsPointers)
{
    int numbers[3] = {10, 20, 30};
    THashTable<int> table;
    EXPECT_EQ(table.set("ten", &numbers[0], false), "ten");
    table.set("twenty", &numbers[1], false);
    table.set("none", nullptr, false);
    EXPECT_EQ(table.find("TEN", true), &numbers[0]);
    EXPECT_EQ(table["twenty"], &numbers[1]);
    EXPECT_EQ(table["missing"], nullptr);
    EXPECT_TRUE(table.hasKey("none", false));
    EXPECT_EQ(*table.findKey(&numbers[1]), "twenty");
    EXPECT_EQ(table.findKey(&numbers[2]), nullptr);
    TSimpleArray<int> data;
    table.getData(data);
    EXPECT_EQ(data.length(), 3);
    EXPECT_GE(data.indexOf(&numbers[0]), 0);
    THashTable<int> other;
    other.set("thirty", &numbers[2], false);
    EXPECT_EQ(&(table += other), &table);
    EXPECT_EQ(*table["thirty"], 30);
    EXPECT_EQ(table.remove("ten", false), &numbers[0]);
    table.removeData(&numbers[1]);
    EXPECT_EQ(table.length(), 2);
    const THashTable<int> copy = table;
    EXPECT_EQ(copy["thirty"], &numbers[2]);
}

// Threads

TEST_F(HashTableThreadTest, SeveralThreadsMayReadOneTable)
{
    const HashTable table = tableUpTo(1000);
    test::runOnThreads(4, [&](int thread) {
        for (int number = thread; number < 1000; ++number) {
            ASSERT_EQ(table.find(keyOf(number), (number & 1) != 0), number);
            ASSERT_TRUE(table.hasKey(keyOf(number), false));
        }
        ASSERT_EQ(namesOf(table).size(), 1000u);
        ASSERT_EQ(HashTable(table).length(), 1000);
    });
}
