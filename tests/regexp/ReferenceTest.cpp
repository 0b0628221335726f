// SPDX-License-Identifier: MIT
// The reference itself, and the engine, beside answers found with pencil and paper; then one beside
// the other. tests/stress/RegExpStress.cpp goes on from here for as long as it is told.
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "regexp/reference/Cases.h"
#include "regexp/reference/Comparison.h"
#include "regexp/reference/Generator.h"
#include "support/LibraryTest.h"

namespace Tavrin::test::reference {

void PrintTo(const Case &row, std::ostream *out)
{
    *out << row.name;
}

namespace {

constexpr std::int64_t amplySteps = 100'000;
constexpr std::int64_t fewSteps = 20'000;

class ReferenceTest : public LibraryTest, public ::testing::WithParamInterface<Case>
{};

TEST_P(ReferenceTest, AnswersAsTheRulesSay)
{
    const Case &row = GetParam();
    const Pair pair(row.pattern, row.flags);
    EXPECT_EQ(textOf(pair.byReference(row.subject, row.start, amplySteps)), row.expected);
}

TEST_P(ReferenceTest, TheEngineAnswersAsTheRulesSay)
{
    const Case &row = GetParam();
    const Pair pair(row.pattern, row.flags);
    EXPECT_EQ(textOf(pair.byLibrary(row.subject, row.start)), row.expected);
    EXPECT_TRUE(pair.agreesOnThePattern());
}

std::string nameOf(const ::testing::TestParamInfo<Case> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Compiler, ReferenceTest, ::testing::ValuesIn(compilerCases()), nameOf);
INSTANTIATE_TEST_SUITE_P(Matcher, ReferenceTest, ::testing::ValuesIn(matcherCases()), nameOf);

class EngineTest : public LibraryTest
{
protected:
    void compare(const Pair &pair, std::u16string_view pattern, std::u16string_view subject,
                 int start)
    {
        const Answer expected = pair.byReference(subject, start, fewSteps);
        if (expected.outcome == Outcome::stopped) {
            ++skipped;
            return;
        }
        ++compared;
        EXPECT_EQ(textOf(pair.byLibrary(subject, start)), textOf(expected))
            << printable(pattern) << " on \"" << printable(subject) << "\" from " << start;
    }

    // Every pattern of up to three pieces, and every subject of up to `longest` letters.
    void compareAll(const std::vector<std::u16string> &pieces,
                    const std::vector<std::u16string> &letters, int longest)
    {
        const std::vector<std::u16string> subjects = allTexts(letters, longest);
        for (const std::u16string &pattern : allTexts(pieces, 3)) {
            const Pair pair(pattern, 0);
            EXPECT_TRUE(pair.agreesOnThePattern()) << printable(pattern);
            for (const std::u16string &subject : subjects)
                compare(pair, pattern, subject, 0);
            if (HasFailure())
                break;
        }
        EXPECT_EQ(skipped, 0);
    }

    int compared = 0;
    int skipped = 0;
};

TEST_F(EngineTest, AnswersRandomQuestionsAsTheReferenceDoes)
{
    Generator generator(20, u"abc");
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        const std::u16string pattern = generator.pattern();
        const Pair pair(pattern, generator.flags());
        EXPECT_TRUE(pair.agreesOnThePattern()) << printable(pattern);
        for (int j = 0; j < 4; ++j) {
            const std::u16string subject = generator.subject();
            compare(pair, pattern, subject, generator.start(static_cast<int>(subject.size())));
        }
    }
    EXPECT_GT(compared, 19000);
    EXPECT_LT(skipped, 200);
}

TEST_F(EngineTest, AnswersQuestionsOfWordsAsTheReferenceDoes)
{
    Generator generator(21, u"abc");
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
        const std::u16string pattern = generator.wordPattern();
        const Pair pair(pattern, generator.flags());
        EXPECT_TRUE(pair.agreesOnThePattern()) << printable(pattern);
        for (int j = 0; j < 4; ++j)
            compare(pair, pattern, generator.wordSubject(30), 0);
    }
    EXPECT_GT(compared, 5800);
    EXPECT_LT(skipped, 200);
}

TEST_F(EngineTest, AnswersAllShortQuestionsAsTheReferenceDoes)
{
    compareAll({u"a", u"b", u"(", u")", u"|", u"*", u"?", u".", u"[", u"]", u"^", u"\\1"},
               {u"a", u"b"}, 3);
}

// Where a search may begin depends on what the first pieces take.
TEST_F(EngineTest, AnswersAllShortQuestionsOfRepetitionsAsTheReferenceDoes)
{
    compareAll({u"a*", u"b?", u"a+?", u"b{2}", u"a", u"c", u".", u"[^a]", u"(b)*", u"(?:a|b)*"},
               {u"a", u"b", u"c"}, 4);
}

TEST(GeneratorTest, GivesTheSameForTheSameSeed)
{
    Generator one(7, u"ab");
    Generator other(7, u"ab");
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(one.pattern(), other.pattern());
        EXPECT_EQ(one.subject(), other.subject());
        EXPECT_EQ(one.flags(), other.flags());
        EXPECT_EQ(one.start(5), other.start(5));
    }
}

TEST(GeneratorTest, AllTextsAreAllSequencesShortestFirst)
{
    const std::vector<std::u16string> expected = {u"", u"a", u"b", u"aa", u"ba", u"ab", u"bb"};
    EXPECT_EQ(allTexts({u"a", u"b"}, 2), expected);
}

} // namespace
} // namespace Tavrin::test::reference
