// SPDX-License-Identifier: MIT
// Searches whose choices come back to where they were, and so would never end.
#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using CycleTest = LibraryTest;

TEST_F(CycleTest, ChoicesThatComeBackAreExhausted)
{
    EXPECT_EQ(found(u"(?:a|b)?c", u"b"), "no");
    EXPECT_EQ(found(u"(?:a|b)*c", u"b"), "no");
    EXPECT_EQ(found(u"(?:b?)*?x", u"cb"), "no");
}

TEST_F(CycleTest, LaterStartsAreStillTried)
{
    EXPECT_EQ(found(u"(?:a|b)?c", u"bbc"), "1-3");
    EXPECT_EQ(found(u"(?:a|b)*cd", u"bcbcd"), "2-5");
    EXPECT_EQ(found(u"(?:b?)*?x", u"cbbx"), "1-4");
}

TEST_F(CycleTest, ChoicesInFrontAreStillRetried)
{
    EXPECT_EQ(found(u"a*(?:a|b)?ac", u"aaac"), "0-4");
    EXPECT_EQ(found(u"b*(?:a|b)*bc", u"bbbc"), "0-4");
    EXPECT_EQ(found(u"(x|xb)(?:a|b)?c", u"xbbc"), "0-4 0-2");
}

TEST_F(CycleTest, LazyRoundsOfNothingEnd)
{
    EXPECT_EQ(found(u"(?:)*?x", u"cb"), "no");
    EXPECT_EQ(found(u"(?:\\b)*?x", u"cb"), "no");
    EXPECT_EQ(found(u"(?:(?:a|b)?)*?x", u"bbb"), "no");
    EXPECT_EQ(found(u"(?:(?=b)|a)*?x", u"bax"), "1-3");
}

TEST_F(CycleTest, CirclesWithCapturesEnd)
{
    EXPECT_EQ(found(u"(a|b)?c", u"b"), "no");
    EXPECT_EQ(found(u"((a)|(b))*c", u"babab"), "no");
    EXPECT_EQ(found(u"(?:(a)|(b))*\\1c", u"babab"), "no");
    EXPECT_EQ(found(u"(?:(a)|(b)|(d))*?\\1\\2c", u"badbadb"), "no");
}

TEST_F(CycleTest, SeveralCirclesInARowEnd)
{
    EXPECT_EQ(found(u"(?:a|b)*(?:a|b)*(?:a|b)*c", u"babbab"), "no");
    EXPECT_EQ(found(u"(?:(a)|b)*(?:(a)|b)*(?:(a)|b)*c", u"babbab"), "no");
    EXPECT_EQ(found(u"(?:(?:a|b)*(?:b|a)?)*c", u"babba"), "no");
}

TEST_F(CycleTest, TheWholeAtomOfTheTopLevelIsExhausted)
{
    EXPECT_EQ(found(u"(?:a|b)?c|b", u"b"), "no");
    EXPECT_EQ(found(u"(?:(?:a|b)?c|b)", u"b"), "no");
    EXPECT_EQ(found(u"b|(?:a|b)?c", u"b"), "0-1");
}

} // namespace
} // namespace Tavrin::test
