// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using ClassTest = LibraryTest;

constexpr int ic = RegExp::ignoreCase;

TEST_F(ClassTest, HoldsUnitsAndRanges)
{
    EXPECT_EQ(unitsMatchedBy(u"[abc]"), "97-99");
    EXPECT_EQ(unitsMatchedBy(u"[ace]"), "97 99 101");
    EXPECT_EQ(unitsMatchedBy(u"[a-c]"), "97-99");
    EXPECT_EQ(unitsMatchedBy(u"[a-cx-z]"), "97-99 120-122");
    EXPECT_EQ(unitsMatchedBy(u"[c-da-b]"), "97-100");
    EXPECT_EQ(unitsMatchedBy(u"[a-zb-c]"), "97-122");
    EXPECT_EQ(unitsMatchedBy(u"[a-a]"), "97");
    EXPECT_EQ(unitsMatchedBy(u"[\\u0100-\\u0200]"), "256-512");
    EXPECT_EQ(unitsMatchedBy(u"[\\xff\\u0100]"), "255-256");
    EXPECT_EQ(unitsMatchedBy(u"[z\\u1234\\uFFFF]"), "122 4660 65535");
}

TEST_F(ClassTest, RangesReachTheLastUnit)
{
    EXPECT_EQ(unitsMatchedBy(u"[\\x00-\\uFFFF]"), "0-65535");
    EXPECT_EQ(unitsMatchedBy(u"[\\uFFF0-\\uFFFF]"), "65520-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^\\x00-\\uFFFF]"), "");
    EXPECT_EQ(unitsMatchedBy(u"[\\uFFFF-\\uFFFF]"), "65535");
}

TEST_F(ClassTest, NegationTakesAllOtherUnits)
{
    EXPECT_EQ(unitsMatchedBy(u"[^b-y]"), "0-97 122-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^\\u1234]"), "0-4659 4661-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^\\d]"), "0-47 58-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^^]"), "0-93 95-65535");
}

TEST_F(ClassTest, EmptyMatchesNothingAndNegatedEverything)
{
    EXPECT_EQ(unitsMatchedBy(u"[]"), "");
    EXPECT_EQ(unitsMatchedBy(u"[^]"), "0-65535");
    EXPECT_EQ(found(u"[]", u"abc"), "no");
    EXPECT_EQ(found(u"[]a]", u"a]"), "no");
    EXPECT_EQ(found(u"[^]", u"\n"), "0-1");
    EXPECT_EQ(found(u"[^]", u""), "no");
}

TEST_F(ClassTest, OnlyAFirstCaretThatIsNotEscapedNegates)
{
    EXPECT_EQ(unitsMatchedBy(u"[a^]"), "94 97");
    EXPECT_EQ(unitsMatchedBy(u"[\\^a]"), "94 97");
    EXPECT_EQ(unitsMatchedBy(u"[\\x5Ea]"), "94 97");
}

TEST_F(ClassTest, OperatorsAreUnits)
{
    EXPECT_EQ(unitsMatchedBy(u"[.]"), "46");
    EXPECT_EQ(unitsMatchedBy(u"[+-.]"), "43-46");
    EXPECT_EQ(unitsMatchedBy(u"[$*+?.(){}|[]"), "36 40-43 46 63 91 123-125");
    EXPECT_EQ(unitsMatchedBy(u"[\\]]"), "93");
    EXPECT_EQ(unitsMatchedBy(u"[\\\\]"), "92");
    EXPECT_EQ(unitsMatchedBy(u"[(-)]"), "40-41");
}

TEST_F(ClassTest, AHyphenAtEitherEndIsAUnit)
{
    EXPECT_EQ(unitsMatchedBy(u"[a-]"), "45 97");
    EXPECT_EQ(unitsMatchedBy(u"[-a]"), "45 97");
    EXPECT_EQ(unitsMatchedBy(u"[-]"), "45");
    EXPECT_EQ(unitsMatchedBy(u"[--]"), "45");
    EXPECT_EQ(unitsMatchedBy(u"[^-]"), "0-44 46-65535");
    EXPECT_EQ(unitsMatchedBy(u"[a-b-c]"), "45 97-99");
    EXPECT_EQ(unitsMatchedBy(u"[--a]"), "45-97");
}

TEST_F(ClassTest, ShorthandsAreUnited)
{
    EXPECT_EQ(unitsMatchedBy(u"[\\d]"), "48-57");
    EXPECT_EQ(unitsMatchedBy(u"[\\d\\w]"), "48-57 65-90 95 97-122");
    EXPECT_EQ(unitsMatchedBy(u"[\\dx]"), "48-57 120");
    EXPECT_EQ(unitsMatchedBy(u"[x\\d]"), "48-57 120");
    EXPECT_EQ(unitsMatchedBy(u"[\\D]"), "0-47 58-65535");
    EXPECT_EQ(unitsMatchedBy(u"[\\D5]"), "0-47 53 58-65535");
    EXPECT_EQ(unitsMatchedBy(u"[\\d\\D]"), "0-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^\\s\\S]"), "");
    EXPECT_EQ(unitsMatchedBy(u"[\\W]"), "0-47 58-64 91-94 96 123-65535");
    EXPECT_EQ(unitsMatchedBy(u"[^\\S]"),
              "8-13 32 160 5760 6158 8192-8202 8232-8233 8239 8287 12288");
}

