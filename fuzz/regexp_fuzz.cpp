// SPDX-License-Identifier: MIT
// Regular expressions: any pattern over any subject. What is found lies in the subject, all engines
// agree, and a search that is stopped has found nothing.
#include <memory>

#include <tavrin/RegExp.h>
#include <tavrin/String.h>

#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

constexpr std::int64_t steps = 20000;

// The first line of an input is flags and pattern, the rest is the subject.
struct Input
{
    String pattern;
    String subject;
    int flags = 0;
};

Input inputOf(const std::uint8_t *data, std::size_t size)
{
    Input input;
    if (size == 0)
        return input;
    input.flags = data[0] & 6;
    const bool isWide = (data[0] & 1) != 0;
    String *text = &input.pattern;
    for (std::size_t at = 1; at < size; ++at) {
        if (data[at] == '\n' && text == &input.pattern)
            text = &input.subject;
        else if (isWide && data[at] >= 0xF0 && at + 1 < size)
            text->append(static_cast<unsigned short>(data[at] << 8 | data[at + 1]));
        else
            text->append(static_cast<unsigned short>(data[at]));
    }
    return input;
}

void requireSound(const Capture &capture, const String &subject)
{
    if (capture.isSet())
        fuzz::require(capture.start <= capture.end && capture.end <= subject.length(),
                      "a capture lies in the subject");
}

MatchResult search(const RegExp &expression, const String &subject, Capture *captures)
{
    const MatchResult result = expression.match(subject, 0, *captures, steps);
    for (int index = 0; index < expression.getCaptureLength(); ++index) {
        fuzz::require(result == kMatch || !captures[index].isSet(), "no match, no capture");
        if (result == kMatch)
            requireSound(captures[index], subject);
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    const Input input = inputOf(data, size);
    const RegExp expression(input.pattern, input.flags);
    const std::unique_ptr<Capture[]> captures(expression.createCaptureList());
    const MatchResult result = search(expression, input.subject, captures.get());
    if (!expression.good()) {
        fuzz::require(result == kNoMatch, "a bad pattern matches nothing");
        return 0;
    }
    // A lookahead that always succeeds keeps the pattern from the searches for simple ones.
    const RegExp plain(input.pattern + "(?=)", input.flags);
    if (!plain.good() || plain.getCaptureLength() != expression.getCaptureLength() ||
        input.pattern.find("|", 0, false) >= 0 || input.pattern.find("{", 0, false) >= 0)
        return 0;
    const std::unique_ptr<Capture[]> others(plain.createCaptureList());
    const MatchResult other = search(plain, input.subject, others.get());
    if (result == kMatchStopped || other == kMatchStopped)
        return 0;
    fuzz::require(result == other, "both searches find the same");
    const Capture *ours = captures.get();
    const Capture *theirs = others.get();
    for (int left = expression.getCaptureLength(); left > 0; --left, ++ours, ++theirs)
        fuzz::require(ours->start == theirs->start && (!ours->isSet() || ours->end == theirs->end),
                      "at the same place");
    return 0;
}
