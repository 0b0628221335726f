// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringSearchTest = test::LibraryTest;

namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct Row
{
    const char *name;
    const char *text;
    const char *pattern;
    int start;
    int expected;
};

const Row forwardRows[] = {
    {"at the front", "abcabc", "ab", 0, 0},
    {"from its own place", "abcabc", "c", 2, 2},
    {"behind the start", "abcabc", "c", 3, 5},
    {"not behind the start", "abcabc", "a", 4, -1},
    {"the last possible place", "abcabc", "abc", 3, 3},
    {"past the last possible place", "abcabc", "abc", 4, -1},
    {"a negative start counts as 0", "abcabc", "a", -5, 0},
    {"the least start", "abcabc", "b", least, 1},
    {"the most start", "abcabc", "a", most, -1},
    {"the whole text", "abc", "abc", 0, 0},
    {"longer than the text", "abc", "abcd", 0, -1},
    {"longer than the text, with a negative start", "abc", "abcde", -9, -1},
    {"not there", "abcabc", "x", 0, -1},
    {"a part only", "aaab", "aab", 0, 1},
    {"in an empty text", "", "a", 0, -1},
    {"empty at the start", "abcdef", "", 4, 4},
    {"empty at the end", "abc", "", 3, 3},
    {"empty past the end", "abc", "", 4, -1},
    {"empty with a negative start", "abc", "", -1, 0},
    {"empty in empty", "", "", 0, 0},
    {"bytes above 127", "a\xE9z", "\xE9", 0, 1},
};

const Row backwardRows[] = {
    {"before the start", "abcabc", "c", 4, 2},
    {"at the start", "abcabc", "c", 5, 5},
    {"negative means the end", "abcabc", "c", -1, 5},
    {"the least start", "abcabc", "a", least, 3},
    {"a start past the end is cut down", "abcabc", "abc", 100, 3},
    {"the most start", "abcabc", "b", most, 4},
    {"at 0 only the front", "abcabc", "a", 0, 0},
    {"at 0 nothing", "abcabc", "b", 0, -1},
    {"longer than the text", "abc", "abcd", -1, -1},
    {"the whole text", "abc", "abc", -1, 0},
    {"not there", "abcabc", "x", -1, -1},
    {"in an empty text", "", "a", -1, -1},
    {"empty at the start", "abc", "", 2, 2},
    {"empty with a negative start", "abc", "", -1, 3},
    {"empty past the end", "abc", "", 9, 3},
    {"empty in empty", "", "", 0, 0},
};

void expectFinds(const Row &row, bool reverse)
{
    SCOPED_TRACE(row.name);
    const String text(row.text);
    const String pattern(row.pattern);
    EXPECT_EQ(text.find(pattern, row.start, reverse), row.expected);
    EXPECT_EQ(text.find(row.pattern, row.start, reverse), row.expected);
    if (pattern.length() > 0) {
        EXPECT_EQ(text.find(pattern.wstr(), row.start, reverse), row.expected);
    }
    if (pattern.length() == 1) {
        EXPECT_EQ(text.find(pattern.wstr()[0], row.start, reverse), row.expected);
        EXPECT_EQ(text.find(row.pattern[0], row.start, reverse), row.expected);
    }
}

} // namespace

TEST_F(StringSearchTest, FindsForward)
{
    for (const Row &row : forwardRows)
        expectFinds(row, false);
}

TEST_F(StringSearchTest, FindsBackward)
{
    for (const Row &row : backwardRows)
        expectFinds(row, true);
}

TEST_F(StringSearchTest, SearchesForwardFromTheFrontByDefault)
{
    const String text("abcabc");
    EXPECT_EQ(text.find("c"), 2);
    EXPECT_EQ(text.find(String("bc"), 2), 4);
    EXPECT_EQ(text.find('c'), 2);
    EXPECT_EQ(text.find(static_cast<unsigned short>('c')), 2);
    EXPECT_EQ(text.find(Units(u"ca").data()), 2);
    EXPECT_EQ(text.findAny("xcb"), 1);
}

TEST_F(StringSearchTest, AnEmptyUnitPatternIsFoundAtTheFront)
{
    const String text("abcdef");
    const Units none(u"");
    const unsigned short *nullUnits = nullptr;
    for (const unsigned short *pattern : {nullUnits, none.data()}) {
        EXPECT_EQ(text.find(pattern, 0, false), 0);
        EXPECT_EQ(text.find(pattern, 4, false), 0);
        EXPECT_EQ(text.find(pattern, -3, false), 0);
        EXPECT_EQ(text.find(pattern, 7, false), -1) << "past the end there is nothing";
        EXPECT_EQ(text.find(pattern, 4, true), 4) << "backward, where the search begins";
    }
    EXPECT_EQ(text.find(String(), 4, false), 4);
    const char *nullBytes = nullptr;
    EXPECT_EQ(text.find(nullBytes, 4, false), 4);
}

