// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using EscapeTest = LibraryTest;

struct Row
{
    const char16_t *pattern;
    const char *units; // that match, as unitsMatchedBy shows them
};

void PrintTo(const Row &row, std::ostream *out)
{
    for (const char16_t *unit = row.pattern; *unit != 0; ++unit)
        *out << static_cast<char>(*unit);
}

TEST_F(EscapeTest, ControlLettersStandForTheirUnits)
{
    for (const Row &row : {Row{u"\\f", "12"}, Row{u"\\n", "10"}, Row{u"\\r", "13"},
                           Row{u"\\t", "9"}, Row{u"\\v", "11"}, Row{u"[\\b]", "8"}})
        EXPECT_EQ(unitsMatchedBy(row.pattern), row.units) << testing::PrintToString(row);
}

TEST_F(EscapeTest, ControlCharactersTakeALetterOfEitherCase)
{
    for (const Row &row : {Row{u"\\cA", "1"}, Row{u"\\cZ", "26"}, Row{u"\\ca", "1"},
                           Row{u"\\cz", "26"}, Row{u"\\cJ", "10"}, Row{u"[\\cM]", "13"}})
        EXPECT_EQ(unitsMatchedBy(row.pattern), row.units) << testing::PrintToString(row);
}

TEST_F(EscapeTest, AControlCharacterWithoutALetterIsAnError)
{
    for (const char16_t *pattern : {u"\\c", u"\\c1", u"\\c@", u"\\c[", u"\\c`", u"\\c{", u"[\\c]",
                                    u"\\c\u0141", u"a\\c", u"(\\c)"})
        EXPECT_FALSE(compiles(pattern));
}

TEST_F(EscapeTest, HexadecimalDigitsOfEitherCaseMakeAUnit)
{
    for (const Row &row :
         {Row{u"\\x41", "65"}, Row{u"\\x4a", "74"}, Row{u"\\x4A", "74"}, Row{u"\\xff", "255"},
          Row{u"\\x00", "0"}, Row{u"\\u0041", "65"}, Row{u"\\uFFFF", "65535"},
          Row{u"\\uabCD", "43981"}, Row{u"[\\x41]", "65"}, Row{u"[\\u0041-\\x43]", "65-67"}})
        EXPECT_EQ(unitsMatchedBy(row.pattern), row.units) << testing::PrintToString(row);
}

TEST_F(EscapeTest, ThreeOctalDigitsBehindAnOMakeAUnit)
{
    EXPECT_EQ(unitsMatchedBy(u"\\o101"), "65");
    EXPECT_EQ(unitsMatchedBy(u"\\o777"), "511");
    EXPECT_EQ(unitsMatchedBy(u"[\\o101]"), "65");
}

TEST_F(EscapeTest, TooFewDigitsLeaveTheLetterAsText)
{
    EXPECT_EQ(found(u"\\x4", u"x4"), "0-2");
    EXPECT_EQ(found(u"\\x", u"x"), "0-1");
    EXPECT_EQ(found(u"\\xg1", u"xg1"), "0-3");
    EXPECT_EQ(found(u"\\x4g", u"x4g"), "0-3");
    EXPECT_EQ(found(u"\\u12", u"u12"), "0-3");
    EXPECT_EQ(found(u"\\u", u"u"), "0-1");
    EXPECT_EQ(found(u"\\u004", u"u004"), "0-4");
    EXPECT_EQ(found(u"\\u00g1", u"u00g1"), "0-5");
    EXPECT_EQ(found(u"\\o12", u"o12"), "0-3");
    EXPECT_EQ(found(u"\\o128", u"o128"), "0-4");
    EXPECT_EQ(found(u"\\o", u"o"), "0-1");
    EXPECT_EQ(unitsMatchedBy(u"[\\x4]"), "52 120");
    EXPECT_EQ(unitsMatchedBy(u"[\\u12]"), "49-50 117");
    EXPECT_EQ(unitsMatchedBy(u"[\\o8]"), "56 111");
}

TEST_F(EscapeTest, AUnitAbove255IsNoDigit)
{
    EXPECT_EQ(found(u"\\x4\u0131", u"x4\u0131"), "0-3");
    EXPECT_EQ(found(u"\\x4\uFF11", u"x4\uFF11"), "0-3");
    EXPECT_EQ(found(u"\\o10\u0131", u"o10\u0131"), "0-4");
}

TEST_F(EscapeTest, TheLetterOfAnUndoneEscapeCanBeQuantified)
{
    EXPECT_EQ(found(u"\\x*4", u"xxx4"), "0-4");
    EXPECT_EQ(found(u"\\u{2}", u"uu"), "0-2");
}

