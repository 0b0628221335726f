// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::textOf;
using test::unitsOf;

using StringParseTest = test::LibraryTest;

namespace {

struct Literal
{
    const char *name;
    std::u16string_view text;
    bool result;
    std::u16string_view value;
    int pos; // behind what was read
};

using namespace std::string_view_literals;

const Literal literalRows[] = {
    {"an empty text", u""sv, true, u""sv, 0},
    {"an unquoted literal", u"abc"sv, true, u"abc"sv, 3},
    {"one with blanks and quotes in it", u" a \"b' "sv, true, u" a \"b' "sv, 7},
    {"double quotes", u"\"abc\"x"sv, true, u"abc"sv, 5},
    {"single quotes", u"'abc'"sv, true, u"abc"sv, 5},
    {"the other quote inside", u"'a\"b'"sv, true, u"a\"b"sv, 5},
    {"empty quotes", u"''"sv, true, u""sv, 2},
    {"an open quote", u"\"abc"sv, false, u"abc"sv, 4},
    {"a quote alone", u"'"sv, false, u""sv, 1},
    {"a line feed ends an unquoted literal", u"ab\ncd"sv, true, u"ab"sv, 3},
    {"a carriage return does", u"ab\rcd"sv, true, u"ab"sv, 3},
    {"a pair does, and is taken", u"ab\r\ncd"sv, true, u"ab"sv, 4},
    {"a line feed and a return are two ends", u"ab\n\rcd"sv, true, u"ab"sv, 3},
    {"U+2028 does",
     u"ab\x2028"
     u"cd"sv,
     true, u"ab"sv, 3},
    {"U+2029 does",
     u"ab\x2029"
     u"cd"sv,
     true, u"ab"sv, 3},
    {"a 0 unit does", u"ab\0cd"sv, true, u"ab"sv, 3},
    {"a line end alone", u"\nab"sv, true, u""sv, 1},
    {"U+2027 does not", u"ab\x2027"sv, true, u"ab\x2027"sv, 3},
    {"a line end in quotes", u"'ab\ncd'"sv, false, u"ab"sv, 4},
    {"a pair in quotes", u"'ab\r\n'"sv, false, u"ab"sv, 5},
    {"a 0 unit in quotes", u"'ab\0'"sv, false, u"ab"sv, 4},
    {"a continued line", u"'ab\\\ncd'"sv, true, u"abcd"sv, 8},
    {"a line continued over a pair", u"'ab\\\r\ncd'"sv, true, u"abcd"sv, 9},
    {"a line continued over a return", u"'ab\\\rcd'"sv, true, u"abcd"sv, 8},
    {"a line continued over U+2028",
     u"'ab\\\x2028"
     u"cd'"sv,
     true, u"abcd"sv, 8},
    {"a line continued over U+2029",
     u"'ab\\\x2029"
     u"cd'"sv,
     true, u"abcd"sv, 8},
    {"a line continued over a 0 unit", u"'ab\\\0cd'"sv, true, u"abcd"sv, 8},
    {"a backslash at the end", u"ab\\"sv, true, u"ab"sv, 3},
    {"a backslash at the end in quotes", u"'ab\\"sv, false, u"ab"sv, 4},
    {"the escapes of a letter", u"'\\b\\t\\n\\v\\f\\r'"sv, true, u"\b\t\n\v\f\r"sv, 14},
    {"escaped quotes and backslashes", u"'\\'\\\"\\\\'"sv, true, u"'\"\\"sv, 8},
    {"other letters stand for themselves", u"\\a\\q\\N\\9"sv, true, u"aqN9"sv, 8},
    {"octal", u"\\101"sv, true, u"A"sv, 4},
    {"octal of one digit", u"\\0a"sv, true, u"\0a"sv, 3},
    {"octal of two digits", u"\\12a"sv, true, u"\na"sv, 4},
    {"octal ends after three digits", u"\\1011"sv, true, u"A1"sv, 5},
    {"octal from 4 on ends after two", u"\\401"sv, true, u" 1"sv, 4},
    {"octal from 0 to 3 has three", u"\\377"sv, true, u"\xFF"sv, 4},
    {"octal at the end of the text", u"\\1"sv, true, u"\x01"sv, 2},
    {"octal ends at an 8", u"\\18"sv, true,
     u"\x01"
     u"8"sv,
     3},
    {"two hexadecimal digits", u"\\x41\\XfFg"sv, true, u"A\xFFg"sv, 9},
    {"four hexadecimal digits", u"\\u00e9\\uD83D"sv, true, u"\xE9\xD83D"sv, 12},
    {"up to eight digits", u"\\U41;"sv, true, u"A;"sv, 5},
    {"eight digits and no more", u"\\U000000411"sv, true, u"A1"sv, 11},
    {"a surrogate pair", u"\\U0001F600"sv, true, u"\xD83D\xDE00"sv, 10},
    {"the last unit without a pair", u"\\U0000FFFF"sv, true, u"\xFFFF"sv, 10},
    {"the first pair", u"\\U00010000"sv, true, u"\xD800\xDC00"sv, 10},
    {"the last character", u"\\U0010FFFF"sv, true, u"\xDBFF\xDFFF"sv, 10},
    {"no character", u"ab\\U00110000cd"sv, false, u"ab"sv, 12},
    {"no character of eight digits", u"\\UFFFFFFFF"sv, false, u""sv, 10},
    {"a wrong digit of two", u"ab\\x4g"sv, false, u"ab"sv, -1},
    {"a wrong digit of four", u"'\\u00e '"sv, false, u""sv, -1},
    {"a wrong first digit of eight", u"'\\Ug'"sv, false, u""sv, -1},
    {"a quote for a digit", u"'\\x4'"sv, false, u""sv, -1},
    {"a 0 unit for a digit", u"\\x4\0"sv, false, u""sv, -1},
    {"two digits that the text cuts", u"ab\\x4"sv, false, u"ab"sv, 0},
    {"four digits that the text cuts", u"'ab\\u123"sv, false, u"ab"sv, 0},
    {"no digit at all", u"\\x"sv, false, u""sv, 0},
    {"no digit of eight", u"\\U"sv, false, u""sv, 0},
    {"fewer than eight at the end", u"\\U41"sv, true, u"A"sv, 4},
};

} // namespace

