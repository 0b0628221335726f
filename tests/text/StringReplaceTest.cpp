// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <climits>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringReplaceTest = test::LibraryTest;

namespace {

constexpr int most = std::numeric_limits<int>::max();

struct Row
{
    const char *name;
    const char *text;
    const char *from;
    const char *to;
    int start;
    int result;
    const char *expected;
};

const Row replaceRows[] = {
    {"by the same length", "abcabc", "bc", "XY", 0, 1, "aXYabc"},
    {"by less", "abcabc", "bc", "X", 0, 1, "aXabc"},
    {"by nothing", "abcabc", "bc", "", 0, 1, "aabc"},
    {"by more", "abcabc", "bc", "WXYZ", 0, 1, "aWXYZabc"},
    {"behind the start", "abcabc", "bc", "X", 2, 4, "abcaX"},
    {"a negative start counts as 0", "abcabc", "bc", "X", -3, 1, "aXabc"},
    {"no match", "abc", "x", "y", 0, -1, "abc"},
    {"start past the end", "abc", "a", "y", most, -1, "abc"},
    {"everything by nothing", "abc", "abc", "", 0, 0, ""},
    {"an empty pattern inserts at the front", "abc", "", "x", 0, 0, "xabc"},
    {"an empty pattern ignores start", "abc", "", "x", 5, 0, "xabc"},
    {"an empty pattern in an empty text", "", "", "x", 0, 0, "x"},
    {"nothing by nothing", "abc", "", "", 2, 0, "abc"},
    {"bytes above 127", "a\xE9", "\xE9", "\xFF", 0, 1, "a\xFF"},
};

const Row replaceAllRows[] = {
    {"by the same length", "abcabc", "bc", "XY", 0, 2, "aXYaXY"},
    {"by less", "abcabc", "bc", "X", 0, 2, "aXaX"},
    {"by nothing", "abcabc", "bc", "", 0, 2, "aa"},
    {"by more", "abcabc", "bc", "WXYZ", 0, 2, "aWXYZaWXYZ"},
    {"by what contains the pattern", "aaa", "a", "aa", 0, 3, "aaaaaa"},
    {"by what makes a new match with its neighbour", "aab", "ab", "b", 0, 1, "ab"},
    {"overlapping matches count from the front", "aaaaa", "aa", "b", 0, 2, "bba"},
    {"from start on only", "abcabc", "b", "X", 2, 1, "abcaXc"},
    {"a negative start counts as 0", "abcabc", "b", "", -9, 2, "acac"},
    {"no match", "abc", "x", "y", 0, 0, "abc"},
    {"start past the end", "abc", "a", "y", 4, 0, "abc"},
    {"the whole text by nothing", "abab", "ab", "", 0, 2, ""},
    {"the whole text", "abab", "ab", "x", 0, 2, "xx"},
    {"an empty pattern", "abc", "", "x", 0, 0, "abc"},
    {"an empty pattern in an empty text", "", "", "x", 0, 0, ""},
    {"by itself", "abcabc", "b", "b", 0, 2, "abcabc"},
};

// The described steps: one match after the other, and on behind what was inserted.
std::u16string replacedAll(std::u16string text, const std::u16string &from,
                           const std::u16string &to, int &count)
{
    count = 0;
    for (std::size_t at = text.find(from); at != std::u16string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
        ++count;
    }
    return text;
}

template <class Replace>
void expectReplaces(const Row &row, Replace replace)
{
    const auto check = [&](const char *kinds, auto from, auto to) {
        SCOPED_TRACE(testing::Message() << row.name << ", " << kinds);
        String text(row.text);
        EXPECT_EQ(replace(text, from, to), row.result);
        EXPECT_EQ(text, row.expected);
        EXPECT_TRUE(isTerminated(text));
        const String original(row.text);
        String shared(original);
        EXPECT_EQ(replace(shared, from, to), row.result);
        EXPECT_EQ(shared, row.expected);
        EXPECT_EQ(original, row.text);
    };
    const String from(row.from);
    const String to(row.to);
    const Units wideFrom(unitsOf(from));
    const Units wideTo(unitsOf(to));
    check("String, String", from, to);
    check("String, bytes", from, row.to);
    check("String, units", from, wideTo.data());
    check("bytes, bytes", row.from, row.to);
    check("bytes, String", row.from, to);
    check("units, units", wideFrom.data(), wideTo.data());
    check("units, String", wideFrom.data(), to);
    if (from.length() == 1 && to.length() == 1) {
        check("unit, unit", from.wstr()[0], to.wstr()[0]);
        check("char, char", row.from[0], row.to[0]);
    }
}

} // namespace

