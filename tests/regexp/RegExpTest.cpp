// SPDX-License-Identifier: MIT
#include <type_traits>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using RegExpTest = LibraryTest;

TEST_F(RegExpTest, KeepsPatternAndFlagsAsGiven)
{
    const RegExp expression("a(b)c", 0x7F);
    EXPECT_TRUE(expression.good());
    EXPECT_EQ(expression.getPattern(), "a(b)c");
    EXPECT_EQ(expression.getFlags(), 0x7F);
    EXPECT_EQ(expression.getCaptureLength(), 2);
    EXPECT_EQ(RegExp("a", -1).getFlags(), -1);
}

TEST_F(RegExpTest, KeepsABadPatternAndMatchesNothing)
{
    const RegExp expression("(a", RegExp::multiLine);
    EXPECT_FALSE(expression.good());
    EXPECT_EQ(expression.getPattern(), "(a");
    EXPECT_EQ(expression.getFlags(), RegExp::multiLine);
    EXPECT_EQ(expression.getCaptureLength(), 0);
    CaptureList captures(expression);
    captures[0] = {3, 4};
    EXPECT_FALSE(expression.match("(a", 0, captures.first()));
    EXPECT_FALSE(expression.match("", 0, captures.first()));
    EXPECT_EQ(captures[0].start, 3);
    EXPECT_EQ(expression.match("a", 0, captures.first(), 100), kNoMatch);
}

TEST_F(RegExpTest, TheDefaultExpressionHasACaptureLengthOf0)
{
    const RegExp expression;
    EXPECT_TRUE(expression.good());
    EXPECT_EQ(expression.getPattern(), "(?:)");
    EXPECT_EQ(expression.getFlags(), 0);
    EXPECT_EQ(expression.getCaptureLength(), 0);
    EXPECT_EQ(RegExp("(?:)", 0).getCaptureLength(), 1);
    EXPECT_EQ(RegExp("", 0).getCaptureLength(), 1);
}

TEST_F(RegExpTest, AMatchOfTheDefaultExpressionWritesItsOneEntry)
{
    const RegExp expression;
    CaptureList captures(expression);
    EXPECT_TRUE(expression.match("ab", 1, captures.first()));
    EXPECT_EQ(captures.text(), "1-1");
    EXPECT_TRUE(expression.match("", 0, captures.first()));
    EXPECT_EQ(captures.text(), "0-0");
    captures[0] = {4, 5};
    EXPECT_FALSE(expression.match("ab", 2, captures.first()));
    EXPECT_EQ(captures.text(), "4-5");
}

TEST_F(RegExpTest, CopiesShare)
{
    const RegExp expression("a+", RegExp::ignoreCase);
    const RegExp copy(expression);
    EXPECT_EQ(&copy.getPattern(), &expression.getPattern());
    EXPECT_EQ(copy.getFlags(), RegExp::ignoreCase);
    RegExp assigned;
    assigned = copy;
    EXPECT_EQ(&assigned.getPattern(), &expression.getPattern());
}

TEST_F(RegExpTest, ACopyOutlivesItsSource)
{
    RegExp copy;
    {
        const RegExp expression("b", 0);
        copy = expression;
    }
    CaptureList captures(copy);
    EXPECT_TRUE(copy.match("ab", 0, captures.first()));
    EXPECT_EQ(captures.text(), "1-2");
}

TEST_F(RegExpTest, AssignmentToItselfChangesNothing)
{
    RegExp expression("a", 0);
    const RegExp &self = expression;
    expression = self;
    EXPECT_EQ(expression.getPattern(), "a");
    const RegExp copy(expression);
    expression = copy;
    EXPECT_EQ(expression.getPattern(), "a");
    EXPECT_EQ(copy.getPattern(), "a");
}

TEST_F(RegExpTest, ListsBeginUnset)
{
    const RegExp expression("(a)(b)", 0);
    Capture *list = expression.createCaptureList();
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(list[index].start, -1);
        EXPECT_EQ(list[index].end, 0);
        EXPECT_FALSE(list[index].isSet());
    }
    delete[] list;
    list = RegExp("(", 0).createCaptureList();
    Heap::operator delete[](list);
}

TEST_F(RegExpTest, OneListServesManySearches)
{
    const RegExp expression("(a)|(b)", 0);
    CaptureList captures(expression);
    EXPECT_TRUE(expression.match("ab", 0, captures.first()));
    EXPECT_EQ(captures.text(), "0-1 0-1 -");
    EXPECT_TRUE(expression.match("ab", 1, captures.first()));
    EXPECT_EQ(captures.text(), "1-2 - 1-2");
}

