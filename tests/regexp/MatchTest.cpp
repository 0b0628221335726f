// SPDX-License-Identifier: MIT
#include <string>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using MatchTest = LibraryTest;

constexpr int ic = RegExp::ignoreCase;
constexpr int ml = RegExp::multiLine;

// --- The search ----------------------------------------------------------------------------------

TEST_F(MatchTest, FindsTheFirstPlaceFromTheStartOn)
{
    EXPECT_EQ(found(u"ab", u"xabab"), "1-3");
    EXPECT_EQ(found(u"ab", u"xabab", 0, 1), "1-3");
    EXPECT_EQ(found(u"ab", u"xabab", 0, 2), "3-5");
    EXPECT_EQ(found(u"ab", u"xabab", 0, 4), "no");
    EXPECT_EQ(found(u"ab", u"ba"), "no");
}

TEST_F(MatchTest, RefusesANegativeStart)
{
    EXPECT_EQ(found(u"a", u"a", 0, -1), "no");
    EXPECT_EQ(found(u"", u"", 0, -1), "no");
    EXPECT_EQ(found(u"", u"a", 0, -2147483647 - 1), "no");
}

TEST_F(MatchTest, RefusesAStartAtTheEndOfASubjectThatIsNotEmpty)
{
    EXPECT_EQ(found(u"", u"a", 0, 1), "no");
    EXPECT_EQ(found(u"$", u"a", 0, 1), "no");
    EXPECT_EQ(found(u"", u"a", 0, 2), "no");
    EXPECT_EQ(found(u"", u"a", 0, 2147483647), "no");
    EXPECT_EQ(found(u"$", u"a", 0, 0), "1-1");
}

TEST_F(MatchTest, TriesAnEmptySubjectOnce)
{
    EXPECT_EQ(found(u"", u""), "0-0");
    EXPECT_EQ(found(u"a*", u""), "0-0");
    EXPECT_EQ(found(u"$", u""), "0-0");
    EXPECT_EQ(found(u"^$", u""), "0-0");
    EXPECT_EQ(found(u"a", u""), "no");
    EXPECT_EQ(found(u"", u"", 0, 1), "no");
}

TEST_F(MatchTest, TriesTheEndOfTheSubjectToo)
{
    EXPECT_EQ(found(u"b*$", u"aa"), "2-2");
    EXPECT_EQ(found(u"(?!a)", u"aa"), "2-2");
}

TEST_F(MatchTest, CapturesStayFromOneStartToTheNext)
{
    // At 0 the group takes "a" before b fails; at 1 the reference in front of it sees that.
    EXPECT_EQ(found(u"\\1(a)b", u"aab"), "no");
    EXPECT_EQ(found(u"\\1(a)b", u"aaab"), "1-4 2-3");
    EXPECT_EQ(found(u"(?:(x)y|z)", u"xz"), "1-2 -");
    EXPECT_EQ(found(u"(x)y|z", u"xz"), "1-2 -");
    EXPECT_EQ(found(u"(?=(x))y|z", u"xz"), "1-2 -");
}

TEST_F(MatchTest, LeavesCapturesUnsetWhenNothingIsFound)
{
    const RegExp expression("(a)(b)", 0);
    CaptureList captures(expression);
    captures[0] = {5, 6};
    captures[1] = {7, 8};
    captures[2] = {9, 10};
    EXPECT_FALSE(expression.match("ac", 0, captures.first()));
    EXPECT_EQ(captures.text(), "- - -");
    captures[1] = {7, 8};
    EXPECT_FALSE(expression.match("ab", -1, captures.first()));
    EXPECT_EQ(captures.text(), "- - -");
    captures[2] = {7, 8};
    EXPECT_FALSE(expression.match("ab", 2, captures.first()));
    EXPECT_EQ(captures.text(), "- - -");
}