TEST_F(StringParseTest, Literals)
{
    for (const Literal &row : literalRows) {
        const String text = textOf(row.text);
        String out("old");
        int pos = 0;
        EXPECT_EQ(text.parse(out, pos), row.result) << row.name;
        EXPECT_EQ(unitsOf(out), row.value) << row.name;
        EXPECT_EQ(pos, row.pos) << row.name;
        EXPECT_EQ(unitsOf(text), row.text) << row.name;
        EXPECT_TRUE(isTerminated(out)) << row.name;
    }
}

TEST_F(StringParseTest, TheMutatingFormCutsOffWhatWasRead)
{
    for (const Literal &row : literalRows) {
        String text = textOf(row.text);
        String out("old");
        EXPECT_EQ(text.parse(out), row.result) << row.name;
        EXPECT_EQ(unitsOf(out), row.value) << row.name;
        const std::u16string_view left =
            row.pos < 0 ? u""sv : row.text.substr(static_cast<std::size_t>(row.pos));
        EXPECT_EQ(unitsOf(text), left) << row.name;
        EXPECT_TRUE(isTerminated(text)) << row.name;
    }
}

TEST_F(StringParseTest, BeginsAtThePosition)
{
    const String text("x='a' 'b'");
    String out;
    int pos = 2;
    EXPECT_TRUE(text.parse(out, pos));
    EXPECT_EQ(out, "a");
    EXPECT_EQ(pos, 5);
    ++pos;
    EXPECT_TRUE(text.parse(out, pos));
    EXPECT_EQ(out, "b");
    EXPECT_EQ(pos, 9);
}

TEST_F(StringParseTest, APositionOutsideTheTextReadsNothing)
{
    const String text("'abc'");
    for (const int outside : {5, 6, 1000, -1, -1000}) {
        String out("old");
        int pos = outside;
        EXPECT_TRUE(text.parse(out, pos)) << outside;
        EXPECT_EQ(out.length(), 0) << outside;
        EXPECT_EQ(pos, outside < 0 ? 5 : outside);
    }
}

TEST_F(StringParseTest, AWrongDigitAndACutEscapeSetThePosition)
{
    const String text("abc\\xZZ");
    String out;
    int pos = 1;
    EXPECT_FALSE(text.parse(out, pos));
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(out, "bc");
    const String cut("abc\\x1");
    pos = 1;
    EXPECT_FALSE(cut.parse(out, pos));
    EXPECT_EQ(pos, 0);
}

TEST_F(StringParseTest, AKeyBecomesItsTextUnlessALineEndStandsBehindIt)
{
    for (const char *units : {"'$$$/a/b=Hello^T'", "$$$/a/b=Hello^T", "\"$$$/a/b=Hello\\^T\""}) {
        String text(units);
        String out;
        EXPECT_TRUE(text.parse(out)) << units;
        EXPECT_EQ(unitsOf(out), u"Hello\x2122") << units;
    }
    String line("$$$/a/b=Hello^T\n");
    String out;
    EXPECT_TRUE(line.parse(out));
    EXPECT_EQ(out, "$$$/a/b=Hello^T");
    String open("'$$$/a/b=Hello^T");
    EXPECT_FALSE(open.parse(out));
    EXPECT_EQ(out, "$$$/a/b=Hello^T");
    String key("'$$'");
    EXPECT_TRUE(key.parse(out));
    EXPECT_EQ(out, "$$");
    key = "'$$$/a/b'";
    EXPECT_TRUE(key.parse(out));
    EXPECT_EQ(out.length(), 0);
}

TEST_F(StringParseTest, LinesAreReadOneByOne)
{
    String text("one\r\ntwo\n'three' \n");
    String out;
    EXPECT_TRUE(text.parse(out));
    EXPECT_EQ(out, "one");
    EXPECT_TRUE(text.parse(out));
    EXPECT_EQ(out, "two");
    EXPECT_TRUE(text.parse(out));
    EXPECT_EQ(out, "three");
    EXPECT_EQ(text, " \n");
}

TEST_F(StringParseTest, TheResultMayGoToTheTextItself)
{
    String text("  'abc' and more");
    int pos = 2;
    EXPECT_TRUE(text.parse(text, pos));
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(pos, 7);
    text = "'abc' and more";
    EXPECT_TRUE(text.parse(text));
    EXPECT_EQ(text, "abc");
}

TEST_F(StringParseTest, SharersStayAsTheyAre)
{
    String text("'abc' and more");
    const String sharer(text);
    String out(text);
    EXPECT_TRUE(text.parse(out));
    EXPECT_EQ(text, " and more");
    EXPECT_EQ(sharer, "'abc' and more");
}

TEST_F(StringParseTest, ReadsBackWhatEscapeWrites)
{
    for (const bool unicodeEscapes : {false, true}) {
        std::u16string units;
        for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
            units += static_cast<char16_t>(unit);
        if (!unicodeEscapes) {
            // Without escapes these end a line.
            units.erase(0x2028, 2);
        }
        String literal = textOf(units).escape(unicodeEscapes);
        String out;
        EXPECT_TRUE(literal.parse(out));
        EXPECT_EQ(literal.length(), 0);
        EXPECT_TRUE(unitsOf(out) == units);
    }
}
