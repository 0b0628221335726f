// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::unitsOf;

using StringCaseTest = test::LibraryTest;

namespace {

struct Row
{
    const char *name;
    std::u16string_view text;
    std::u16string_view lower;
    std::u16string_view upper;
    std::u16string_view mixed;
};

const Row rows[] = {
    {"mixed words", u"hello WORLD", u"hello world", u"HELLO WORLD", u"Hello World"},
    {"all four separators", u"a,b;c.d e", u"a,b;c.d e", u"A,B;C.D E", u"A,B;C.D E"},
    {"other separators", u"a-b/c\td\ne", u"a-b/c\td\ne", u"A-B/C\tD\nE", u"A-b/c\td\ne"},
    {"several separators", u"aB,; cD", u"ab,; cd", u"AB,; CD", u"Ab,; Cd"},
    {"digits at the front", u"1ab", u"1ab", u"1AB", u"1ab"},
    {"empty", u"", u"", u"", u""},
    {"no letters", u"12 34", u"12 34", u"12 34", u"12 34"},
    {"one unit", u"\u00E9", u"\u00E9", u"\u00C9", u"\u00C9"},
    {"upper case already", u"ABC DEF", u"abc def", u"ABC DEF", u"Abc Def"},
    {"mixed already", u"Abc Def", u"abc def", u"ABC DEF", u"Abc Def"},
    {"Greek and Cyrillic", u"\u03B1\u0411", u"\u03B1\u0431", u"\u0391\u0411", u"\u0391\u0431"},
    {"sharp s has no upper case of one unit", u"\u00DF", u"\u00DF", u"\u00DF", u"\u00DF"},
    {"dotted capital I keeps its own upper case", u"\u0130 \u0130", u"i i", u"\u0130 \u0130",
     u"\u0130 \u0130"},
    {"micro sign", u"\u00B5", u"\u00B5", u"\u039C", u"\u039C"},
    {"surrogates stay", u"\xD801\xDC28", u"\xD801\xDC28", u"\xD801\xDC28", u"\xD801\xDC28"},
    {"a unit of zero", std::u16string_view(u"a\0b", 3), std::u16string_view(u"a\0b", 3),
     std::u16string_view(u"A\0B", 3), std::u16string_view(u"A\0b", 3)},
    {"the last unit of a long text", u"                                x",
     u"                                x", u"                                X",
     u"                                X"},
};

void expectMaps(bool (String::*map)(), std::u16string_view units, std::u16string_view expected)
{
    const bool changes = units != expected;
    String text = textOf(units);
    EXPECT_EQ((text.*map)(), changes);
    EXPECT_EQ(unitsOf(text), expected);
    EXPECT_TRUE(isTerminated(text));
    const String original = textOf(units);
    String shared(original);
    EXPECT_EQ((shared.*map)(), changes);
    EXPECT_EQ(unitsOf(shared), expected);
    EXPECT_EQ(unitsOf(original), units);
    EXPECT_EQ(shared.wstr() == original.wstr(), !changes) << "sharing is broken by a change only";
    EXPECT_FALSE((shared.*map)()) << "a second time changes nothing";
}

} // namespace

TEST_F(StringCaseTest, MapsEachUnit)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        expectMaps(&String::toLower, row.text, row.lower);
        expectMaps(&String::toUpper, row.text, row.upper);
        expectMaps(&String::toMixed, row.text, row.mixed);
    }
}

TEST_F(StringCaseTest, AgreesWithUnicodeUtilsForAllUnits)
{
    String all;
    for (int unit = 0; unit < 0x10000; ++unit)
        all.append(static_cast<unsigned short>(unit));
    String lower(all);
    String upper(all);
    EXPECT_TRUE(lower.toLower());
    EXPECT_TRUE(upper.toUpper());
    for (int unit = 0; unit < 0x10000; ++unit) {
        ASSERT_EQ(lower[unit], UnicodeUtils::towlower(static_cast<unsigned short>(unit)));
        ASSERT_EQ(upper[unit], UnicodeUtils::towupper(static_cast<unsigned short>(unit)));
        ASSERT_EQ(all[unit], unit);
    }
}

TEST_F(StringCaseTest, MapsTextsOfAllLengths)
{
    for (int length = 0; length < 200; ++length) {
        const std::u16string units(static_cast<std::size_t>(length), u'q');
        String text = textOf(units);
        EXPECT_EQ(text.toUpper(), length > 0);
        EXPECT_EQ(unitsOf(text), std::u16string(static_cast<std::size_t>(length), u'Q'));
        EXPECT_EQ(text.toLower(), length > 0);
        EXPECT_EQ(unitsOf(text), units);
        EXPECT_TRUE(isTerminated(text));
    }
}

TEST_F(StringCaseTest, APinnedTextIsMappedInPlace)
{
    String text("pinned text");
    text.makeUnique();
    const unsigned short *units = text.wstr();
    EXPECT_TRUE(text.toUpper());
    EXPECT_TRUE(text.toLower());
    EXPECT_TRUE(text.toMixed());
    EXPECT_EQ(text, "Pinned Text");
    EXPECT_EQ(text.wstr(), units);
}