TEST_F(StringSearchTest, FindsUnitsOfZero)
{
    const String text = textOf(std::u16string_view(u"a\0b\0", 4));
    EXPECT_EQ(text.find(static_cast<unsigned short>(0)), 1);
    EXPECT_EQ(text.find('\0', 2), 3);
    EXPECT_EQ(text.find(static_cast<unsigned short>(0), -1, true), 3);
    EXPECT_EQ(text.find(textOf(std::u16string_view(u"\0b", 2))), 1);
    EXPECT_EQ(text.find("b"), 2) << "the text does not end at its first 0";
}

TEST_F(StringSearchTest, NeverFindsTheTerminator)
{
    const String text("abc");
    EXPECT_EQ(text.find(static_cast<unsigned short>(0)), -1);
    EXPECT_EQ(text.find('\0', -1, true), -1);
}

TEST_F(StringSearchTest, FindsItselfAndItsParts)
{
    const String text("abcabc");
    EXPECT_EQ(text.find(text), 0);
    EXPECT_EQ(text.find(text, -1, true), 0);
    EXPECT_EQ(text.find(text.wstr() + 3), 0);
    EXPECT_EQ(text.find(text.wstr() + 4), 1);
}

TEST_F(StringSearchTest, AgreesWithTheRuleOnAllShortTexts)
{
    std::vector<std::u16string> texts{u""};
    for (std::size_t index = 0; texts[index].size() < 7; ++index) {
        texts.push_back(texts[index] + u'a');
        texts.push_back(texts[index] + u'b');
    }
    for (const std::u16string &units : texts)
        for (const std::u16string &pattern : texts) {
            if (pattern.empty() || pattern.size() > 3)
                continue;
            const String text(Units(units).data());
            const String sought(Units(pattern).data());
            const auto length = static_cast<int>(units.size());
            for (int start = -1; start <= length + 1; ++start) {
                const std::size_t first =
                    units.find(pattern, static_cast<std::size_t>(std::max(start, 0)));
                const std::size_t last = units.rfind(
                    pattern, start < 0 ? std::u16string::npos : static_cast<std::size_t>(start));
                ASSERT_EQ(text.find(sought, start, false), static_cast<int>(first));
                ASSERT_EQ(text.find(sought, start, true), static_cast<int>(last));
            }
        }
}

TEST_F(StringSearchTest, FindsAPatternAtEveryPlaceOfALongText)
{
    const std::u16string filler(500, u'.');
    for (const std::u16string_view pattern : {u"#", u"#+", u"#+-*/", u"#........................!"})
        for (std::size_t at = 0; at + pattern.size() <= filler.size(); at += 3) {
            std::u16string units = filler;
            units.replace(at, pattern.size(), pattern);
            const String text(Units(units).data());
            const String sought = textOf(pattern);
            const auto place = static_cast<int>(at);
            ASSERT_EQ(text.find(sought, 0, false), place);
            ASSERT_EQ(text.find(sought, -1, true), place);
            ASSERT_EQ(text.find(sought, place, false), place);
            ASSERT_EQ(text.find(sought, place, true), place);
            ASSERT_EQ(text.find(sought, place + 1, false), -1);
            if (place > 0) {
                ASSERT_EQ(text.find(sought, place - 1, true), -1);
            }
        }
}

TEST_F(StringSearchTest, FindsALongNarrowPattern)
{
    const std::string bytes(300, '\xE9');
    const String text = String("x") + bytes.c_str() + "y";
    EXPECT_EQ(text.find(bytes.c_str()), 1);
    EXPECT_EQ(text.find((bytes + "y").c_str()), 1);
    EXPECT_EQ(text.find((bytes + "z").c_str()), -1);
    EXPECT_EQ(text.findAny((std::string(300, '!') + "y").c_str()), 301);
}

TEST_F(StringSearchTest, FindAnyFollowsItsRules)
{
    const Row rows[] = {
        {"the first of the set", "abcabc", "cb", 0, 1},
        {"from its own place", "abcabc", "cb", 1, 1},
        {"behind the start", "abcabc", "a", 1, 3},
        {"not there", "abcabc", "xyz", 0, -1},
        {"an empty set answers start", "abc", "", 2, 2},
        {"an empty set answers any start", "abc", "", 99, 99},
        {"an empty set answers a negative start", "abc", "", -7, -7},
        {"a negative start", "abc", "a", -1, -1},
        {"past the end", "abc", "a", 4, -1},
        {"at the end", "abc", "a", 3, -1},
        {"an empty text", "", "a", 0, -1},
        {"bytes above 127", "a\xE9", "\xE9", 0, 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const String text(row.text);
        const String set(row.pattern);
        EXPECT_EQ(text.findAny(set, row.start), row.expected);
        EXPECT_EQ(text.findAny(row.pattern, row.start), row.expected);
        EXPECT_EQ(text.findAny(set.wstr(), row.start), row.expected);
    }
    const unsigned short *nullUnits = nullptr;
    EXPECT_EQ(String("abc").findAny(nullUnits, 2), 2);
}
