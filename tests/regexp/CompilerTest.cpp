// SPDX-License-Identifier: MIT
#include <string>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using CompilerTest = LibraryTest;

int groupsOf(std::u16string_view pattern)
{
    return RegExp(stringOf(pattern), 0).getCaptureLength() - 1;
}

std::u16string repeated(std::u16string_view part, int times)
{
    std::u16string text;
    for (int time = 0; time < times; ++time)
        text += part;
    return text;
}

// --- Text ----------------------------------------------------------------------------------------

TEST_F(CompilerTest, TheEmptyPatternMatchesEverywhere)
{
    EXPECT_EQ(found(u"", u""), "0-0");
    EXPECT_EQ(found(u"", u"ab"), "0-0");
    EXPECT_EQ(found(u"", u"ab", 0, 1), "1-1");
    EXPECT_EQ(groupsOf(u""), 0);
}

TEST_F(CompilerTest, AQuantifierBindsToOneUnit)
{
    EXPECT_EQ(found(u"abc*", u"abccc"), "0-5");
    EXPECT_EQ(found(u"abc*", u"ab"), "0-2");
    EXPECT_EQ(found(u"abc{2}", u"abcc"), "0-4");
    EXPECT_EQ(found(u"a\\*b+", u"a*bb"), "0-4");
}

TEST_F(CompilerTest, UnbalancedClosingSignsAreText)
{
    EXPECT_EQ(found(u")", u"a)"), "1-2");
    EXPECT_EQ(found(u"]", u"a]"), "1-2");
    EXPECT_EQ(found(u"}", u"a}"), "1-2");
    EXPECT_EQ(found(u"a)b]c}d", u"a)b]c}d"), "0-7");
    EXPECT_EQ(found(u")*a", u")))a"), "0-4");
    EXPECT_EQ(found(u"]*a", u"]]a"), "0-3");
    EXPECT_EQ(found(u"(a)])", u"a])"), "0-3 0-1");
    EXPECT_EQ(found(u"(])", u"]"), "0-1 0-1");
}

TEST_F(CompilerTest, AZeroUnitIsText)
{
    const std::u16string_view text(u"a\0b", 3);
    EXPECT_EQ(found(text, text), "0-3");
}

// --- Dots ----------------------------------------------------------------------------------------

TEST_F(CompilerTest, AQuantifierRepeatsAllDotsInARow)
{
    EXPECT_EQ(found(u"..*", u"abc"), "0-2");
    EXPECT_EQ(found(u"..*", u"abcd"), "0-4");
    EXPECT_EQ(found(u"...+", u"ab"), "no");
    EXPECT_EQ(found(u".{2}.*x", u"abcdx"), "0-5");
    EXPECT_EQ(found(u"..?b", u"b"), "0-1");
    EXPECT_EQ(found(u"..?b", u"ab"), "1-2");
    EXPECT_EQ(found(u".(?:).*", u"abc"), "0-3");
}

TEST_F(CompilerTest, DotsAreCounted)
{
    EXPECT_EQ(found(u"...", u"abcd"), "0-3");
    EXPECT_EQ(found(u"...", u"ab"), "no");
    EXPECT_EQ(found(u"a..b", u"axxb"), "0-4");
}

// --- Quantifiers ---------------------------------------------------------------------------------

TEST_F(CompilerTest, QuantifiersHaveTheirBounds)
{
    EXPECT_EQ(found(u"ba*", u"baaa"), "0-4");
    EXPECT_EQ(found(u"ba+", u"b"), "no");
    EXPECT_EQ(found(u"ba+", u"baa"), "0-3");
    EXPECT_EQ(found(u"ba?", u"baa"), "0-2");
    EXPECT_EQ(found(u"ba{2}", u"baaa"), "0-3");
    EXPECT_EQ(found(u"ba{2}", u"ba"), "no");
    EXPECT_EQ(found(u"ba{2,}", u"baaaa"), "0-5");
    EXPECT_EQ(found(u"ba{2,3}", u"baaaa"), "0-4");
    EXPECT_EQ(found(u"ba{0}c", u"bc"), "0-2");
    EXPECT_EQ(found(u"ba{0}c", u"bac"), "no");
    EXPECT_EQ(found(u"ba{0,1}", u"baa"), "0-2");
    EXPECT_EQ(found(u"ba{02}", u"baaa"), "0-3");
}