TEST_F(EscapeTest, ZeroTakesTwoOctalDigitsOrNone)
{
    EXPECT_EQ(unitsMatchedBy(u"\\0"), "0");
    EXPECT_EQ(unitsMatchedBy(u"\\012"), "10");
    EXPECT_EQ(unitsMatchedBy(u"\\077"), "63");
    EXPECT_EQ(unitsMatchedBy(u"[\\012]"), "10");
    EXPECT_EQ(found(u"\\01", std::u16string_view(u"\0"
                                                 u"1",
                                                 2)),
              "0-2");
    EXPECT_EQ(found(u"\\018", std::u16string_view(u"\0"
                                                  u"18",
                                                  3)),
              "0-3");
    EXPECT_EQ(found(u"\\081", std::u16string_view(u"\0"
                                                  u"81",
                                                  3)),
              "0-3");
    EXPECT_EQ(found(u"\\0123", u"\n3"), "0-2");
    EXPECT_EQ(unitsMatchedBy(u"[\\01]"), "0 49");
}

TEST_F(EscapeTest, OneDigitIsAReference)
{
    EXPECT_EQ(found(u"(a)\\1", u"aa"), "0-2 0-1");
    EXPECT_EQ(found(u"(a)\\1", u"ab"), "no");
    EXPECT_EQ(found(u"(a)(b)(c)(d)(e)(f)(g)(h)(i)\\9", u"abcdefghii"),
              "0-10 0-1 1-2 2-3 3-4 4-5 5-6 6-7 7-8 8-9");
}

TEST_F(EscapeTest, AReferenceMayStandInFrontOfItsGroup)
{
    EXPECT_EQ(found(u"\\1(a)", u"a"), "0-1 0-1");
    EXPECT_EQ(found(u"\\2(a)(b)", u"ab"), "0-2 0-1 1-2");
    EXPECT_EQ(found(u"(a\\1)", u"a"), "0-1 0-1");
}

TEST_F(EscapeTest, AReferenceToAMissingGroupIsAnError)
{
    EXPECT_FALSE(compiles(u"\\1"));
    EXPECT_FALSE(compiles(u"\\5"));
    EXPECT_FALSE(compiles(u"(a)\\2"));
    EXPECT_FALSE(compiles(u"\\9(a)(b)"));
    EXPECT_FALSE(compiles(u"(?:a)\\1"));
    EXPECT_FALSE(compiles(u"(?a)\\1"));
    EXPECT_FALSE(compiles(u"a{\\1"));
}

TEST_F(EscapeTest, MoreDigitsAreAReferenceOnlyToAnEarlierGroup)
{
    EXPECT_EQ(unitsMatchedBy(u"\\12"), "10");
    EXPECT_EQ(unitsMatchedBy(u"\\101"), "65");
    const std::u16string twelve = u"(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(b)";
    EXPECT_EQ(found(twelve + u"\\12", u"aaaaaaaaaaabb").substr(0, 4), "0-13");
    EXPECT_EQ(found(u"\\12" + twelve, u"\naaaaaaaaaaab").substr(0, 4), "0-13");
    // The group that a reference stands in was not opened yet when it comes first there.
    EXPECT_EQ(found(u"(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(\\12b)", u"aaaaaaaaaaa\nb").substr(0, 4),
              "0-13");
    EXPECT_EQ(found(u"(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(b\\12)", u"aaaaaaaaaaab").substr(0, 4),
              "0-12");
}

TEST_F(EscapeTest, OctalNumbersEndAtAnotherDigitOrThree)
{
    EXPECT_EQ(found(u"\\18", u"\1"
                             u"8"),
              "0-2");
    EXPECT_EQ(found(u"\\1234", u"S4"), "0-2");
    EXPECT_EQ(unitsMatchedBy(u"\\777"), "511");
    EXPECT_EQ(unitsMatchedBy(u"[\\12]"), "10");
    EXPECT_EQ(unitsMatchedBy(u"[\\1]"), "1");
    EXPECT_EQ(unitsMatchedBy(u"(?:a)[\\1-\\3]").size(), 0U);
    EXPECT_EQ(unitsMatchedBy(u"[\\1-\\3]"), "1-3");
}

TEST_F(EscapeTest, EightAndNineAreNoOctalDigits)
{
    const std::u16string_view zeroAndTwo(u"\0"
                                         u"89",
                                         3);
    EXPECT_EQ(found(u"\\89", zeroAndTwo), "0-3");
    EXPECT_EQ(unitsMatchedBy(u"[\\8]"), "0 56");
    EXPECT_EQ(unitsMatchedBy(u"[\\9]"), "0 57");
}