TEST_F(StringReplaceTest, ReplacesTheFirstMatchForAllPairsOfKinds)
{
    for (const Row &row : replaceRows)
        expectReplaces(row, [&](String &text, const auto &from, const auto &to) {
            return text.replace(from, to, row.start);
        });
}

TEST_F(StringReplaceTest, ReplacesAllMatchesForAllPairsOfKinds)
{
    for (const Row &row : replaceAllRows)
        expectReplaces(row, [&](String &text, const auto &from, const auto &to) {
            return text.replaceAll(from, to, row.start);
        });
}

TEST_F(StringReplaceTest, SearchesFromTheFrontByDefault)
{
    String text("abab");
    EXPECT_EQ(text.replace("b", "x"), 1);
    EXPECT_EQ(text.replaceAll("a", "yy"), 2);
    EXPECT_EQ(text, "yyxyyb");
    EXPECT_EQ(text.replace('x', 'z'), 2);
    EXPECT_EQ(text.replaceAll('y', '.'), 4);
    EXPECT_EQ(text, "..z..b");
}

TEST_F(StringReplaceTest, NullTextIsEmpty)
{
    const char *nullBytes = nullptr;
    const unsigned short *nullUnits = nullptr;
    String text("abcb");
    EXPECT_EQ(text.replaceAll(nullBytes, "x"), 0);
    EXPECT_EQ(text.replaceAll(nullUnits, String("x")), 0);
    EXPECT_EQ(text.replaceAll("b", nullBytes), 2);
    EXPECT_EQ(text, "ac");
    EXPECT_EQ(text.replace(nullUnits, Units(u"x").data(), 1), 0);
    EXPECT_EQ(text, "xac");
}

TEST_F(StringReplaceTest, WithoutAMatchTheBufferStaysShared)
{
    const String original("abc");
    String text(original);
    text.replace("x", "y");
    text.replaceAll("x", "y");
    text.replaceAll('x', 'y');
    text.replaceAll("", "y");
    EXPECT_EQ(text.wstr(), original.wstr());
}

TEST_F(StringReplaceTest, ReplacesUnitsOfZero)
{
    String text = textOf(std::u16string_view(u"a\0b\0", 4));
    EXPECT_EQ(text.replaceAll('\0', '.'), 2);
    EXPECT_EQ(text, "a.b.");
    EXPECT_EQ(text.replaceAll(static_cast<unsigned short>('.'), static_cast<unsigned short>(0), 2),
              1);
    EXPECT_EQ(unitsOf(text), std::u16string(u"a.b\0", 4));
}

TEST_F(StringReplaceTest, NarrowUnitsAreNotSignExtended)
{
    String text("a\xE9");
    EXPECT_EQ(text.replaceAll('\xE9', '\xFF'), 1);
    EXPECT_EQ(unitsOf(text), u"a\u00FF");
}

TEST_F(StringReplaceTest, AgreesWithReplacingOneAfterTheOther)
{
    const std::u16string patterns[] = {u"a", u"b", u"ab", u"ba", u"aa", u"aab"};
    const std::u16string replacements[] = {u"", u"a", u"b", u"ab", u"bba", u"aaaa"};
    for (int bits = 0; bits < 1 << 9; ++bits) {
        std::u16string units;
        for (int rest = bits | 1 << 9; rest > 1; rest >>= 1)
            units += (rest & 1) != 0 ? u'a' : u'b';
        for (const std::u16string &from : patterns)
            for (const std::u16string &to : replacements) {
                int count = 0;
                const std::u16string expected = replacedAll(units, from, to, count);
                String text(Units(units).data());
                const String original(Units(units).data());
                String shared(original);
                ASSERT_EQ(text.replaceAll(Units(from).data(), Units(to).data()), count);
                ASSERT_EQ(unitsOf(text), expected);
                ASSERT_EQ(shared.replaceAll(Units(from).data(), Units(to).data()), count);
                ASSERT_EQ(unitsOf(shared), expected);
                ASSERT_EQ(unitsOf(original), units);
            }
    }
}

