// SPDX-License-Identifier: MIT
// Answers questions about regular expressions, one a line, read from one named pipe and written to
// another: run.js asks them. A question is: flags, start, pattern and subject, the texts as four
// hexadecimal digits for each unit, or - when empty. The answer is "bad", "none", or the captures.
#include <fstream>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include <tavrin/InitTerm.h>

#include "regexp/reference/Comparison.h"

using namespace Tavrin;
using namespace Tavrin::test::reference;

namespace {

constexpr std::size_t digitsOfAUnit = 4;
constexpr std::int64_t amplySteps = 100'000'000;

std::u16string textOfDigits(const std::string &digits)
{
    std::u16string text;
    for (std::size_t at = 0; at + digitsOfAUnit <= digits.size(); at += digitsOfAUnit)
        text += static_cast<char16_t>(std::stoul(digits.substr(at, digitsOfAUnit), nullptr, 16));
    return text;
}

void answerAll(std::istream &questions, std::ostream &answers, bool byReference)
{
    int flags = 0;
    int start = 0;
    std::string pattern;
    std::string subject;
    while (questions >> flags >> start >> pattern >> subject) {
        const Pair pair(textOfDigits(pattern), flags);
        const std::u16string text = textOfDigits(subject);
        answers << textOf(byReference ? pair.byReference(text, start, amplySteps)
                                      : pair.byLibrary(text, start))
                << std::endl;
    }
}

} // namespace

int main(int argc, char **argv)
{
    std::string questions;
    std::string answers;
    bool byReference = false;
    CLI::App app("Answers questions about regular expressions");
    app.add_option("questions", questions, "the pipe to read from")->required();
    app.add_option("answers", answers, "the pipe to write to")->required();
    app.add_flag("--reference", byReference, "let the reference answer");
    CLI11_PARSE(app, argc, argv);
    InitTerm::init();
    {
        std::ifstream input(questions);
        std::ofstream output(answers);
        answerAll(input, output, byReference);
    }
    InitTerm::exit();
    return 0;
}
