// SPDX-License-Identifier: MIT
// String beside the standard library's text.
#include <tavrin/String.h>

#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::textOf;
using test::underMemoryFailure;
using test::unitsOf;

using StringStandardTest = test::LibraryTest;

namespace {

using namespace std::string_view_literals;

int lengthOf(const String &text)
{
    return text.length();
}

std::string streamed(const String &text)
{
    std::ostringstream out;
    out << text;
    return out.str();
}

// What could not become a String before still cannot, and nothing becomes one by accident.
static_assert(!std::is_constructible_v<String, int>);
static_assert(!std::is_constructible_v<String, char16_t>);
static_assert(!std::is_constructible_v<String, std::nullptr_t>);
static_assert(!std::is_constructible_v<String, std::string>);
static_assert(std::is_convertible_v<String, const unsigned short *>);
static_assert(std::is_convertible_v<const char16_t *, String>);
static_assert(std::is_convertible_v<std::u16string, String>);

} // namespace

TEST_F(StringStandardTest, TakesViewsStringsAndLiterals)
{
    const String fromLiteral = u"\x20AC"
                               u"abc";
    EXPECT_EQ(unitsOf(fromLiteral), u"\x20AC"
                                    u"abc");
    EXPECT_TRUE(isTerminated(fromLiteral));
    EXPECT_EQ(unitsOf(String(u"a\0b"sv)), u"a\0b"sv);
    EXPECT_EQ(unitsOf(String(u"\0b"sv)), u"\0b"sv);
    EXPECT_EQ(unitsOf(String(std::u16string(1000, u'x'))), std::u16string(1000, u'x'));
    EXPECT_EQ(String(u""sv).length(), 0);
    EXPECT_EQ(String(std::u16string_view()).length(), 0);
    const char16_t *pointer = u"abc";
    EXPECT_EQ(String(pointer), "abc");
    EXPECT_EQ(lengthOf(u"abc"), 3);
    const char16_t *null = nullptr;
    EXPECT_EQ(String(null).length(), 0);
    EXPECT_TRUE(String() == null);
}

TEST_F(StringStandardTest, TakesThemInEveryOperation)
{
    String text;
    text = u"abc";
    text += u"def"sv;
    text.append(u"ghi");
    EXPECT_EQ(text, "abcdefghi");
    EXPECT_EQ(text + u"!", "abcdefghi!");
    EXPECT_EQ(text.find(u"de"), 3);
    EXPECT_EQ(text.replaceAll(u"def", u"-"), 1);
    EXPECT_EQ(text, "abc-ghi");
}

TEST_F(StringStandardTest, TakesUnitLiteralsWhereItTakesAUnit)
{
    String text;
    text = u'b';
    EXPECT_EQ(text, u"b");
    text += u'\u20AC';
    text.append(u'/').append(u'\0');
    text.insert(u'a', 0);
    EXPECT_EQ(text, u"ab\u20AC/\0"sv);
    EXPECT_EQ(text + u'!', u"ab\u20AC/\0!"sv);
    EXPECT_EQ(text.split(u'/'), u"ab\u20AC");
    text.setup(u'x', 3);
    text.set(1, u'y');
    EXPECT_EQ(text.find(u'y'), 1);
    EXPECT_EQ(text.replaceAll(u'x', u'z'), 2);
    EXPECT_EQ(text, u"zyz");
}

TEST_F(StringStandardTest, IsAView)
{
    String text(u"a\0b"sv);
    const std::u16string_view view = text;
    EXPECT_EQ(view, u"a\0b"sv);
    EXPECT_EQ(static_cast<const void *>(view.data()), static_cast<const void *>(text.wstr()));
    EXPECT_EQ(std::u16string(text), u"a\0b"sv);
    EXPECT_TRUE(std::u16string_view(String()).empty());
    text.makeUnique();
    const_cast<unsigned short *>(text.wstr())[0] = 'x';
    EXPECT_EQ(std::u16string_view(text), u"x\0b"sv);
}

