// SPDX-License-Identifier: MIT
// The regular-expression engine beside the reference of tests/regexp/reference: random pairs of
// pattern and subject, or every short pattern with every short subject. Each difference is made as
// small as it gets and printed. Ends with 1 when there was one.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tavrin/InitTerm.h>

#include "regexp/reference/Comparison.h"
#include "regexp/reference/Generator.h"

using namespace Tavrin;
using namespace Tavrin::test::reference;

namespace {

struct Plan
{
    std::int64_t pairs = 1'000'000;
    std::uint64_t seed = 1;
    std::string letters = "abc";
    int subjectsForAPattern = 4;
    std::int64_t steps = 20'000; // of the reference; a pair that takes more is skipped
    int words = 0;               // the longest subject of words, or 0 for subjects of letters
    int most = 20;               // differences to show before the end

    bool isExhaustive = false;
    std::string pieces = "a b ( ) | * + ? . [ ] ^ $ \\ 1 { - ,";
    int longestPattern = 5;
    std::string subjectLetters = "a b";
    int longestSubject = 4;
    int flags = 0;
    std::uint64_t part = 0; // this process takes one pattern in so many
    std::uint64_t parts = 1;
};

struct Question
{
    std::u16string pattern;
    std::u16string subject;
    int flags = 0;
    int start = 0;
};

enum class Verdict
{
    agree,
    differ,
    skipped
};

std::u16string widened(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::vector<std::u16string> wordsOf(const std::string &text)
{
    std::vector<std::u16string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(widened(word));
    return words;
}

class Stress
{
public:
    explicit Stress(const Plan &newPlan) : plan(newPlan) {}

    void runRandom();
    void runExhaustive();
    bool report() const;

private:
    void compare(const Pair &pair, const Question &question);
    Verdict verdict(const Pair &pair, const Question &question);
    bool differs(const Question &question);
    Question smallest(Question question);
    bool removeOne(Question &question, std::u16string Question::*text);
    void show(const Question &question);
    bool isOver() const { return different >= plan.most; }

    const Plan &plan;
    std::int64_t patterns = 0;
    std::int64_t goodPatterns = 0;
    std::int64_t pairs = 0;
    std::int64_t matches = 0;
    std::int64_t skipped = 0;
    int different = 0;
};

Verdict Stress::verdict(const Pair &pair, const Question &question)
{
    const Answer expected = pair.byReference(question.subject, question.start, plan.steps);
    if (expected.outcome == Outcome::stopped)
        return Verdict::skipped;
    if (expected.outcome == Outcome::match)
        ++matches;
    return pair.byLibrary(question.subject, question.start) == expected ? Verdict::agree
                                                                        : Verdict::differ;
}

void Stress::compare(const Pair &pair, const Question &question)
{
    ++pairs;
    switch (verdict(pair, question)) {
    case Verdict::agree:
        return;
    case Verdict::skipped:
        ++skipped;
        return;
    case Verdict::differ:
        ++different;
        show(question);
        show(smallest(question));
    }
}

bool Stress::differs(const Question &question)
{
    const Pair pair(question.pattern, question.flags);
    return verdict(pair, question) == Verdict::differ;
}

bool Stress::removeOne(Question &question, std::u16string Question::*text)
{
    for (std::size_t at = 0; at < (question.*text).size(); ++at)
        for (const std::size_t count : {std::size_t{2}, std::size_t{1}}) {
            Question shorter = question;
            (shorter.*text).erase(at, count);
            if (differs(shorter)) {
                question = std::move(shorter);
                return true;
            }
        }
    return false;
}

Question Stress::smallest(Question question)
{
    for (const int flags : {0, question.flags & ignoreCase, question.flags & multiLine}) {
        Question plainer = question;
        plainer.flags = flags;
        if (differs(plainer)) {
            question = std::move(plainer);
            break;
        }
    }
    Question fromZero = question;
    fromZero.start = 0;
    if (differs(fromZero))
        question = std::move(fromZero);
    while (removeOne(question, &Question::pattern) || removeOne(question, &Question::subject)) {}
    return question;
}

void Stress::show(const Question &question)
{
    const Pair pair(question.pattern, question.flags);
    const Answer expected = pair.byReference(question.subject, question.start, plan.steps);
    const Answer found = pair.byLibrary(question.subject, question.start);
    std::printf("pattern %s   subject \"%s\"   flags %d   start %d   expected %s   got %s%s\n",
                printable(question.pattern).c_str(), printable(question.subject).c_str(),
                question.flags, question.start, textOf(expected).c_str(), textOf(found).c_str(),
                pair.agreesOnThePattern() ? "" : "   (captures or goodness of the pattern)");
    std::fflush(stdout);
}

void Stress::runRandom()
{
    Generator generator(plan.seed, widened(plan.letters));
    while (pairs < plan.pairs && !isOver()) {
        Question question;
        question.pattern = plan.words > 0 ? generator.wordPattern() : generator.pattern();
        question.flags = generator.flags();
        const Pair pair(question.pattern, question.flags);
        ++patterns;
        goodPatterns += pair.good();
        for (int i = 0; i < plan.subjectsForAPattern; ++i) {
            question.subject =
                plan.words > 0 ? generator.wordSubject(plan.words) : generator.subject();
            question.start = generator.start(static_cast<int>(question.subject.size()));
            compare(pair, question);
        }
    }
}

void Stress::runExhaustive()
{
    const std::vector<std::u16string> subjects =
        allTexts(wordsOf(plan.subjectLetters), plan.longestSubject);
    const std::vector<std::u16string> pieces = wordsOf(plan.pieces);
    std::uint64_t number = 0;
    for (int length = 0; length <= plan.longestPattern; ++length) {
        Sequences sequences(pieces, length);
        do {
            if (number++ % plan.parts != plan.part)
                continue;
            Question question;
            question.pattern = sequences.text();
            question.flags = plan.flags;
            const Pair pair(question.pattern, question.flags);
            ++patterns;
            goodPatterns += pair.good();
            for (const std::u16string &subject : subjects) {
                question.subject = subject;
                compare(pair, question);
                if (isOver())
                    return;
                if (!pair.good())
                    break; // the subject makes no difference
            }
        } while (sequences.next());
        std::printf("up to %d pieces: %lld patterns, %lld pairs\n", length,
                    static_cast<long long>(patterns), static_cast<long long>(pairs));
        std::fflush(stdout);
    }
}

bool Stress::report() const
{
    std::printf("%lld patterns (%lld good), %lld pairs, %lld matches, %lld skipped, %d different\n",
                static_cast<long long>(patterns), static_cast<long long>(goodPatterns),
                static_cast<long long>(pairs), static_cast<long long>(matches),
                static_cast<long long>(skipped), different);
    return different == 0;
}

bool run(const Plan &plan)
{
    Stress stress(plan);
    if (plan.isExhaustive)
        stress.runExhaustive();
    else
        stress.runRandom();
    return stress.report();
}

} // namespace

int main(int argc, char **argv)
{
    Plan plan;
    bool isQuick = false;
    CLI::App app("The regular-expression engine beside its reference");
    app.add_option("--pairs", plan.pairs, "random pairs of pattern and subject");
    app.add_option("--seed", plan.seed, "of the random pairs");
    app.add_option("--letters", plan.letters, "of the random patterns and subjects");
    app.add_option("--words", plan.words, "random subjects of words, up to that many units");
    app.add_option("--subjects", plan.subjectsForAPattern, "for each random pattern");
    app.add_option("--steps", plan.steps, "of the reference, before it gives up on a pair");
    app.add_option("--most", plan.most, "differences to show before the end");
    app.add_flag("--exhaustive", plan.isExhaustive, "every short pattern and every short subject");
    app.add_option("--pieces", plan.pieces, "of the exhaustive patterns, with spaces between");
    app.add_option("--longest", plan.longestPattern, "exhaustive pattern, in pieces");
    app.add_option("--subject-letters", plan.subjectLetters, "with spaces between");
    app.add_option("--longest-subject", plan.longestSubject, "exhaustive subject");
    app.add_option("--flags", plan.flags, "of the exhaustive patterns");
    app.add_option("--part", plan.part, "of the exhaustive patterns, from 0 on");
    app.add_option("--parts", plan.parts, "that the exhaustive patterns are dealt to");
    app.add_flag("--quick", isQuick, "a few thousand of the pairs");
    CLI11_PARSE(app, argc, argv);
    if (isQuick) {
        plan.pairs = 20'000;
        plan.longestPattern = 3;
    }
    InitTerm::init();
    const bool passed = run(plan);
    InitTerm::exit();
    return passed ? 0 : 1;
}