TEST_F(CompilerTest, AQuestionMarkMakesAQuantifierLazy)
{
    EXPECT_EQ(found(u"a+?", u"aaa"), "0-1");
    EXPECT_EQ(found(u"a*?", u"aaa"), "0-0");
    EXPECT_EQ(found(u"a??", u"aaa"), "0-0");
    EXPECT_EQ(found(u"a{2,}?", u"aaa"), "0-2");
    EXPECT_EQ(found(u"a{2}?", u"aaa"), "0-2");
    EXPECT_EQ(found(u"a*?b", u"aab"), "0-3");
}

TEST_F(CompilerTest, ADoubledQuantifierIsAnError)
{
    for (const char16_t *pattern :
         {u"a**", u"a*+", u"a+*", u"a++", u"a?*", u"a?+", u"a+??", u"a*?*", u"a*?+", u"a???",
          u"a{2}*", u"a{2}+", u"a{2}?*", u"a{2}??", u"(a)**", u"(a**)", u"b|a**", u"[a]**"})
        EXPECT_FALSE(compiles(pattern));
}

TEST_F(CompilerTest, ACountMayFollowAQuantifier)
{
    EXPECT_EQ(found(u"a{2}{3}", u"aaaaaaa"), "0-6");
    EXPECT_EQ(found(u"a{2}{3}", u"aaaaa"), "no");
    EXPECT_EQ(found(u"a?{2}b", u"aab"), "0-3");
    EXPECT_TRUE(compiles(u"a*{2}"));
    EXPECT_TRUE(compiles(u"a*?{2}"));
}

TEST_F(CompilerTest, NothingToRepeatIsAnError)
{
    for (const char16_t *pattern :
         {u"*",     u"+",     u"?",     u"*a",      u"+a",  u"?a",   u"{1}",
          u"{1,}",  u"{1,2}", u"(*)",   u"(+a)",    u"a|*", u"a|?b", u"(a|+)",
          u"(?:*)", u"(?:?)", u"(?=+)", u"(?!{2})", u"|*",  u"a||*", u"{2}a"})
        EXPECT_FALSE(compiles(pattern));
}

TEST_F(CompilerTest, AssertionsMayBeRepeated)
{
    EXPECT_EQ(found(u"^*a", u"a"), "0-1");
    EXPECT_EQ(found(u"^{2}a", u"a"), "0-1");
    EXPECT_EQ(found(u"\\b?a", u"a"), "0-1");
    EXPECT_EQ(found(u"(?=a)*a", u"a"), "0-1");
    EXPECT_EQ(found(u"a$*", u"a"), "0-1");
}

TEST_F(CompilerTest, AMaximumBelowTheMinimumIsTheMinimum)
{
    EXPECT_EQ(found(u"x{2,1}", u"xxx"), "0-2");
    EXPECT_EQ(found(u"x{2,0}", u"xxx"), "0-2");
    EXPECT_EQ(found(u"x{2,1}", u"x"), "no");
}

TEST_F(CompilerTest, WhatIsNoCompleteCountIsText)
{
    const struct
    {
        const char16_t *pattern;
        const char16_t *subject;
    } rows[] = {{u"{", u"{"},           {u"a{", u"a{"},         {u"{}", u"{}"},
                {u"a{}", u"a{}"},       {u"a{x", u"a{x"},       {u"a{x}", u"a{x}"},
                {u"a{1", u"a{1"},       {u"a{1,", u"a{1,"},     {u"a{1,2", u"a{1,2"},
                {u"{,3}", u"{,3}"},     {u"a{,3}", u"a{,3}"},   {u"a{,}", u"a{,}"},
                {u"a{1x}", u"a{1x}"},   {u"a{1,x}", u"a{1,x}"}, {u"a{1,2x}", u"a{1,2x}"},
                {u"a{1,,}", u"a{1,,}"}, {u"a{ 1}", u"a{ 1}"},   {u"a{-1}", u"a{-1}"},
                {u"a{1\\", u""},        {u"{{1}", u"{{1}"}};
    for (const auto &row : rows) {
        const std::u16string subject = row.subject;
        if (subject.empty())
            EXPECT_FALSE(compiles(row.pattern));
        else
            EXPECT_EQ(found(row.pattern, subject), "0-" + std::to_string(subject.size()))
                << "row " << &row - rows;
    }
}