TEST_F(MatchTest, ForgetsWhatTheListHeldBefore)
{
    const RegExp expression("\\1(a)?b", 0);
    CaptureList captures(expression);
    captures[1] = {0, 1};
    EXPECT_TRUE(expression.match("b", 0, captures.first()));
    EXPECT_EQ(captures.text(), "0-1 -");
}

// --- Simple atoms --------------------------------------------------------------------------------

TEST_F(MatchTest, ACaretStandsForTheStart)
{
    EXPECT_EQ(found(u"^a", u"ba"), "no");
    EXPECT_EQ(found(u"^a", u"aa", 0, 1), "no");
    EXPECT_EQ(found(u"^", u"ab", 0, 1), "no");
    EXPECT_EQ(found(u"b^a", u"ba"), "no");
    EXPECT_EQ(found(u"^a", u"b\na"), "no");
}

TEST_F(MatchTest, ACaretStandsForAnyLineWithMultiLine)
{
    EXPECT_EQ(found(u"^a", u"b\na", ml), "2-3");
    EXPECT_EQ(found(u"^a", u"b\ra", ml), "2-3");
    EXPECT_EQ(found(u"^a", u"b\u2028a", ml), "2-3");
    EXPECT_EQ(found(u"^a", u"b\u2029a", ml), "2-3");
    EXPECT_EQ(found(u"^a", u"b\va", ml), "no");
    EXPECT_EQ(found(u"^a",
                    u"b\u0085"
                    u"a",
                    ml),
              "no");
    EXPECT_EQ(found(u"^", u"\r\n", ml, 1), "1-1");
    EXPECT_EQ(found(u"^$", u"a\n", ml), "2-2");
}

TEST_F(MatchTest, ADollarStandsForTheEnd)
{
    EXPECT_EQ(found(u"a$", u"ab"), "no");
    EXPECT_EQ(found(u"a$", u"a\n"), "no");
    EXPECT_EQ(found(u"a$", u"a\n", ml), "0-1");
    EXPECT_EQ(found(u"a$", u"a\r", ml), "0-1");
    EXPECT_EQ(found(u"a$", u"a\u2028", ml), "0-1");
    EXPECT_EQ(found(u"a$", u"a\u2029", ml), "0-1");
    EXPECT_EQ(found(u"a$", u"a\f", ml), "no");
    EXPECT_EQ(found(u"a$", u"ba", ml), "1-2");
}

TEST_F(MatchTest, ADotTakesAllButALineFeed)
{
    EXPECT_EQ(unitsMatchedBy(u"."), "0-9 11-65535");
    EXPECT_EQ(unitsMatchedBy(u".", ml), "0-9 11-65535");
    EXPECT_EQ(found(u"..", u"\r\u2028"), "0-2");
    EXPECT_EQ(found(u"..", u"a\nb"), "no");
    EXPECT_EQ(found(u"...", u"ab\ncde"), "3-6");
}

TEST_F(MatchTest, WordBoundariesAreThoseOfAscii)
{
    EXPECT_EQ(found(u"\\b", u"a"), "0-0");
    EXPECT_EQ(found(u"\\b", u" a"), "1-1");
    EXPECT_EQ(found(u"\\B", u" a"), "0-0");
    EXPECT_EQ(found(u"a\\b", u"ab a b"), "3-4");
    EXPECT_EQ(found(u"\\bb", u"\u00E9b"), "1-2");
    EXPECT_EQ(found(u"\\b.", u"_"), "0-1");
    EXPECT_EQ(found(u"\\b9", u"-9"), "1-2");
    EXPECT_EQ(found(u"Z\\B.", u"Za"), "0-2");
    EXPECT_EQ(found(u"@\\b", u"@@"), "1-2");
    EXPECT_EQ(found(u"[[`{]\\ba", u"`a"), "0-2");
}

TEST_F(MatchTest, TheEndIsAWordBoundaryAndIsNone)
{
    EXPECT_EQ(found(u" \\b$", u"a "), "1-2");
    EXPECT_EQ(found(u" \\B$", u"a "), "1-2");
    EXPECT_EQ(found(u"a\\b", u"a"), "0-1");
    EXPECT_EQ(found(u"a\\B", u"a"), "0-1");
    EXPECT_EQ(found(u"\\b", u""), "0-0");
    EXPECT_EQ(found(u"\\B", u""), "0-0");
}