TEST_F(StringReplaceTest, ReplacesInLongTexts)
{
    std::u16string units;
    for (int index = 0; index < 3000; ++index)
        units += index % 7 == 0 ? u"<key>" : u"text ";
    for (const std::u16string_view to : {u"", u"k", u"<val>", u"<a longer value>"}) {
        int count = 0;
        const std::u16string expected = replacedAll(units, u"<key>", std::u16string(to), count);
        String text(Units(units).data());
        EXPECT_EQ(text.replaceAll("<key>", textOf(to)), count);
        EXPECT_EQ(unitsOf(text), expected);
        EXPECT_TRUE(isTerminated(text));
    }
}

TEST_F(StringReplaceTest, ReplacesAsManyMatchesAsThereAre)
{
    for (const int matches : {1023, 1024, 1025, 1087, 1088, 1089, 5000}) {
        std::u16string units = u"key";
        for (int index = 0; index < matches; ++index)
            units += u"key ";
        for (const std::u16string_view to : {u"", u"k", u"value"}) {
            int count = 0;
            const std::u16string behind =
                replacedAll(units.substr(3), u"key", std::u16string(to), count);
            String text(Units(units).data());
            EXPECT_EQ(text.replaceAll("key", textOf(to), 1), count);
            EXPECT_EQ(count, matches);
            EXPECT_EQ(unitsOf(text), u"key" + behind);
        }
    }
}

TEST_F(StringReplaceTest, StartsNowhereBehindTheLastMatch)
{
    String text("abab");
    EXPECT_EQ(text.replaceAll("ab", "x", 3), 0);
    EXPECT_EQ(text.replaceAll("ab", "x", 4), 0);
    EXPECT_EQ(text.replaceAll("ab", "x", INT_MAX), 0);
    EXPECT_EQ(text.replaceAll("ababa", "x"), 0);
    EXPECT_EQ(text, "abab");
    EXPECT_EQ(text.replaceAll("ab", "x", 2), 1);
    EXPECT_EQ(text, "abx");
    EXPECT_EQ(text.replaceAll("ab", "x", INT_MIN), 1);
    EXPECT_EQ(text, "xx");
}

TEST_F(StringReplaceTest, ReplacesWithItselfOrByItself)
{
    String text("abc");
    EXPECT_EQ(text.replaceAll(text, "x"), 1);
    EXPECT_EQ(text, "x");
    text = "abc";
    EXPECT_EQ(text.replaceAll(text, text), 1);
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(text.replaceAll("b", text), 1);
    EXPECT_EQ(text, "aabcc");
    EXPECT_EQ(text.replace("b", text), 2);
    EXPECT_EQ(text, "aaaabcccc");
    EXPECT_EQ(text.replace(text, text), 0);
    EXPECT_EQ(text, "aaaabcccc");
    EXPECT_EQ(text.replace("", text), 0);
    EXPECT_EQ(text, "aaaabccccaaaabcccc");
}

TEST_F(StringReplaceTest, ReplacesByAPartOfItself)
{
    String text("abcabc");
    EXPECT_EQ(text.replace(Units(u"bc").data(), text.wstr() + 1), 1);
    EXPECT_EQ(text, "abcabcabc");
    EXPECT_EQ(text.replaceAll(text.wstr() + 6, Units(u"x").data()), 3);
    EXPECT_EQ(text, "xxx");
    text = "abcab";
    EXPECT_EQ(text.replaceAll(Units(u"abc").data(), text.wstr() + 3), 1);
    EXPECT_EQ(text, "abab");
    text = "aXbXc";
    EXPECT_EQ(text.replaceAll(text.wstr() + 4, text.wstr()), 1);
    EXPECT_EQ(text, "aXbXaXbXc");
    const String copy(text);
    EXPECT_EQ(text.replaceAll(text.wstr() + 7, text.wstr() + 8), 1);
    EXPECT_EQ(text, "aXbXaXbc");
    EXPECT_EQ(copy, "aXbXaXbXc");
}
