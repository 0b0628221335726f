// SPDX-License-Identifier: MIT
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

namespace Tavrin::test {
namespace {

using RegExpMemoryTest = LibraryTest;

// Something of everything, and more of it than fits in the room that comes with an expression.
String richPattern()
{
    String pattern("^(?:(a+)|[b-dx\\u0400-\\u0500]{2,}?|\\1(?=e)(?!f))*");
    for (int time = 0; time < 10; ++time)
        pattern += "(?:(?:x|(y)|[^z\\d\\s])?(?:u|v)*)*q?[m-n]*(((((((((r)))))))))?|";
    pattern += "a long piece of text at the end of it";
    return pattern;
}

TEST_F(RegExpMemoryTest, CompilingMakesAWholeExpressionOrNone)
{
    underMemoryFailure(
        [] { return std::unique_ptr<RegExp>(); },
        [](std::unique_ptr<RegExp> &made) { made = std::make_unique<RegExp>(richPattern(), 0); },
        [](const std::unique_ptr<RegExp> &made, bool failed) {
            EXPECT_EQ(made == nullptr, failed);
            EXPECT_TRUE(failed || made->good());
        });
}

TEST_F(RegExpMemoryTest, CompilingABadPatternLeaksNothing)
{
    underMemoryFailure([] { return std::unique_ptr<RegExp>(); },
                       [](std::unique_ptr<RegExp> &made) {
                           made = std::make_unique<RegExp>(richPattern() + "(", 2);
                       },
                       [](const std::unique_ptr<RegExp> &made, bool failed) {
                           EXPECT_TRUE(failed || !made->good());
                       });
}

TEST_F(RegExpMemoryTest, TheDefaultExpressionIsMadeOrNot)
{
    underMemoryFailure([] { return std::unique_ptr<RegExp>(); },
                       [](std::unique_ptr<RegExp> &made) { made = std::make_unique<RegExp>(); },
                       [](const std::unique_ptr<RegExp> &made, bool failed) {
                           EXPECT_EQ(made == nullptr, failed);
                       });
}

TEST_F(RegExpMemoryTest, CopyingAndAssigningAskForNoMemory)
{
    underMemoryFailure([] { return RegExp("a", 0); },
                       [](RegExp &expression) {
                           const RegExp copy(expression);
                           expression = copy;
                       },
                       [](const RegExp &expression, bool failed) {
                           EXPECT_FALSE(failed);
                           EXPECT_TRUE(expression.good());
                       },
                       Allocates::perhaps);
}

TEST_F(RegExpMemoryTest, AListIsMadeOrNot)
{
    underMemoryFailure([] { return RegExp("(a)(b)", 0); },
                       [](RegExp &expression) { delete[] expression.createCaptureList(); },
                       [](const RegExp &, bool) {});
}

struct Match
{
    RegExp expression;
    String subject;
    CaptureList captures;

    explicit Match(const String &pattern, const char *text)
        : expression(pattern, 0), subject(text), captures(expression)
    {}
};

TEST_F(RegExpMemoryTest, AMatchThatFailsForMemoryLeavesItsCapturesUnset)
{
    underMemoryFailure([] { return std::make_unique<Match>(richPattern(), "aacdeaaaexuvqmrbbaa"); },
                       [](std::unique_ptr<Match> &match) {
                           EXPECT_TRUE(
                               match->expression.match(match->subject, 0, match->captures.first()));
                       },
                       [](std::unique_ptr<Match> &match, bool failed) {
                           EXPECT_EQ(match->captures[0].isSet(), !failed);
                       });
}

TEST_F(RegExpMemoryTest, DeepMatchesLeakNothing)
{
    String pattern;
    for (int depth = 0; depth < 40; ++depth)
        pattern += "((?:a|b(?=.))?";
    for (int depth = 0; depth < 40; ++depth)
        pattern += ")+";
    for (int time = 0; time < 20; ++time)
        pattern += "(?:c|d)*";
    underMemoryFailure([&] { return std::make_unique<Match>(pattern + "e", "abababcdcdcde"); },
                       [](std::unique_ptr<Match> &match) {
                           match->expression.match(match->subject, 0, match->captures.first(),
                                                   100000);
                       },
                       [](std::unique_ptr<Match> &match, bool failed) {
                           EXPECT_FALSE(failed && match->captures[0].isSet());
                       });
}

} // namespace
} // namespace Tavrin::test