TEST_F(MatchTest, LiteralsAreComparedUnitByUnit)
{
    const std::u16string text = u"The quick brown fox jumps over the lazy dog";
    EXPECT_EQ(found(text, u"x" + text), "1-44");
    std::u16string other = text;
    other.back() = u'G';
    EXPECT_EQ(found(text, other), "no");
    EXPECT_EQ(found(text, text.substr(0, 42)), "no");
}

TEST_F(MatchTest, CaseIsIgnoredByTheLowerForms)
{
    EXPECT_EQ(found(u"aBc", u"AbC", ic), "0-3");
    EXPECT_EQ(found(u"aBc", u"AbC"), "no");
    EXPECT_EQ(found(u"\u0416", u"\u0436", ic), "0-1");
    EXPECT_EQ(found(u"k", u"\u212A", ic), "0-1");
    EXPECT_EQ(found(u"\u212A", u"K", ic), "0-1");
    // The final sigma is lower case already, and another unit than sigma.
    EXPECT_EQ(found(u"\u03C2", u"\u03A3", ic), "no");
    EXPECT_EQ(found(u"\u00B5", u"\u03BC", ic), "no");
    EXPECT_EQ(found(u"stra\u00DFe", u"STRASSE", ic), "no");
    EXPECT_EQ(found(u"a+", u"aAaB", ic), "0-3");
    EXPECT_EQ(found(u"THE QUICK BROWN FOX", u"the quick brown fox", ic), "0-19");
    EXPECT_EQ(found(u"THE QUICK BROWN FOX", u"the quick brown fo", ic), "no");
}

TEST_F(MatchTest, OtherFlagsHaveNoEffect)
{
    for (const int flags : {1, 8, 16, -8})
        EXPECT_EQ(found(u"^a", u"b\nA", flags), "no");
    EXPECT_EQ(found(u"^a", u"b\nA", -1), "2-3");
}

TEST_F(MatchTest, BackReferencesRepeatTheCapture)
{
    EXPECT_EQ(found(u"(a+)b\\1", u"aaba"), "1-4 1-2");
    EXPECT_EQ(found(u"(.)(.)\\2\\1", u"xabba"), "1-5 1-2 2-3");
    EXPECT_EQ(found(u"(a)\\1", u"aA"), "no");
    EXPECT_EQ(found(u"(a)\\1", u"aA", ic), "0-2 0-1");
    EXPECT_EQ(found(u"(ab)\\1", u"aba"), "no");
    EXPECT_EQ(found(u"(AB)\\1", u"abA", ic), "no");
    EXPECT_EQ(found(u"(ab)\\1", u"abAc", ic), "no");
    const std::u16string longText = u"a text of more than thirty-two units";
    EXPECT_EQ(found(u"(.+),\\1", longText + u"," + longText), "0-73 0-36");
}

TEST_F(MatchTest, AReferenceToAnUnsetGroupMatchesNothing)
{
    EXPECT_EQ(found(u"\\1(a)", u"a"), "0-1 0-1");
    EXPECT_EQ(found(u"(?:(a)|b)\\1", u"b"), "0-1 -");
    EXPECT_EQ(found(u"(a\\1)", u"aa"), "0-1 0-1");
}

TEST_F(MatchTest, AReferenceToAnEmptyGroupMatchesAtTheEnd)
{
    EXPECT_EQ(found(u"()\\1", u""), "0-0 0-0");
    EXPECT_EQ(found(u"a()\\1", u"a"), "0-1 1-1");
    EXPECT_EQ(found(u"(b*)a\\1", u"a"), "0-1 0-0");
    EXPECT_EQ(found(u"()\\1", u"", ic), "0-0 0-0");
}

