// SPDX-License-Identifier: MIT
// Programs that are searched by a loop of their own, beside the search over the nodes: a lookahead
// that always succeeds keeps a program from being a chain, and changes nothing else.
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using ChainTest = LibraryTest;

constexpr int ic = RegExp::ignoreCase;
constexpr int ml = RegExp::multiLine;

void expectSame(const std::u16string &pattern, const std::u16string &subject, int flags = 0)
{
    for (int start = 0; start <= static_cast<int>(subject.size()); ++start)
        EXPECT_EQ(found(pattern, subject, flags, start),
                  found(pattern + u"(?=)", subject, flags, start))
            << std::string(pattern.begin(), pattern.end()) << " in "
            << std::string(subject.begin(), subject.end()) << " from " << start;
}

TEST_F(ChainTest, AgreesWithTheSearchOverTheNodes)
{
    const std::u16string subjects[] = {u"",
                                       u"a",
                                       u"aab",
                                       u"abab\naabb",
                                       u"the the a a of off",
                                       u"fishing is going on",
                                       u"12-34 555-1234",
                                       u"foo\nbarfoofoo\n",
                                       u"_a \t\n b9",
                                       u"AaBbKk",
                                       u"aaaaaaaab",
                                       u"\u0431\u0411 a\u212A\u017F"};
    const std::u16string patterns[] = {u"a",
                                       u"ab",
                                       u"a*",
                                       u"a*b",
                                       u"a+?b",
                                       u".*foo",
                                       u".*?foo",
                                       u"[a-z]+ing",
                                       u"[a-z]*?ing",
                                       u"\\w+\\s+",
                                       u"(\\w+)\\s+\\1",
                                       u"(\\w+)\\s*\\1",
                                       u"(\\w*)\\s+\\1",
                                       u"(\\w{2,})\\s+\\1",
                                       u"\\b\\w+\\b",
                                       u"\\b\\w*\\b",
                                       u"\\w*?\\b",
                                       u"\\B\\w+\\b",
                                       u"\\d{3}-\\d{4}",
                                       u"\\d+-\\d+",
                                       u"(\\d+)-(\\d+)",
                                       u"^.*$",
                                       u"^\\w+",
                                       u"\\w+$",
                                       u"(a*)(a*)b",
                                       u"((a*)b)+?",
                                       u"(a+)(b+)",
                                       u"a{2,3}a",
                                       u"a{2}",
                                       u"a{2,3}?b",
                                       u"[^a]*a",
                                       u".",
                                       u"..",
                                       u"a.b",
                                       u"foo|bar",
                                       u"(the|a|of) (?:the|a|off)",
                                       u"(?:a|ab|b)b",
                                       u"x*y*z*a",
                                       u"\\s*\\S+",
                                       u"[ab]+[b]",
                                       u"(.)(.)\\2\\1",
                                       u"(a)\\1*b",
                                       u"\\bof\\b",
                                       u"o+\\b",
                                       u".+ing",
                                       u".{3}ing",
                                       u"k+",
                                       u"[k-s]+",
                                       u"\\u0431+",
                                       u"(?:(a))b",
                                       u"(?:a*)b",
                                       u"b+$",
                                       u"^",
                                       u"$",
                                       u"a?",
                                       u"a??b",
                                       u"\\n",
                                       u"\\s\\w",
                                       u"[^]+b",
                                       u"[]a"};
    for (const std::u16string &pattern : patterns)
        for (const std::u16string &subject : subjects)
            for (const int flags : {0, ic, ml})
                expectSame(pattern, subject, flags);
}

TEST_F(ChainTest, AgreesOnRandomPatterns)
{
    const char16_t *const pieces[] = {
        u"a",    u"b",    u"ab",     u"[ab]",  u"[^a]",   u".",        u"\\w",
        u"\\s",  u"\\b",  u"(a*)",   u"(b+)",  u"a*",     u"b+",       u"a+?",
        u"\\w*", u"\\s+", u".*",     u".+?",   u"(\\w+)", u"\\1",      u"$",
        u"^",    u"a{2}", u"b{1,2}", u"(?:a)", u"(?:b*)", u"(a|ab|b)", u"[ab]{2,}?"};
    std::mt19937 random(3);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int time = 0; time < 4000; ++time) {
        std::u16string pattern;
        for (std::size_t left = 1 + below(5); left > 0; --left)
            pattern += pieces[below(std::size(pieces))];
        std::u16string subject;
        for (std::size_t left = below(9); left > 0; --left)
            subject += u"aab b\nA"[below(7)];
        const int flags = static_cast<int>(below(4)) * 2;
        EXPECT_EQ(found(pattern, subject, flags), found(pattern + u"(?=)", subject, flags))
            << std::string(pattern.begin(), pattern.end()) << " in "
            << std::string(subject.begin(), subject.end()) << " with " << flags;
    }
}

TEST_F(ChainTest, LongPatternsAreNoChains)
{
    std::u16string pattern;
    std::u16string subject;
    for (int time = 0; time < 300; ++time) {
        pattern += u"(a)";
        subject += u'a';
    }
    EXPECT_EQ(found(pattern, subject).substr(0, 5), "0-300");
}

TEST_F(ChainTest, ChoicesOfManyBranchesAreTried)
{
    std::u16string pattern;
    for (char16_t unit = u'a'; unit <= u'z'; ++unit)
        pattern += (unit == u'a' ? u"" : u"|") + std::u16string(3, unit);
    EXPECT_EQ(found(pattern, u"aazzbbzzz"), "6-9");
    EXPECT_EQ(found(u"(?:a|bc|def|\u0431)x", u"adefbc\u0431x"), "6-8");
    EXPECT_EQ(found(u"def|bc|a", u"xxa"), "2-3");
    EXPECT_EQ(found(u"def|bc", u"xbc"), "1-3");
    EXPECT_EQ(found(u"DEF|bc", u"xxdEf", ic), "2-5");
}

TEST_F(ChainTest, ARunAndALiteralAreFoundFromTheLiteral)
{
    EXPECT_EQ(found(u"[a-z]+ing", u"ing sing"), "4-8");
    EXPECT_EQ(found(u"[a-z]+ing", u"inging"), "0-6");
    EXPECT_EQ(found(u"[a-z]{3,}ing", u"aing boxing"), "5-11");
    EXPECT_EQ(found(u"\\b[a-z]+ing", u"_going 1going going"), "14-19");
    EXPECT_EQ(found(u"^[a-z]+ing", u"a going\ngoing", ml), "8-13");
    EXPECT_EQ(found(u"a+b", u"caab"), "1-4");
    EXPECT_EQ(found(u"a{2000000000,}b", u"aab"), "no");
}

TEST_F(ChainTest, TimeGrowsWithTheLengthOfTheSubject)
{
    // Each of them would take the square of it, one start after the other.
    std::u16string longRun(200000, u'a');
    EXPECT_EQ(found(u"[a-z]+ing", longRun), "no");
    EXPECT_EQ(found(u".*foo", longRun), "no");
    EXPECT_EQ(found(u"\\w+\\s", longRun), "no");
    EXPECT_EQ(found(u"a+$b", longRun), "no");
    EXPECT_EQ(found(u"(\\w+)\\s+\\1", longRun), "no");
    EXPECT_EQ(found(u"(\\w+)-(\\d+)", longRun), "no");
}

} // namespace
} // namespace Tavrin::test
