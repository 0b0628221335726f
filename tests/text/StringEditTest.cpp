// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <limits>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::Units;
using test::unitsOf;

using StringEditTest = test::LibraryTest;

namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct EraseRow
{
    const char *name;
    int start;
    int count;
    const char *left;
};

// All on "abcdef".
const EraseRow eraseRows[] = {
    {"a middle part", 2, 3, "abf"},
    {"the front", 0, 2, "cdef"},
    {"the end", 4, 2, "abcd"},
    {"past the end", 4, 100, "abcd"},
    {"far past the end", 1, most, "a"},
    {"everything", 0, 6, ""},
    {"everything and more", 0, most, ""},
    {"nothing", 2, 0, "abcdef"},
    {"nothing at the front", 0, 0, "abcdef"},
    {"from the end", 6, 1, "abcdef"},
    {"from past the end", 7, 1, "abcdef"},
    {"a negative start means the end", -1, 3, "abcdef"},
    {"a negative start and count", -1, -1, "abcdef"},
    {"the least start", least, 1, "abcdef"},
    {"a negative count means as many as there are", 2, -1, "ab"},
    {"a negative count from the front", 0, -1, ""},
    {"the least count", 5, least, "abcde"},
};

} // namespace

TEST_F(StringEditTest, EraseFollowsItsRulesForAllRanges)
{
    for (const EraseRow &row : eraseRows) {
        SCOPED_TRACE(row.name);
        String text("abcdef");
        text.erase(row.start, row.count);
        EXPECT_EQ(text, row.left);
        EXPECT_TRUE(isTerminated(text));
        const String original("abcdef");
        String shared(original);
        shared.erase(row.start, row.count);
        EXPECT_EQ(shared, row.left);
        EXPECT_EQ(original, "abcdef");
    }
}

TEST_F(StringEditTest, EraseOfEverythingGivesUpTheBuffer)
{
    String text("abc");
    text.erase(0, 3);
    EXPECT_EQ(text.wstr(), String().wstr());
    text.erase(0, 3);
    text.erase(0, -1);
    text.erase(-1, 0);
    EXPECT_EQ(text.wstr(), String().wstr());
}

TEST_F(StringEditTest, EraseFromTheEndLeavesTheBufferShared)
{
    const String original("abc");
    String text(original);
    text.erase(3, 1);
    text.erase(-1, 1);
    EXPECT_EQ(text.wstr(), original.wstr());
}

TEST_F(StringEditTest, ErasesFromLongTexts)
{
    const std::u16string units = patternOf(9000);
    for (const int start : {0, 1, 100, 8000})
        for (const int count : {1, 500, 7000}) {
            String text(Units(units).data());
            text.erase(start, count);
            std::u16string expected = units;
            expected.erase(static_cast<std::size_t>(start), static_cast<std::size_t>(count));
            EXPECT_EQ(unitsOf(text), expected);
            EXPECT_TRUE(isTerminated(text));
        }
}

TEST_F(StringEditTest, InsertTakesAllFiveKinds)
{
    String text("ad");
    text.insert('c', 1);
    EXPECT_EQ(text, "acd");
    text.insert(static_cast<unsigned short>('b'), 1);
    EXPECT_EQ(text, "abcd");
    text.insert("12", 2);
    EXPECT_EQ(text, "ab12cd");
    text.insert(String("34"), 4);
    EXPECT_EQ(text, "ab1234cd");
    text.insert(Units(u"56").data(), 6);
    EXPECT_EQ(text, "ab123456cd");
    text.insert('\xE9', 0);
    EXPECT_EQ(text.wstr()[0], 0xE9);
    text.insert("\xFF", 0);
    EXPECT_EQ(text.wstr()[0], 0xFF);
    text.insert(static_cast<unsigned short>(0), 1);
    EXPECT_EQ(text.wstr()[1], 0);
    EXPECT_EQ(text.length(), 13);
}

