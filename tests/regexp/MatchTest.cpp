// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using MatchTest = LibraryTest;

constexpr int ic = RegExp::ignoreCase;
constexpr int ml = RegExp::multiLine;

TEST_F(MatchTest, Smoke)
{
    EXPECT_EQ(found(u"a*", u"aaa"), "0-3");
    EXPECT_EQ(found(u"a*?b", u"aab"), "0-3");
    EXPECT_EQ(found(u"(a)|b", u"b"), "0-1 -");
    EXPECT_EQ(found(u"\\1(a)", u"a"), "0-1 0-1");
    EXPECT_EQ(found(u"(?:a|b)?c", u"b"), "no");
    EXPECT_EQ(found(u"(?:a|b)*c", u"b"), "no");
    EXPECT_EQ(found(u"(?:b?)*?x", u"cb"), "no");
    EXPECT_EQ(found(u"[A-Z]", u"a", ic), "0-1");
    EXPECT_EQ(found(u"^b", u"a\nb", ml), "2-3");
}

} // namespace
} // namespace Tavrin::test
