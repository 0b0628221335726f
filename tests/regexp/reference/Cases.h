// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string_view>

namespace Tavrin::test::reference {

// What a search must answer, found with pencil and paper.
struct Case
{
    const char *name;
    std::u16string_view pattern;
    std::u16string_view subject;
    // "bad", "none", or the captures: "0-3 1-2 -", the whole match first, - where a group is not
    // set.
    const char *expected;
    int flags = 0;
    int start = 0;
};

std::span<const Case> compilerCases();
std::span<const Case> matcherCases();

} // namespace Tavrin::test::reference
