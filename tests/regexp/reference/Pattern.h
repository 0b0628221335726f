// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tavrin::test::reference {

// The regular-expression engine a second time, in the words of its rules and without any haste:
// Pattern is what the compiler makes, Matcher (Matcher.h) runs it. Nothing is shared with the
// library but the case mapping of single units.

struct Node;
// A sequence of nodes, in the order of the pattern.
using Chain = std::vector<std::unique_ptr<Node>>;

enum class Kind
{
    bol,
    eol,
    anyChar,
    string,
    backReference,
    quantifier,
    alternative,
    group,
    set,
    wordBoundary
};

enum class GroupKind
{
    capture,
    plain,
    ahead,
    notAhead
};

constexpr int noMaximum = std::numeric_limits<int>::max();
constexpr std::size_t unitCount = 0x10000;

struct Branch
{
    Chain atoms;
    bool backtrackable = false;
};

struct Node
{
    explicit Node(Kind newKind) : kind(newKind) {}

    Kind kind;
    bool backtrackable = false;
    int dots = 0;        // anyChar
    std::u16string text; // string
    int number = 0;      // the group of a backReference, the capture of a group
    int state = 0;       // of a quantifier or an alternative
    int minimum = 0;     // quantifier
    int maximum = 0;     // quantifier
    bool lazy = false;   // quantifier
    GroupKind groupKind = GroupKind::plain;
    Chain children;               // of a group or a quantifier
    std::vector<Branch> branches; // of an alternative
    std::vector<bool> members;    // of a set: one for each unit
    bool negated = false;         // set and wordBoundary
};

struct Pattern
{
    // Nothing when the pattern is bad.
    std::optional<Chain> root;
    // The groups and one for the whole match; 0 when the pattern is bad.
    int captures = 0;
    int quantifiers = 0;
    int alternatives = 0;

    bool good() const { return root.has_value(); }
};

Pattern compile(std::u16string_view text);

} // namespace Tavrin::test::reference