TEST_F(EscapeTest, WhatEndsTheDigitsIsReadAgain)
{
    EXPECT_EQ(found(u"\\12*b", u"\n\n\nb"), "0-4");
    EXPECT_EQ(found(u"\\12|b", u"b"), "0-1");
    EXPECT_EQ(found(u"(\\12)", u"\n"), "0-1 0-1");
    EXPECT_EQ(found(u"(a)\\1*b", u"aaab"), "0-4 0-1");
    EXPECT_FALSE(compiles(u"\\12**"));
}

TEST_F(EscapeTest, AGroupNumberThatIsTooLargeIsNone)
{
    // One more than 2 to the power of 32: \42, and digits.
    EXPECT_EQ(found(u"(a)\\4294967297", u"a\"94967297"), "0-10 0-1");
    EXPECT_EQ(found(u"(a)\\4294967297", u"aa"), "no");
    EXPECT_EQ(found(u"(a)\\18446744073709551617", u"a\1"
                                                  u"8446744073709551617"),
              "0-21 0-1");
}

TEST_F(EscapeTest, ShorthandsOutsideAClass)
{
    EXPECT_EQ(unitsMatchedBy(u"\\d"), "48-57");
    EXPECT_EQ(unitsMatchedBy(u"\\D"), "0-47 58-65535");
    EXPECT_EQ(unitsMatchedBy(u"\\w"), "48-57 65-90 95 97-122");
    EXPECT_EQ(unitsMatchedBy(u"\\W"), "0-47 58-64 91-94 96 123-65535");
}

TEST_F(EscapeTest, WhiteSpaceBeginsWithTheBackspace)
{
    EXPECT_EQ(unitsMatchedBy(u"\\s"), "8-13 32 160 5760 6158 8192-8202 8232-8233 8239 8287 12288");
    EXPECT_EQ(unitsMatchedBy(u"\\S"), "0-7 14-31 33-159 161-5759 5761-6157 6159-8191 8203-8231 "
                                      "8234-8238 8240-8286 8288-12287 12289-65535");
}

TEST_F(EscapeTest, OtherUnitsStandForThemselves)
{
    for (const char16_t *unit =
             u"!\"#$%&'()*+,-./:;<=>?@ACEFGHIJKLMNOPQRTUVXYZ[\\]^_`aeghijklmpqyz{|}~";
         *unit != 0; ++unit) {
        const char16_t pattern[] = {u'\\', *unit, 0};
        EXPECT_EQ(unitsMatchedBy(pattern), std::to_string(*unit));
    }
    EXPECT_EQ(unitsMatchedBy(u"\\\u0141"), "321");
    EXPECT_EQ(unitsMatchedBy(u"\\\n"), "10");
    EXPECT_EQ(unitsMatchedBy(std::u16string_view(u"\\\0", 2)), "0");
}

TEST_F(EscapeTest, ABackslashAtTheEndIsAnError)
{
    for (const char16_t *pattern : {u"\\", u"a\\", u"(\\", u"[\\", u"a|\\", u"a{\\", u"a{1\\",
                                    u"a*\\", u"\\\\\\", u".\\", u"(?\\", u"[a-\\"})
        EXPECT_FALSE(compiles(pattern));
    EXPECT_TRUE(compiles(u"\\\\"));
}

TEST_F(EscapeTest, ANotWordBoundaryInAClassIsAnError)
{
    EXPECT_FALSE(compiles(u"[\\B]"));
    EXPECT_FALSE(compiles(u"[a\\B]"));
    EXPECT_FALSE(compiles(u"[a-\\B]"));
    EXPECT_TRUE(compiles(u"[\\b]"));
    EXPECT_TRUE(compiles(u"\\B"));
}

TEST_F(EscapeTest, AUnitByItsNumberIsNeverAnOperator)
{
    EXPECT_EQ(found(u"a\\x2A", u"aaa*"), "2-4");
    EXPECT_EQ(found(u"\\x28\\x29", u"()"), "0-2");
    EXPECT_EQ(found(u"a\\x7Cb", u"a|b"), "0-3");
    EXPECT_EQ(found(u"\\x5Ba", u"[a"), "0-2");
    EXPECT_EQ(found(u"\\52", u"*"), "0-1");
    EXPECT_EQ(found(u"a\\x2A*", u"a***"), "0-4");
}

TEST_F(EscapeTest, AUnitByItsNumberCountsAsThatUnitWhereItIsNoOperator)
{
    EXPECT_EQ(unitsMatchedBy(u"[a\\x2Dc]"), "97-99");
    EXPECT_EQ(unitsMatchedBy(u"[a\\-c]"), "45 97 99");
    EXPECT_EQ(found(u"a{\\x32\\x7D", u"aa"), "0-2");
    EXPECT_EQ(found(u"a{2\\}", u"a{2\\}"), "0-5");
}

} // namespace
} // namespace Tavrin::test
