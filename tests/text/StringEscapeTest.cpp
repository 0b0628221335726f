// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::unitsOf;

using StringEscapeTest = test::LibraryTest;

namespace {

std::u16string hex(const char *format, unsigned unit)
{
    char text[16];
    const int length = std::snprintf(text, sizeof text, format, unit);
    return {text, text + length};
}

// The rules, unit by unit.
std::u16string escapeOf(char16_t unit, bool unicodeEscapes)
{
    switch (unit) {
    case 8:
        return u"\\b";
    case 9:
        return u"\\t";
    case 10:
        return u"\\n";
    case 12:
        return u"\\f";
    case 13:
        return u"\\r";
    case 34:
        return u"\\\"";
    case 92:
        return u"\\\\";
    default:
        break;
    }
    if (unit < 32 || unit == 127)
        return hex("\\x%02X", unit);
    if (unit >= 128 && unicodeEscapes)
        return hex("\\u%04X", unit);
    return {unit};
}

std::u16string escaped(const std::u16string &units, bool unicodeEscapes)
{
    std::u16string result = u"\"";
    for (const char16_t unit : units)
        result += escapeOf(unit, unicodeEscapes);
    return result + u'"';
}

void expectEscaped(const std::u16string &units)
{
    for (const bool unicodeEscapes : {false, true}) {
        const String text = textOf(units);
        const String literal = text.escape(unicodeEscapes);
        EXPECT_EQ(unitsOf(literal), escaped(units, unicodeEscapes));
        EXPECT_TRUE(isTerminated(literal));
        EXPECT_EQ(unitsOf(text), units);
    }
}

} // namespace

TEST_F(StringEscapeTest, EveryUnitByItself)
{
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        for (const bool unicodeEscapes : {false, true}) {
            const std::u16string units(1, static_cast<char16_t>(unit));
            ASSERT_EQ(unitsOf(textOf(units).escape(unicodeEscapes)), escaped(units, unicodeEscapes))
                << unit;
        }
}

TEST_F(StringEscapeTest, TheRowsOfTheRules)
{
    EXPECT_EQ(textOf(u"\b\t\n\f\r").escape(false), "\"\\b\\t\\n\\f\\r\"");
    EXPECT_EQ(String("say \"x\"").escape(false), "\"say \\\"x\\\"\"");
    EXPECT_EQ(String("a\\b").escape(false), "\"a\\\\b\"");
    EXPECT_EQ(textOf(u"\v\x1F\x7F\x01").escape(false), "\"\\x0B\\x1F\\x7F\\x01\"");
    EXPECT_EQ(String("\xE9").escape(false), "\"\xE9\"");
    EXPECT_EQ(String("\xE9").escape(true), "\"\\u00E9\"");
    EXPECT_EQ(String("'plain' text").escape(true), "\"'plain' text\"");
    EXPECT_EQ(String().escape(false), "\"\"");
}

TEST_F(StringEscapeTest, EveryUnitAtEveryPlaceOfABlock)
{
    for (const char16_t special : {u'"', u'\\', u'\0', u'\x7F', u'\xE9', u'\xFFFF'})
        for (std::size_t length = 1; length < 40; ++length)
            for (std::size_t at = 0; at < length; ++at) {
                std::u16string units(length, u'a');
                units[at] = special;
                expectEscaped(units);
            }
}

TEST_F(StringEscapeTest, LongTexts)
{
    for (const int length : {8191, 8192, 8193, 20000}) {
        expectEscaped(std::u16string(static_cast<std::size_t>(length), u'x'));
        expectEscaped(std::u16string(static_cast<std::size_t>(length), u'\xE9'));
        expectEscaped(patternOf(length));
    }
}