TEST_F(CompilerTest, WhatWasReadOfACountIsTextWhateverItWas)
{
    EXPECT_EQ(found(u"a{(b", u"a{(b"), "0-4");
    EXPECT_EQ(found(u"a{1(b)", u"a{1(b)"), "0-6");
    EXPECT_EQ(found(u"a{[b", u"a{[b"), "0-4");
    EXPECT_EQ(found(u"a{.", u"a{."), "0-3");
    EXPECT_EQ(found(u"a{.", u"a{b"), "no");
    EXPECT_EQ(found(u"a{|b", u"a{|b"), "0-4");
    EXPECT_EQ(found(u"a{\\d", u"a{\\d"), "0-4");
    EXPECT_EQ(found(u"a{\\n", u"a{\\n"), "0-4");
    EXPECT_EQ(found(u"a{*", u"a{*"), "0-3");
    EXPECT_FALSE(compiles(u"a{\\c1"));
    EXPECT_EQ(found(u"(a{)", u"a{)"), "bad");
}

TEST_F(CompilerTest, TheTextOfABrokenCountIsOneAtom)
{
    EXPECT_EQ(found(u"a{x*", u"a{x{x"), "0-5");
    EXPECT_EQ(found(u"a{x*", u"a{xx"), "0-3");
    EXPECT_EQ(found(u"a{x{2}", u"a{x{x"), "0-5");
    EXPECT_EQ(found(u"a{xy*", u"a{xyy"), "0-5");
}

TEST_F(CompilerTest, CountsSaturate)
{
    EXPECT_EQ(found(u"a{0,99999999999999999999}", u"aaa"), "0-3");
    EXPECT_EQ(found(u"a{99999999999999999999}", u"aaa"), "no");
    EXPECT_EQ(found(u"a{2147483648,}", u"aaa"), "no");
    EXPECT_EQ(found(u"a{4294967297}", u"aaa"), "no");
    EXPECT_EQ(found(u"a{1,4294967297}", u"aaa"), "0-3");
    EXPECT_EQ(found(u"(?:a){0,4294967297}?b", u"aaab"), "0-4");
}

// --- Groups --------------------------------------------------------------------------------------

TEST_F(CompilerTest, GroupsAreNumberedByTheirOpening)
{
    EXPECT_EQ(groupsOf(u"(a)(b)"), 2);
    EXPECT_EQ(groupsOf(u"((a)b)"), 2);
    EXPECT_EQ(groupsOf(u"(?:a)(b)"), 1);
    EXPECT_EQ(groupsOf(u"(?=a)(?!b)"), 0);
    EXPECT_EQ(groupsOf(u"\\(a\\)"), 0);
    EXPECT_EQ(groupsOf(u"[(](a)"), 1);
    EXPECT_EQ(found(u"((a)(b(c)))d", u"abcd"), "0-4 0-3 0-1 1-3 2-3");
}

TEST_F(CompilerTest, GroupsMayBeEmpty)
{
    EXPECT_EQ(found(u"()", u"a"), "0-0 0-0");
    EXPECT_EQ(found(u"a()b", u"ab"), "0-2 1-1");
    EXPECT_EQ(found(u"(?:)", u"a"), "0-0");
    EXPECT_EQ(found(u"(?=)", u"a"), "0-0");
    EXPECT_EQ(found(u"(?!)", u"a"), "no");
}