TEST_F(StringStandardTest, ComparesWithLiteralsAndViews)
{
    const String text("abc");
    EXPECT_TRUE(text == u"abc");
    EXPECT_TRUE(u"abc" == text);
    EXPECT_TRUE(text == u"abc"sv);
    EXPECT_TRUE(text == std::u16string(u"abc"));
    EXPECT_FALSE(text == u"abd");
    EXPECT_FALSE(text == u"ab");
    EXPECT_FALSE(text == u"abcd");
    EXPECT_TRUE(text != u"ABC");
    EXPECT_TRUE(text < u"abd");
    EXPECT_TRUE(text < u"abcd");
    EXPECT_TRUE(text > u"ab");
    EXPECT_TRUE(text <= u"abc");
    EXPECT_TRUE(text >= u"abc");
    EXPECT_TRUE(u"abd" > text);
    EXPECT_TRUE(String(u"\xFF5E") > u"\xD83D\xDE00") << "by units, not by characters";
    EXPECT_FALSE(String("a") == u"a\0"sv);
    EXPECT_TRUE(String() == u"");
    EXPECT_TRUE(String() == std::u16string_view());
}

TEST_F(StringStandardTest, ComparisonWithStringsIsAsItWas)
{
    const String text("abc");
    EXPECT_TRUE(text == String("abc"));
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE("abc" == text);
    EXPECT_TRUE(text == test::Units(u"abc").data());
    EXPECT_TRUE(text < String("abd"));
}

TEST_F(StringStandardTest, IsAKeyOfHashedAndOrderedMaps)
{
    std::unordered_map<String, int> hashed;
    std::map<String, int> ordered;
    for (int number = 0; number < 100; ++number) {
        String key;
        key.print("key %d", number);
        hashed[key] = number;
        ordered[key] = number;
    }
    EXPECT_EQ(hashed.size(), 100U);
    EXPECT_EQ(hashed.at("key 42"), 42);
    EXPECT_EQ(ordered.at(u"key 42"), 42);
    EXPECT_EQ(std::hash<String>()(String("abc")), std::hash<std::u16string_view>()(u"abc"));
    EXPECT_EQ(std::hash<String>()(String()), std::hash<std::u16string_view>()(u""));
}

TEST_F(StringStandardTest, PrintsAsUtf8)
{
    EXPECT_EQ(streamed(String()), "");
    EXPECT_EQ(streamed("plain"), "plain");
    EXPECT_EQ(streamed(u"\x7F\x80\x7FF\x800\xFFFF"),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(streamed(u"\xD83D\xDE00 \xD800\xDC00 \xDBFF\xDFFF"),
              "\xF0\x9F\x98\x80 \xF0\x90\x80\x80 \xF4\x8F\xBF\xBF");
    EXPECT_EQ(streamed(textOf(u"a\0b"sv)), std::string("a\0b", 3));
    EXPECT_EQ(streamed(String(std::u16string(600, u'\x20AC'))).size(), 1800U);
}

TEST_F(StringStandardTest, PrintsAReplacementForHalfAPair)
{
    EXPECT_EQ(streamed(textOf(u"\xD83D"sv)), "\xEF\xBF\xBD");
    EXPECT_EQ(streamed(textOf(u"\xDE00x"sv)), "\xEF\xBF\xBDx");
    EXPECT_EQ(streamed(textOf(u"\xD83D\xD83D\xDE00"sv)), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST_F(StringStandardTest, StreamsPadIt)
{
    std::ostringstream out;
    out << std::setw(5) << String("ab") << '|' << std::left << std::setfill('.') << std::setw(4)
        << String("cd") << '|' << String("ef");
    EXPECT_EQ(out.str(), "   ab|cd..|ef");
}

TEST_F(StringStandardTest, Literals)
{
    using namespace Tavrin::Literals;
    EXPECT_EQ(unitsOf(u"a\0\x20AC"_ts), u"a\0\x20AC"sv);
    EXPECT_EQ(unitsOf("a\0\xE9"_ts), u"a\0\xE9"sv);
    EXPECT_EQ(""_ts.length(), 0);
    EXPECT_EQ(u""_ts.length(), 0);
    EXPECT_TRUE((std::is_same_v<decltype("x"_ts), String>));
}

TEST_F(StringStandardTest, OutOfMemoryLeavesTheTarget)
{
    const std::u16string units(1000, u'x');
    underMemoryFailure(
        [] { return String("old"); }, [&](String &text) { text = units; },
        [](const String &text, bool failed) { EXPECT_EQ(text.length(), failed ? 3 : 1000); });
    underMemoryFailure(
        [] { return String("old"); }, [](String &text) { text = "some new text"_ts; },
        [](const String &text, bool failed) { EXPECT_EQ(text.length(), failed ? 3 : 13); });
}

#ifdef __cpp_lib_format
TEST_F(StringStandardTest, Formats)
{
    EXPECT_EQ(std::format("<{}|{:>5}>", String(u"\x20AC"), String("ab")), "<\xE2\x82\xAC|   ab>");
}
#endif
