// SPDX-License-Identifier: MIT
#include "regexp/reference/Comparison.h"

#include <array>
#include <cstdio>
#include <memory>

#include <tavrin/String.h>

namespace Tavrin::test::reference {

namespace {

// Far more than what the reference needs for its small share.
constexpr std::int64_t librarySteps = 100'000'000;

} // namespace

std::string textOf(const Answer &answer)
{
    if (!answer.good)
        return "bad";
    if (answer.outcome != Outcome::match)
        return answer.outcome == Outcome::noMatch ? "none" : "stopped";
    std::string text;
    for (const Span &capture : answer.captures) {
        if (!text.empty())
            text += ' ';
        text += capture.start < 0
                    ? "-"
                    : std::to_string(capture.start) + "-" + std::to_string(capture.end);
    }
    return text;
}

std::string printable(std::u16string_view text)
{
    std::string result;
    for (const char16_t unit : text) {
        if (unit >= ' ' && unit <= '~') {
            result += static_cast<char>(unit);
        } else {
            std::array<char, 8> escaped;
            std::snprintf(escaped.data(), escaped.size(), "\\u%04X", unsigned{unit});
            result += escaped.data();
        }
    }
    return result;
}

Pair::Pair(std::u16string_view pattern, int newFlags)
    : flags(newFlags), reference(compile(pattern)), library(String(pattern), newFlags)
{}

bool Pair::agreesOnThePattern() const
{
    return reference.good() == library.good() && reference.captures == library.getCaptureLength();
}

Answer Pair::byReference(std::u16string_view subject, int start, std::int64_t steps) const
{
    Answer answer;
    answer.good = reference.good();
    answer.captureLength = reference.captures;
    Spans captures(static_cast<std::size_t>(reference.captures));
    answer.outcome = search(reference, subject, start, flags, captures, steps);
    if (answer.outcome == Outcome::match)
        answer.captures = std::move(captures);
    for (Span &capture : answer.captures)
        if (capture.start < 0)
            capture = {};
    return answer;
}

Answer Pair::byLibrary(std::u16string_view subject, int start) const
{
    Answer answer;
    answer.good = library.good();
    answer.captureLength = library.getCaptureLength();
    const std::unique_ptr<Capture[]> captures(library.createCaptureList());
    const MatchResult result = library.match(String(subject), start, *captures.get(), librarySteps);
    answer.outcome = result == kMatch     ? Outcome::match
                     : result == kNoMatch ? Outcome::noMatch
                                          : Outcome::stopped;
    if (answer.outcome != Outcome::match)
        return answer;
    for (int i = 0; i < answer.captureLength; ++i) {
        const Capture &capture = captures[static_cast<std::size_t>(i)];
        answer.captures.push_back(capture.isSet() ? Span{capture.start, capture.end} : Span{});
    }
    return answer;
}

} // namespace Tavrin::test::reference