TEST_F(StringEditTest, InsertClampsThePosition)
{
    struct Row
    {
        const char *name;
        int pos;
        const char *expected;
    };
    const Row rows[] = {
        {"negative counts as 0", -1, "XYabc"},
        {"the least", least, "XYabc"},
        {"the front", 0, "XYabc"},
        {"the middle", 1, "aXYbc"},
        {"the end", 3, "abcXY"},
        {"past the end", 4, "abcXY"},
        {"the most", most, "abcXY"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        String text("abc");
        text.insert("XY", row.pos);
        EXPECT_EQ(text, row.expected);
        const String original("abc");
        String shared(original);
        shared.insert(Units(u"XY").data(), row.pos);
        EXPECT_EQ(shared, row.expected);
        EXPECT_EQ(original, "abc");
        String empty;
        empty.insert("XY", row.pos);
        EXPECT_EQ(empty, "XY");
    }
}

TEST_F(StringEditTest, InsertOfNothingLeavesTheBufferShared)
{
    const String original("abc");
    String text(original);
    const char *nullBytes = nullptr;
    const unsigned short *nullUnits = nullptr;
    text.insert("", 1);
    text.insert(nullBytes, 1);
    text.insert(nullUnits, 1);
    text.insert(String(), 1);
    EXPECT_EQ(text.wstr(), original.wstr());
}

TEST_F(StringEditTest, InsertsAtEveryPlaceAcrossBlockSizes)
{
    for (const int length : {14, 15, 16, 126, 128, 2100})
        for (const int added : {1, 2, 17, 200}) {
            const std::u16string units = patternOf(length);
            const std::u16string insertion(static_cast<std::size_t>(added), u'#');
            for (int pos = 0; pos <= length; pos += 1 + length / 40) {
                String text(Units(units).data());
                text.insert(Units(insertion).data(), pos);
                std::u16string expected = units;
                expected.insert(static_cast<std::size_t>(pos), insertion);
                ASSERT_EQ(unitsOf(text), expected) << added << " at " << pos;
                ASSERT_TRUE(isTerminated(text));
            }
        }
}

TEST_F(StringEditTest, InsertsLongNarrowText)
{
    String text("()");
    const std::string bytes(1000, '\xA5');
    text.insert(bytes.c_str(), 1);
    std::u16string expected(1002, u'\u00A5');
    expected.front() = u'(';
    expected.back() = u')';
    EXPECT_EQ(unitsOf(text), expected);
}

TEST_F(StringEditTest, InsertsItself)
{
    for (const int length : {3, 8, 15, 64, 200}) {
        const std::u16string units = patternOf(length);
        String text(Units(units).data());
        text.insert(text, 1);
        std::u16string expected = units;
        expected.insert(1, units);
        EXPECT_EQ(unitsOf(text), expected);
        const String copy(text);
        text.insert(copy, 0);
        EXPECT_EQ(unitsOf(text), expected + expected);
    }
}

TEST_F(StringEditTest, InsertsAPartOfItself)
{
    for (const int length : {3, 15, 16, 127, 300}) {
        const std::u16string units = patternOf(length);
        String text(Units(units).data());
        text.insert(text.wstr(), 0);
        EXPECT_EQ(unitsOf(text), units + units);
        text.insert(text.wstr() + length, 1);
        std::u16string expected = units + units;
        expected.insert(1, units);
        EXPECT_EQ(unitsOf(text), expected);
        text.insert(text.wstr() + 1, most);
        EXPECT_EQ(unitsOf(text), expected + expected.substr(1));
    }
}

TEST_F(StringEditTest, SubstrFollowsItsRulesForAllRanges)
{
    struct Row
    {
        const char *name;
        int start;
        int count;
        const char *expected;
    };
    const Row rows[] = {
        {"a middle part", 2, 3, "cde"},
        {"the front", 0, 2, "ab"},
        {"the end", 4, 2, "ef"},
        {"a count past the end is cut", 4, 100, "ef"},
        {"the most", 1, most, "bcdef"},
        {"a negative count means to the end", 2, -1, "cdef"},
        {"the least count", 2, least, "cdef"},
        {"nothing", 2, 0, ""},
        {"from the end", 6, 1, ""},
        {"from past the end", most, 1, ""},
        {"a negative start counts as 0", -2, 3, "abc"},
        {"everything", 0, 6, "abcdef"},
    };
    const String text("abcdef");
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(text.substr(row.start, row.count), row.expected);
        EXPECT_TRUE(isTerminated(text.substr(row.start, row.count)));
    }
    EXPECT_EQ(text.substr(4), "ef");
    EXPECT_EQ(text, "abcdef");
}

TEST_F(StringEditTest, SubstrOfTheWholeTextSharesTheBuffer)
{
    const String text("abcdef");
    EXPECT_EQ(text.substr(0, -1).wstr(), text.wstr());
    EXPECT_EQ(text.substr(0, 6).wstr(), text.wstr());
    EXPECT_EQ(text.substr(0, 100).wstr(), text.wstr());
    EXPECT_NE(text.substr(0, 5).wstr(), text.wstr());
}

TEST_F(StringEditTest, SubstrOfEveryLengthAndPlace)
{
    const std::u16string units = patternOf(200);
    const String text(Units(units).data());
    for (int start = 0; start < 200; start += 7)
        for (int count = 1; count <= 200 - start; ++count)
            ASSERT_EQ(
                unitsOf(text.substr(start, count)),
                units.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(count)));
}

TEST_F(StringEditTest, SubstrMayBeginWithAZeroUnit)
{
    const String text = test::textOf(std::u16string_view(u"a\0bc", 4));
    EXPECT_EQ(unitsOf(text.substr(1, 2)), std::u16string(u"\0b", 2));
}
