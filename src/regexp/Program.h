// SPDX-License-Identifier: MIT
#pragma once

#include <limits>

#include "containers/Growing.h"
#include "regexp/UnitSet.h"

// A compiled pattern: a tree of nodes in one list, linked by their indexes.
namespace Tavrin::detail {

// No node; no capture.
inline constexpr int none = -1;

// A repetition without an upper bound.
inline constexpr int unbounded = std::numeric_limits<int>::max();

enum class NodeKind : unsigned char
{
    lineStart,
    lineEnd,
    anyUnit,
    literal,
    backReference,
    set,
    wordBoundary,
    quantifier,
    alternative,
    branch, // one of an alternative
    group,
};

enum class GroupKind : unsigned char
{
    capture,
    plain,    // (?:
    ahead,    // (?=
    notAhead, // (?!
};

// A part of the ids that quantifiers or alternatives have; a subtree has one.
struct IdRange
{
    int first;
    int end;

    bool isEmpty() const { return first == end; }
};

struct Node
{
    NodeKind kind;
    GroupKind group = GroupKind::plain;
    bool isLazy = false;
    bool isNegated = false;
    // Whether it holds choices that a retry may move through.
    bool isBacktrackable = false;
    // A quantifier over one atom that takes exactly one unit.
    bool isRun = false;
    // Whether a retry comes to it from the top level through nothing but groups, and before it to
    // nothing else.
    bool isOpen = false;
    // Whether its choices may come back to where they were: see CycleWatch.
    bool mayRecur = false;

    int next = none;
    int previous = none;
    int parent = none; // a branch, for an atom of an alternative
    int first = none;  // of the children; of a branch, its atoms
    int last = none;
    int firstChoice = none; // of the children, the first that holds choices

    // A quantifier's or alternative's id; a group's or a back reference's capture; a set's number;
    // a branch's bit in the masks.
    int index = 0;
    // A quantifier's bounds; a run of dots' count twice.
    int minimum = 0;
    int maximum = 0;
    // A literal's units.
    int offset = 0;
    int length = 0;

    // A quantifier's round forgets the captures from here on, none if there is no group in it.
    int clearsFrom = none;
    // The lowest capture that a match of it may write; unbounded if none.
    int writesFrom = unbounded;

    IdRange quantifiers{0, 0};
    IdRange alternatives{0, 0};
};

enum class ChainKind : unsigned char
{
    lineStart,
    lineEnd,
    boundary,
    anyUnits,
    literal,
    set,
    reference,
    open,  // a group begins
    close, // and ends
    run,
    choice, // of literals
};

// A step of a program that is a chain: see Chain.h.
struct ChainItem
{
    ChainKind kind;
    bool isLazy = false;
    bool isNegated = false;
    // A run whose other lengths cannot lead to a match.
    bool isPossessive = false;
    // What has to follow a run: a unit, or -1.
    int following = -1;
    int node = none; // that it was made of
    int index = 0;   // of the set or capture
    int offset = 0;  // of the literal's units
    int length = 0;  // of a literal or dots
    int minimum = 0;
    int maximum = 0;
};

// How a search finds the places where an attempt may succeed.
enum class StartKind : unsigned char
{
    everywhere,
    atSubjectStart,
    atLiteral,     // which stands `offset` units behind the start
    beforeLiteral, // which stands behind the first run
    atUnit,        // as the table says
    atChoice,      // of a branch, as the masks say
};

// Which branches of a choice may have a unit at each of their first places: a bit for each.
struct BranchMasks
{
    static constexpr int places = 3;
    static constexpr int mostBranches = 16;

    unsigned short low[places][256];
    unsigned short high[places]; // for the units above 255

    unsigned short at(int place, unsigned short unit) const
    {
        return unit < 256 ? low[place][unit] : high[place];
    }
};

struct StartPlan
{
    StartKind kind = StartKind::everywhere;
    bool takesHighUnits = false; // some unit above 255 may be the first
    int offset = 0;
    int literal = 0; // where its units begin
    int literalLength = 0;
    bool accepts[256];
};

struct Program
{
    Growing<Node, 8> nodes;
    Growing<unsigned short, 32> units; // of the literals, folded if case is ignored
    Growing<UnitSet, 1> sets;
    RangeList ranges;
    Growing<int, 4> quantifierNodes; // by id
    Growing<int, 4> alternativeNodes;

    // Set if the program is a chain.
    bool isChain = false;
    // A chain that begins with a run without upper bound, and does not look at what it captured:
    // a start within the run of another one fails as that one did.
    bool skipsRuns = false;
    // The item that takes units first, if it is a run without upper bound.
    int firstRun = none;
    int maskedChoice = none; // the item that the masks are of
    // The item that refers to what the first run took, when there is one more run between them, and
    // neither run can take another length.
    int repetition = none;
    Growing<ChainItem, 8> chain;
    int chainSlots = 0;
    StartPlan start;
    Growing<BranchMasks, 1> masks; // of a choice that a chain begins with

    int first = none; // of the top-level atoms; none for a pattern with an error
    int captureCount = 0;
    bool ignoresCase = false;
    bool isMultiLine = false;

    const unsigned short *textOf(const Node &literal) const
    {
        return units.data() + literal.offset;
    }
};

} // namespace Tavrin::detail