// --- Groups --------------------------------------------------------------------------------------

TEST_F(MatchTest, GroupsCaptureTheirLastMatch)
{
    EXPECT_EQ(found(u"(a)(b)", u"ab"), "0-2 0-1 1-2");
    EXPECT_EQ(found(u"(a|b)*", u"ab"), "0-2 1-2");
    EXPECT_EQ(found(u"(a)|b", u"b"), "0-1 -");
}

TEST_F(MatchTest, LookaheadTakesNothing)
{
    EXPECT_EQ(found(u"a(?=b)", u"acab"), "2-3");
    EXPECT_EQ(found(u"a(?!b)", u"abac"), "2-3");
    EXPECT_EQ(found(u"(?=(a))ab", u"ab"), "0-2 0-1");
    EXPECT_EQ(found(u"(?=a)(?=.b)", u"ab"), "0-0");
    EXPECT_EQ(found(u"a(?=$)", u"a"), "0-1");
    EXPECT_EQ(found(u"a(?!.)", u"a"), "0-1");
}

TEST_F(MatchTest, LookaheadIsNotRetried)
{
    EXPECT_EQ(found(u"(?=(a+))a*b\\1", u"baaabac"), "3-6 3-4");
    // Within it only the first choice of each child counts.
    EXPECT_EQ(found(u"(?=a*ab)a", u"aab"), "no");
    EXPECT_EQ(found(u"(?=a*?b)a", u"ab"), "no");
    EXPECT_EQ(found(u"(?=(?:a|ab)c)a", u"abc"), "no");
    EXPECT_EQ(found(u"(?!a*ab)a", u"aab"), "0-1");
}

TEST_F(MatchTest, ALookaheadThatFailsForgetsItsCapturesAndThoseBehind)
{
    EXPECT_EQ(found(u"(a)(?:(?=(b)x)|b)", u"ab"), "0-2 0-1 -");
    EXPECT_EQ(found(u"(?!(a)b)a(c)", u"ac"), "0-2 - 1-2");
    EXPECT_EQ(found(u"(a)(?!(b)c)b", u"abd"), "0-2 0-1 -");
}

TEST_F(MatchTest, CapturesOfANegativeLookaheadStayWhenItFails)
{
    EXPECT_EQ(found(u"(?:(?!(a)b)|a)b", u"ab"), "0-2 0-1");
}

TEST_F(MatchTest, TheCaptureOfAGroupThatFailsStays)
{
    EXPECT_EQ(found(u"(?:(a)b|ac)", u"ac"), "0-2 0-1");
    EXPECT_EQ(found(u"(?:(a)b|a)\\1", u"aa"), "0-2 0-1");
}

// --- Quantifiers ---------------------------------------------------------------------------------

TEST_F(MatchTest, GreedyTakesAllThenLess)
{
    EXPECT_EQ(found(u"a*", u"aaa"), "0-3");
    EXPECT_EQ(found(u"a*a", u"aaa"), "0-3");
    EXPECT_EQ(found(u"a*aa", u"aaa"), "0-3");
    EXPECT_EQ(found(u"a*aaaa", u"aaa"), "no");
    EXPECT_EQ(found(u"a{2,3}a", u"aaa"), "0-3");
    EXPECT_EQ(found(u".*b", u"abcbd"), "0-4");
    EXPECT_EQ(found(u"(.*)(\\d+)", u"ab123"), "0-5 0-4 4-5");
    EXPECT_EQ(found(u"(a*)(a*)", u"aaa"), "0-3 0-3 3-3");
}

TEST_F(MatchTest, LazyTakesLittleThenMore)
{
    EXPECT_EQ(found(u".*?b", u"abcb"), "0-2");
    EXPECT_EQ(found(u"a{1,2}?b", u"aab"), "0-3");
    EXPECT_EQ(found(u"a{1,2}?b", u"aaab"), "1-4");
    EXPECT_EQ(found(u"(.*?)(\\d+)", u"ab123"), "0-5 0-2 2-5");
    EXPECT_EQ(found(u"(?:ab)*?c", u"ababc"), "0-5");
    EXPECT_EQ(found(u"(?:ab)+?", u"abab"), "0-2");
}