TEST_F(RegExpTest, AnExpressionOutlivesThePatternThatItWasGiven)
{
    String pattern("a+");
    const RegExp expression(pattern, 0);
    pattern = "b";
    EXPECT_EQ(expression.getPattern(), "a+");
    CaptureList captures(expression);
    EXPECT_TRUE(expression.match("aa", 0, captures.first()));
}

TEST_F(RegExpTest, TheSubjectMayBeThePattern)
{
    const RegExp expression("a+", 0);
    CaptureList captures(expression);
    EXPECT_TRUE(expression.match(expression.getPattern(), 0, captures.first()));
    EXPECT_EQ(captures.text(), "0-1");
}

// --- Limits --------------------------------------------------------------------------------------

// Its search takes more steps than anyone can wait for.
RegExp endlessExpression()
{
    String pattern;
    for (int time = 0; time < 40; ++time)
        pattern += "(?:a?)";
    pattern += "\\bb";
    return RegExp(pattern, 0);
}

const char *const endlessSubject = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";

TEST_F(RegExpTest, ASearchWithinItsLimitAnswersLikeOneWithout)
{
    const RegExp expression("(a)(b)", 0);
    CaptureList captures(expression);
    EXPECT_EQ(expression.match("xab", 0, captures.first(), 1000), kMatch);
    EXPECT_EQ(captures.text(), "1-3 1-2 2-3");
    EXPECT_EQ(expression.match("xac", 0, captures.first(), 1000), kNoMatch);
    EXPECT_EQ(captures.text(), "- - -");
    EXPECT_EQ(expression.match("xab", 0, captures.first(), RegExp::noLimit), kMatch);
    EXPECT_EQ(expression.match("xab", 5, captures.first(), 0), kNoMatch);
}

TEST_F(RegExpTest, ASearchStopsWhenItsStepsAreUsedUp)
{
    const RegExp expression = endlessExpression();
    ASSERT_TRUE(expression.good());
    CaptureList captures(expression);
    captures[0] = {1, 2};
    EXPECT_EQ(expression.match(endlessSubject, 0, captures.first(), 100000), kMatchStopped);
    EXPECT_EQ(captures.text(), "-");
}

TEST_F(RegExpTest, WithoutStepsASearchStopsAtOnce)
{
    CaptureList captures{RegExp()};
    for (const std::int64_t steps : {std::int64_t{0}, std::int64_t{-1}, -RegExp::noLimit})
        EXPECT_EQ(RegExp("a", 0).match("a", 0, captures.first(), steps), kMatchStopped);
}

TEST_F(RegExpTest, EveryLimitGivesTheAnswerOrStops)
{
    const struct
    {
        const char *pattern;
        const char *subject;
    } rows[] = {{"(?:(a)|(b))*c", "babab"},     {"(?=(a+))a*b\\1", "baaabac"},
                {"(?:a|ab)(?:c|bcd)$", "abcd"}, {"(\\w+)\\s+\\1", "the the"},
                {"[a-z]+ing", "go fishing"},    {"a|bc|(d)", "xxd"},
                {"(?:(x)y?)+?z", "xyxz"},       {"foo", "a foo"}};
    for (const auto &row : rows) {
        const RegExp expression(row.pattern, 0);
        CaptureList expected(expression);
        const bool matches = expression.match(row.subject, 0, expected.first());
        bool wasStopped = true;
        for (int steps = 0; wasStopped; ++steps) {
            CaptureList captures(expression);
            const MatchResult result = expression.match(row.subject, 0, captures.first(), steps);
            wasStopped = result == kMatchStopped;
            if (!wasStopped) {
                EXPECT_EQ(result == kMatch, matches) << row.pattern;
                EXPECT_EQ(captures.text(), expected.text()) << row.pattern;
                EXPECT_GT(steps, 0) << row.pattern;
            } else {
                EXPECT_FALSE(captures[0].isSet());
            }
            ASSERT_LT(steps, 10000) << row.pattern;
        }
    }
}

TEST_F(RegExpTest, ACancelledSearchStops)
{
    const RegExp expression = endlessExpression();
    CaptureList captures(expression);
    const std::atomic<bool> cancelled = true;
    EXPECT_EQ(expression.match(endlessSubject, 0, captures.first(), RegExp::noLimit, &cancelled),
              kMatchStopped);
    const std::atomic<bool> running = false;
    EXPECT_EQ(RegExp("a", 0).match("ba", 0, captures.first(), 100, &running), kMatch);
}

TEST_F(RegExpTest, HasTheInterfaceOfAHandle)
{
    static_assert(sizeof(RegExp) == sizeof(void *));
    static_assert(std::is_nothrow_copy_constructible_v<RegExp>);
    static_assert(RegExp::ignoreCase == 2 && RegExp::multiLine == 4);
    static_assert(sizeof(Capture) == 8 && std::is_trivially_copyable_v<Capture>);
}

} // namespace
} // namespace Tavrin::test
