// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include <tavrin/RegExp.h>

#include "regexp/reference/Matcher.h"

namespace Tavrin::test::reference {

// What a search has come to, for either of the two.
struct Answer
{
    bool good = false;
    int captureLength = 0;
    Outcome outcome = Outcome::noMatch;
    Spans captures; // of a match; the end of one that is not set is 0

    bool operator==(const Answer &) const = default;
};

// "bad", "none", "stopped", or the captures as in "0-3 1-2 -".
std::string textOf(const Answer &answer);

// A pattern or subject with everything but printable ASCII as \uXXXX.
std::string printable(std::u16string_view text);

// Pair: one pattern, compiled by the library and by the reference.
class Pair
{
public:
    Pair(std::u16string_view pattern, int newFlags);

    Answer byReference(std::u16string_view subject, int start, std::int64_t steps) const;
    Answer byLibrary(std::u16string_view subject, int start) const;

    bool good() const { return reference.good(); }
    // Whether both find the pattern good or bad, and count the same captures.
    bool agreesOnThePattern() const;

private:
    int flags;
    Pattern reference;
    RegExp library;
};

} // namespace Tavrin::test::reference