TEST_F(ClassTest, AHyphenBehindAShorthandIsAUnit)
{
    EXPECT_EQ(unitsMatchedBy(u"[\\d-x]"), "45 48-57 120");
    EXPECT_EQ(unitsMatchedBy(u"[\\d-]"), "45 48-57");
    EXPECT_EQ(unitsMatchedBy(u"[\\d--x]"), "45-120");
}

TEST_F(ClassTest, AShorthandThatEndsARangeIsItsLetter)
{
    EXPECT_EQ(unitsMatchedBy(u"[a-\\d]"), "97-100");
    EXPECT_EQ(unitsMatchedBy(u"[\\x30-\\W]"), "48-87");
    EXPECT_FALSE(compiles(u"[z-\\d]"));
}

TEST_F(ClassTest, EscapesMayEndARange)
{
    EXPECT_EQ(unitsMatchedBy(u"[a-\\x63]"), "97-99");
    EXPECT_EQ(unitsMatchedBy(u"[\\n-\\r]"), "10-13");
    EXPECT_EQ(unitsMatchedBy(u"[+-\\-]"), "43-45");
    EXPECT_EQ(unitsMatchedBy(u"[!-\\]]"), "33-93");
    EXPECT_EQ(unitsMatchedBy(u"[\\b-\\t]"), "8-9");
}

TEST_F(ClassTest, AReversedRangeIsAnError)
{
    EXPECT_FALSE(compiles(u"[z-a]"));
    EXPECT_FALSE(compiles(u"[a--]"));
    EXPECT_FALSE(compiles(u"[b-a]c"));
    EXPECT_FALSE(compiles(u"x[^b-a]"));
    EXPECT_FALSE(compiles(u"[ab-ac]"));
}

TEST_F(ClassTest, AnUnclosedClassIsAnError)
{
    for (const char16_t *pattern : {u"[", u"[^", u"[a", u"[a-", u"[a-b", u"[\\d", u"[\\]", u"([)",
                                    u"a[", u"[]a[", u"[-", u"[\\d-"})
        EXPECT_FALSE(compiles(pattern));
}

TEST_F(ClassTest, FoldingAsksForTheLowerThenTheUpperForm)
{
    EXPECT_EQ(unitsMatchedBy(u"[a-c]", ic), "65-67 97-99");
    EXPECT_EQ(unitsMatchedBy(u"[A-C]", ic), "65-67 97-99");
    EXPECT_EQ(unitsMatchedBy(u"[^A-Z]", ic).substr(0, 18), "0-64 91-96 123-304");
    EXPECT_EQ(found(u"[A-Z]", u"a", ic), "0-1");
    EXPECT_EQ(found(u"[^A-Z]", u"a", ic), "no");
    // The sign for micro has a Greek letter as its upper-case form, y with diaeresis one above 255.
    EXPECT_EQ(found(u"[\\u039C]", u"\u00B5", ic), "0-1");
    EXPECT_EQ(found(u"[\\u0178]", u"\u00FF", ic), "0-1");
    EXPECT_EQ(found(u"[\\u00FF]", u"\u0178", ic), "0-1");
    EXPECT_EQ(found(u"[k]", u"\u212A", ic), "0-1");
    EXPECT_EQ(found(u"[\\u0411]", u"\u0431", ic), "0-1");
}

TEST_F(ClassTest, AUnitThatIsNeitherOfItsFormsIsNoMemberWhenFolded)
{
    // The title-case digraph 0x01C5 is 0x01C6 in lower case and 0x01C4 in upper case.
    EXPECT_EQ(unitsMatchedBy(u"[\\u01C5]"), "453");
    EXPECT_EQ(unitsMatchedBy(u"[\\u01C5]", ic), "");
    EXPECT_EQ(unitsMatchedBy(u"[\\u01C4]", ic), "452-454");
    EXPECT_EQ(unitsMatchedBy(u"[^\\u01C5]", ic), "0-65535");
}

TEST_F(ClassTest, ShorthandsFoldTooAndNegationComesLast)
{
    // The long s is S in upper case.
    EXPECT_EQ(found(u"\\w", u"\u017F", ic), "0-1");
    EXPECT_EQ(found(u"\\W", u"\u017F", ic), "no");
    EXPECT_EQ(found(u"[\\W]", u"\u017F", ic), "0-1");
    EXPECT_EQ(found(u"\\w", u"\u017F"), "no");
}

TEST_F(ClassTest, SubjectsOfUnitsAbove255AreLookedUpInTheRanges)
{
    EXPECT_EQ(found(u"[a\\u0100\\u0300-\\u0310\\u2000]+", u"\u0300\u0100\u0310\u2000a\u0311"),
              "0-5");
    EXPECT_EQ(found(u"[^a\\u0300-\\u0310]+", u"\u02FF\u0311\uFFFF\u0305"), "0-3");
}

} // namespace
} // namespace Tavrin::test
