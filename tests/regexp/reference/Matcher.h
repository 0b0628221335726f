// SPDX-License-Identifier: MIT
#pragma once

#include "regexp/reference/Pattern.h"

namespace Tavrin::test::reference {

constexpr int ignoreCase = 2;
constexpr int multiLine = 4;

struct Span
{
    int start = -1; // -1 where the group is not set
    int end = 0;

    bool operator==(const Span &) const = default;
};
using Spans = std::vector<Span>;

// Stopped: the search took more steps than it was given.
enum class Outcome
{
    match,
    noMatch,
    stopped
};

// Searches from that position on. The spans are an array like that of the library: one entry for
// each capture. A step is one node tried once.
Outcome search(const Pattern &pattern, std::u16string_view subject, int start, int flags,
               Spans &captures, std::int64_t steps);

} // namespace Tavrin::test::reference
