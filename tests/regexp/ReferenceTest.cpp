// SPDX-License-Identifier: MIT
// The reference itself, beside answers found with pencil and paper.
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "regexp/reference/Cases.h"
#include "regexp/reference/Matcher.h"

namespace Tavrin::test::reference {

void PrintTo(const Case &row, std::ostream *out)
{
    *out << row.name;
}

namespace {

constexpr std::int64_t amplySteps = 100000;

std::string textOf(const Spans &captures)
{
    std::string text;
    for (const Span &capture : captures) {
        if (!text.empty())
            text += ' ';
        text += capture.start < 0
                    ? "-"
                    : std::to_string(capture.start) + "-" + std::to_string(capture.end);
    }
    return text;
}

std::string answerTo(const Case &row)
{
    const Pattern pattern = compile(row.pattern);
    if (!pattern.good())
        return "bad";
    Spans captures(static_cast<std::size_t>(pattern.captures));
    switch (search(pattern, row.subject, row.start, row.flags, captures, amplySteps)) {
    case Outcome::match:
        return textOf(captures);
    case Outcome::noMatch:
        return "none";
    case Outcome::stopped:
        break;
    }
    return "stopped";
}

class ReferenceTest : public ::testing::TestWithParam<Case>
{};

TEST_P(ReferenceTest, AnswersAsTheRulesSay)
{
    EXPECT_EQ(answerTo(GetParam()), GetParam().expected);
}

std::string nameOf(const ::testing::TestParamInfo<Case> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Compiler, ReferenceTest, ::testing::ValuesIn(compilerCases()), nameOf);
INSTANTIATE_TEST_SUITE_P(Matcher, ReferenceTest, ::testing::ValuesIn(matcherCases()), nameOf);

} // namespace
} // namespace Tavrin::test::reference