TEST_F(CompilerTest, AnUnclosedGroupIsAnError)
{
    for (const char16_t *pattern :
         {u"(", u"(a", u"((a)", u"(?:", u"(?", u"(?=a", u"(a|", u"(a|b", u"a(", u"(a\\)", u"(|"})
        EXPECT_FALSE(compiles(pattern));
}

TEST_F(CompilerTest, AnUnknownKindOfGroupBeginsWithAnOptionalQuestionMark)
{
    EXPECT_EQ(found(u"(?a)", u"?a"), "0-2");
    EXPECT_EQ(found(u"(?a)", u"a"), "0-1");
    EXPECT_EQ(groupsOf(u"(?a)"), 0);
    EXPECT_EQ(groupsOf(u"(?<n>a)(b)"), 1);
    EXPECT_EQ(found(u"(?<n>a)", u"<n>a"), "0-4");
    EXPECT_EQ(found(u"(?)", u"?"), "0-1");
    EXPECT_EQ(found(u"(?)", u"x"), "0-0");
    EXPECT_EQ(found(u"(??a)", u"?a"), "0-2");
    EXPECT_EQ(found(u"(?\\:a)", u"?:a"), "0-3");
    EXPECT_FALSE(compiles(u"(?*a)"));
    EXPECT_FALSE(compiles(u"(?+a)"));
    EXPECT_FALSE(compiles(u"(???a)"));
}

TEST_F(CompilerTest, AnUnknownKindOfGroupSharesTheNumberOfTheOneBefore)
{
    EXPECT_EQ(found(u"(a)(?b)", u"ab"), "0-2 1-2");
    EXPECT_EQ(found(u"(a)(?b)\\1", u"abb"), "0-3 1-2");
    EXPECT_EQ(groupsOf(u"(a)(?b)(c)"), 2);
    EXPECT_EQ(found(u"(a)(?b)(c)", u"abc"), "0-3 1-2 2-3");
}

TEST_F(CompilerTest, GroupsMayBeNestedAsDeepAsThePatternIsLong)
{
    constexpr int depth = 100000;
    EXPECT_FALSE(compiles(repeated(u"(", depth)));
    EXPECT_FALSE(compiles(repeated(u"(?:", depth)));
    const std::u16string nested = repeated(u"(?:", depth) + u"a+" + repeated(u")", depth) + u"b";
    EXPECT_EQ(found(nested, u"aab"), "0-3");
    EXPECT_EQ(found(nested, u"aaa"), "no");
    const std::u16string alternatives = repeated(u"(?:x|", depth) + u"a" + repeated(u")", depth);
    EXPECT_EQ(found(alternatives, u"a"), "0-1");
}

TEST_F(CompilerTest, QuantifiersMayBeNestedAsDeepAsThePatternIsLong)
{
    constexpr int depth = 100000;
    EXPECT_EQ(found(u"a" + repeated(u"{1}", depth), u"a"), "0-1");
    EXPECT_EQ(found(repeated(u"(?:", depth) + u"a" + repeated(u")?", depth) + u"b", u"ab"), "0-2");
}

TEST_F(CompilerTest, LongSequencesOfChoicesAreRun)
{
    constexpr int length = 100000;
    EXPECT_EQ(found(repeated(u"a?", length) + u"b", u"aab"), "0-3");
    const std::u16string many(length, u'a');
    EXPECT_EQ(found(repeated(u"a?(?:)", length / 10) + u"b", u"aab").substr(0, 3), "0-3");
    EXPECT_EQ(found(u"(?:a|b)*", many), "0-100000");
}

TEST_F(CompilerTest, ManyGroupsAreNumbered)
{
    constexpr int count = 70000;
    const std::u16string pattern = repeated(u"(a)", count);
    EXPECT_EQ(groupsOf(pattern), count);
    // Group numbers saturate at 65535.
    const RegExp expression(stringOf(pattern + u"\\70000"), 0);
    ASSERT_TRUE(expression.good());
    CaptureList captures(expression);
    EXPECT_TRUE(expression.match(stringOf(std::u16string(count + 1, u'a')), 0, captures.first()));
    EXPECT_EQ(captures[0].end, count + 1);
}