TEST_F(MatchTest, NoRoundBeginsAtTheEnd)
{
    EXPECT_EQ(found(u"(?:a*)+", u""), "no");
    EXPECT_EQ(found(u"(a*)+", u""), "no");
    EXPECT_EQ(found(u"(?:)+", u""), "no");
    EXPECT_EQ(found(u"(?:)*", u""), "0-0");
    EXPECT_EQ(found(u"b(?:a?){1}", u"b"), "no");
    EXPECT_EQ(found(u"b(?:a?){1}", u"bc"), "0-1");
    EXPECT_EQ(found(u"^{1}", u""), "no");
    EXPECT_EQ(found(u"a(?:$)+", u"a"), "no");
}

TEST_F(MatchTest, AnEmptyRoundCountsAsAllThatAreRequired)
{
    EXPECT_EQ(found(u"(?:a?){5}", u"b"), "0-0");
    EXPECT_EQ(found(u"(?:a?){5}b", u"ab"), "0-2");
    EXPECT_EQ(found(u"(?:){3}b", u"b"), "0-1");
    EXPECT_EQ(found(u"(a?)*b", u"ab"), "0-2 1-1");
    EXPECT_EQ(found(u"(?:a?)*?b", u"ab"), "0-2");
}

TEST_F(MatchTest, AQuantifierForgetsCapturesWhenItBeginsNotInEveryRound)
{
    EXPECT_EQ(found(u"(?:(a)|(b))*", u"ab"), "0-2 0-1 1-2");
    EXPECT_EQ(found(u"(?:(a)|b)*", u"ab"), "0-2 0-1");
    EXPECT_EQ(found(u"(?:x(a)?)+y", u"xaxy"), "0-4 -");
    EXPECT_EQ(found(u"(z)((a+)?(b+)?(c))*", u"zaacbbbcac"), "0-10 0-1 8-10 8-9 - 9-10");
}

TEST_F(MatchTest, AFailedRoundGivesTheCapturesOfTheLastOneBack)
{
    EXPECT_EQ(found(u"(?:(a)b)*ac", u"abac"), "0-4 0-1");
    EXPECT_EQ(found(u"(?:(.)x)+", u"axbxc"), "0-4 2-3");
}

TEST_F(MatchTest, AFirstRoundThatFailsLeavesItsCaptures)
{
    EXPECT_EQ(found(u"(?:(a)b)?ac", u"ac"), "0-2 0-1");
    EXPECT_EQ(found(u"(?:(a)b)*ac", u"ac"), "0-2 0-1");
}

// --- Alternatives --------------------------------------------------------------------------------

TEST_F(MatchTest, ABranchThatFailsLeavesItsCapturesToTheNext)
{
    EXPECT_EQ(found(u"(?:(a)b|(a)c)", u"ac"), "0-2 0-1 0-1");
    EXPECT_EQ(found(u"(?:(a)b|a\\1c)", u"aac"), "0-3 0-1");
}

TEST_F(MatchTest, AnAlternativeThatFailsGivesTheCapturesBack)
{
    EXPECT_EQ(found(u"(?:(a)b|(a)c)?ad", u"ad"), "0-2 - -");
}

TEST_F(MatchTest, BranchesAreRetriedBeforeTheNextIsTaken)
{
    EXPECT_EQ(found(u"(?:a+b|a)c", u"aac"), "1-3");
    EXPECT_EQ(found(u"(?:a+|b)ac", u"aaac"), "0-4");
    EXPECT_EQ(found(u"(a|ab)(bc|c)", u"abc"), "0-3 0-1 1-3");
    EXPECT_EQ(found(u"(?:a|ab)(?:c|bcd)$", u"abcd"), "0-4");
}

} // namespace
} // namespace Tavrin::test
