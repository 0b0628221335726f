// SPDX-License-Identifier: MIT
// What is peculiar about the search: where it finds less, or something else, than one that tries
// everything.
#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using BacktrackingTest = LibraryTest;

TEST_F(BacktrackingTest, TheRoundsOfAQuantifierShareTheChoicesOfItsChild)
{
    // After one b? has given way, all do, so that the second round fails.
    EXPECT_EQ(found(u"(?:ab?)+b", u"abab"), "0-2");
    EXPECT_EQ(found(u"(?:ab?)+b", u"abb"), "0-3");
}

TEST_F(BacktrackingTest, AnAlternativeThatRanOutOfBranchesIsPassedWithoutWork)
{
    // The round at x uses the branches up, so that one round less is one empty round.
    EXPECT_EQ(found(u"(?:a|b)*bx", u"abx"), "1-3");
    EXPECT_EQ(found(u"(?:[ab])*bx", u"abx"), "0-3");
    EXPECT_EQ(found(u"(?:a|b)*bx", u"bx"), "0-2");
    // A choice behind it is retried first, and so the alternative is matched once more.
    EXPECT_EQ(found(u"((|a)c*)", u""), "0-0 0-0 0-0");
    EXPECT_EQ(found(u"(?:(?:a|b)c*)", u"x"), "0-0");
    EXPECT_EQ(found(u"(?:(?:xa*|y)c*)d", u"d"), "0-1");
    EXPECT_EQ(found(u"(?:(?:y|xa*)c*)d", u"d"), "no");
    EXPECT_EQ(found(u"(?:(?:a|b))c", u"xc"), "no");
}

TEST_F(BacktrackingTest, AlternativesBeginWithTheirFirstBranchInEveryRound)
{
    EXPECT_EQ(found(u"(?:a|b)*", u"abab"), "0-4");
    EXPECT_EQ(found(u"(?:b|a)*c", u"aabc"), "0-4");
}

TEST_F(BacktrackingTest, AlternativesWithinOthersStayWhereTheyAre)
{
    EXPECT_EQ(found(u"(?:x(?:a|b)|y)*z", u"xbyxaz"), "2-6");
    EXPECT_EQ(found(u"(?:x(?:a|b))*z", u"xbxaz"), "0-5");
}

TEST_F(BacktrackingTest, ABranchWithChoicesThatFailsEndsTheAttempt)
{
    // The next branch is taken by a retry only, which a quantifier's later round does not get.
    EXPECT_EQ(found(u"(?:(?:a|b)|c)*", u"acab"), "0-1");
    EXPECT_EQ(found(u"(?:a+|c)*", u"acab"), "0-1");
    EXPECT_EQ(found(u"(?:a+|c)b", u"cb"), "0-2");
}

TEST_F(BacktrackingTest, ARetryOfAPlainGroupForgetsTheCaptureBeforeIt)
{
    EXPECT_EQ(found(u"(a)(?:b*)c", u"abbc"), "0-4 0-1");
    EXPECT_EQ(found(u"(a)(?:b*)bc", u"abbc"), "0-4 -");
    EXPECT_EQ(found(u"(a)b*bc", u"abbc"), "0-4 0-1");
    EXPECT_EQ(found(u"(?:b*)(a)", u"ba"), "0-2 1-2");
    EXPECT_EQ(found(u"(x)(?:b*)b\\1c", u"xbbc"), "0-4 -");
}

TEST_F(BacktrackingTest, AFixedCountIsNotRetriedNorWhatItRepeats)
{
    EXPECT_EQ(found(u"(?:ab?){2}b", u"abab"), "no");
    EXPECT_EQ(found(u"(?:ab?){2}b", u"ababb"), "0-5");
    EXPECT_EQ(found(u"(?:ab?){2,3}b", u"abab"), "no");
    EXPECT_EQ(found(u"(?:a*){2}b", u"aab"), "0-3");
    EXPECT_EQ(found(u"(?:a*){1}ab", u"aab"), "no");
    EXPECT_EQ(found(u"(?:a*?){1}b", u"ab"), "1-2");
}

TEST_F(BacktrackingTest, ChildrenThatDidNotMatchYetAreRetriedToo)
{
    EXPECT_EQ(found(u"(x*yz*)z", u"xyzz"), "0-4 0-3");
    EXPECT_EQ(found(u"(x*xz*?)z", u"xxzz"), "0-3 0-2");
    EXPECT_EQ(found(u"(?:x*xz*|y)z", u"xxzz"), "0-4");
}

TEST_F(BacktrackingTest, AnEmptyRoundLimitsThoseOfTheNextAttempt)
{
    EXPECT_EQ(found(u"(?:x(?:a?)*y)*z", u"xyxayz"), "2-6");
}

TEST_F(BacktrackingTest, GroupsAreRetriedFromTheLastChildOn)
{
    EXPECT_EQ(found(u"(a*b*)(c*)bd", u"aabbd"), "0-5 0-3 3-3");
    EXPECT_EQ(found(u"((a*)(a*))ab", u"aaab"), "0-4 0-2 0-2 2-2");
    EXPECT_EQ(found(u"((a*?)(a*?))ab", u"aaab"), "0-4 0-2 0-0 0-2");
}

TEST_F(BacktrackingTest, QuantifiedGroupsGiveRoundsBackBeforeTheirChildren)
{
    EXPECT_EQ(found(u"(?:a+b?)*ab", u"aabab"), "0-5");
    EXPECT_EQ(found(u"(?:ab?)*ac", u"ababac"), "0-6");
    EXPECT_EQ(found(u"(?:a{1,2})*a", u"aaaa"), "0-3");
}

TEST_F(BacktrackingTest, ChoicesBehindAPrefixThatFailsCostNothing)
{
    std::u16string choices;
    for (int time = 0; time < 60; ++time)
        choices += u"a*";
    EXPECT_EQ(found(u"x" + choices + u"(?:y" + choices + u"|z)", u"aaaxaz"), "3-6");
    EXPECT_EQ(found(u"(?:x" + choices + u"(?=b)|y)", u"aaay"), "3-4");
    EXPECT_EQ(found(u"(?:x(?=a)" + choices + u"b)", u"aaayxaab"), "4-8");
}

} // namespace
} // namespace Tavrin::test