// --- Alternatives --------------------------------------------------------------------------------

TEST_F(CompilerTest, AlternativesAreTriedInOrder)
{
    EXPECT_EQ(found(u"a|ab", u"ab"), "0-1");
    EXPECT_EQ(found(u"ab|a", u"ab"), "0-2");
    EXPECT_EQ(found(u"(a|ab)(c|bcd)(d*)", u"abcd"), "0-4 0-1 1-4 4-4");
    EXPECT_EQ(found(u"x|y|z", u"z"), "0-1");
}

TEST_F(CompilerTest, AnEmptyFirstBranchIsDropped)
{
    EXPECT_EQ(found(u"|a", u"ba"), "1-2");
    EXPECT_EQ(found(u"(|a)b", u"b"), "no");
    EXPECT_EQ(found(u"(|a)b", u"ab"), "0-2 0-1");
    EXPECT_EQ(found(u"(?:|a|b)c", u"bc"), "0-2");
}

TEST_F(CompilerTest, AnEmptyBranchBetweenOthersIsOne)
{
    EXPECT_EQ(found(u"a||b", u"x"), "0-0");
    EXPECT_EQ(found(u"a||b", u"b"), "0-0");
    EXPECT_EQ(found(u"(a||b)c", u"bc"), "0-2 0-1");
    EXPECT_EQ(found(u"||a", u"a"), "0-0");
}

TEST_F(CompilerTest, AnEmptyLastBranchIsOneInAGroupOnly)
{
    EXPECT_EQ(found(u"a|", u"b"), "no");
    EXPECT_EQ(found(u"(a|)", u"b"), "0-0 0-0");
    EXPECT_EQ(found(u"(a|)b", u"ab"), "0-2 0-1");
    EXPECT_EQ(found(u"(|)", u"b"), "0-0 0-0");
    EXPECT_EQ(found(u"(a||)x", u"x"), "0-1 0-0");
    EXPECT_EQ(found(u"a||", u"b"), "0-0");
}

TEST_F(CompilerTest, AnAlternativeWithoutBranchesMatchesNothing)
{
    EXPECT_EQ(found(u"|", u"a"), "0-0");
    EXPECT_EQ(found(u"|", u""), "0-0");
}

TEST_F(CompilerTest, AnUnbalancedParenthesisEndsTheAlternatives)
{
    EXPECT_EQ(found(u"a|b)c", u"a)c"), "0-3");
    EXPECT_EQ(found(u"a|b)c", u"b)c"), "0-3");
    EXPECT_EQ(found(u"a|b)c", u"a"), "no");
    EXPECT_EQ(found(u"a|b)c|d", u"d"), "0-1");
    EXPECT_EQ(found(u"a|b)c|d", u"b)c"), "0-3");
    EXPECT_EQ(found(u"a|)", u")"), "0-1");
    EXPECT_EQ(found(u"a|)", u"a)"), "0-2");
    EXPECT_EQ(found(u"a|b)*", u"a)))"), "0-4");
}

TEST_F(CompilerTest, QuantifiersStayWithinTheirBranch)
{
    EXPECT_EQ(found(u"a|b*", u"bbb"), "0-3");
    EXPECT_EQ(found(u"a*|b", u"b"), "0-0");
    EXPECT_EQ(found(u"(?:a|b)*c", u"abac"), "0-4");
    EXPECT_EQ(found(u"a{2}|b", u"aa"), "0-2");
}

// --- Assertions ----------------------------------------------------------------------------------

TEST_F(CompilerTest, AssertionsAreAtoms)
{
    EXPECT_EQ(found(u"^a", u"a"), "0-1");
    EXPECT_EQ(found(u"a$", u"ba"), "1-2");
    EXPECT_EQ(found(u"\\ba", u"b a"), "2-3");
    EXPECT_EQ(found(u"\\Ba", u"a ba"), "3-4");
    EXPECT_EQ(found(u"a^b", u"ab"), "no");
}

} // namespace
} // namespace Tavrin::test
