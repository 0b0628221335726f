// SPDX-License-Identifier: MIT
// Each quantifier and each alternative remembers the choice that it is on. A sequence is tried;
// when it fails, the last choice moves on and the sequence is tried again from there. Pinned by
// tests/regexp/ReferenceTest.cpp.
#include "regexp/reference/Matcher.h"

#include <algorithm>
#include <set>

#include <tavrin/UnicodeUtils.h>

namespace Tavrin::test::reference {

namespace {

struct QuantifierState
{
    int limit = 0;   // rounds that the next attempt may run
    int reached = 0; // the most rounds so far
    bool settled = false;
};

struct OutOfSteps
{};

bool isLineEnd(char16_t unit)
{
    return unit == 13 || unit == 10 || unit == 0x2028 || unit == 0x2029;
}

bool isWordUnit(char16_t unit)
{
    return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') ||
           (unit >= 'a' && unit <= 'z') || unit == '_';
}

class Matcher
{
public:
    Matcher(const Pattern &newPattern, std::u16string_view newSubject, int newFlags,
            Spans &newCaptures, std::int64_t steps)
        : pattern(newPattern),
          subject(newSubject),
          length(static_cast<int>(newSubject.size())),
          flags(newFlags),
          captures(newCaptures),
          stepsLeft(steps),
          quantifiers(static_cast<std::size_t>(newPattern.quantifiers)),
          alternatives(static_cast<std::size_t>(newPattern.alternatives))
    {}

    bool search(int start);

private:
    using WholeState = std::vector<int>;

    bool runSequence(const Chain &chain, std::size_t first);
    WholeState wholeState() const;

    bool match(const Node &node);
    bool retry(const Node &node);
    void reset(const Node &node);
    void nextRound(const Node &node);
    void clearCaptures(const Node &node);

    bool matchAll(const Chain &chain);
    bool retryFromTail(const Chain &chain);
    void resetAll(const Chain &chain);

    bool matchText(std::u16string_view text);
    bool matchBackReference(const Node &node);
    bool matchSet(const Node &node);
    bool matchBol();
    bool matchEol();
    bool matchAnyChar(const Node &node);
    bool matchWordBoundary(const Node &node);
    bool matchGroup(const Node &node);
    bool matchQuantifier(const Node &node);
    bool retryQuantifier(const Node &node);
    bool matchAlternative(const Node &node);
    bool retryAlternative(const Node &node);

    bool ignoresCase() const { return (flags & ignoreCase) != 0; }
    bool isMultiLine() const { return (flags & multiLine) != 0; }
    bool isAtEnd() const { return position == length; }
    char16_t unitAt(int index) const { return subject[static_cast<std::size_t>(index)]; }
    QuantifierState &quantifierOf(const Node &node)
    {
        return quantifiers[static_cast<std::size_t>(node.state)];
    }
    int &branchOf(const Node &node) { return alternatives[static_cast<std::size_t>(node.state)]; }
    Span &captureOf(const Node &node) { return captures[static_cast<std::size_t>(node.number)]; }

    const Pattern &pattern;
    std::u16string_view subject;
    int length;
    int flags;
    Spans &captures;
    std::int64_t stepsLeft;
    int position = 0;
    std::vector<QuantifierState> quantifiers;
    std::vector<int> alternatives; // the index of the branch that each is on
};

bool Matcher::search(int start)
{
    resetAll(*pattern.root);
    for (Span &capture : captures)
        capture.start = -1;
    if (start < 0 || (length > 0 && start >= length))
        return false;
    bool found = false;
    for (int candidate = start; candidate <= length && !found; ++candidate) {
        position = candidate;
        found = runSequence(*pattern.root, 0);
        if (found)
            captures[0] = {candidate, position};
    }
    if (!found)
        for (Span &capture : captures)
            capture.start = -1;
    return found;
}

bool Matcher::runSequence(const Chain &chain, std::size_t first)
{
    std::size_t index = first;
    int start = position;
    while (index < chain.size() && !chain[index]->backtrackable) {
        if (!match(*chain[index]))
            return false;
        ++index;
        start = position;
    }
    if (index == chain.size())
        return true;
    const Node &choice = *chain[index];
    std::set<WholeState> seen;
    // What follows from a state that was there before is what followed the first time: such a
    // search would never end, and its choices are as good as used up.
    while (seen.insert(wholeState()).second) {
        position = start;
        if (match(choice) && runSequence(chain, index + 1))
            return true;
        if (!retry(choice))
            break;
    }
    reset(choice);
    return false;
}

// Everything that the search can depend on but the position. Captures that are not set are alike.
Matcher::WholeState Matcher::wholeState() const
{
    WholeState state;
    for (const QuantifierState &quantifier : quantifiers)
        state.insert(state.end(), {quantifier.limit, quantifier.reached, quantifier.settled});
    state.insert(state.end(), alternatives.begin(), alternatives.end());
    for (const Span &capture : captures)
        state.insert(state.end(), {capture.start, capture.start == -1 ? 0 : capture.end});
    return state;
}

bool Matcher::match(const Node &node)
{
    if (stepsLeft-- <= 0)
        throw OutOfSteps();
    switch (node.kind) {
    case Kind::bol:
        return matchBol();
    case Kind::eol:
        return matchEol();
    case Kind::anyChar:
        return matchAnyChar(node);
    case Kind::string:
        return matchText(node.text);
    case Kind::backReference:
        return matchBackReference(node);
    case Kind::quantifier:
        return matchQuantifier(node);
    case Kind::alternative:
        return matchAlternative(node);
    case Kind::group:
        return matchGroup(node);
    case Kind::set:
        return matchSet(node);
    case Kind::wordBoundary:
        return matchWordBoundary(node);
    }
    return false;
}

bool Matcher::retry(const Node &node)
{
    switch (node.kind) {
    case Kind::quantifier:
        return retryQuantifier(node);
    case Kind::alternative:
        return retryAlternative(node);
    case Kind::group:
        if (node.groupKind == GroupKind::ahead || node.groupKind == GroupKind::notAhead)
            return false;
        captureOf(node).start = -1;
        return retryFromTail(node.children);
    default:
        return false;
    }
}

void Matcher::reset(const Node &node)
{
    if (node.kind == Kind::quantifier) {
        QuantifierState &state = quantifierOf(node);
        state.reached = 0;
        state.limit = node.lazy ? node.minimum : node.maximum;
    }
    if (node.kind == Kind::alternative)
        branchOf(node) = 0;
    resetAll(node.children);
    for (const Branch &branch : node.branches)
        resetAll(branch.atoms);
}

// A round of a quantifier around the node is over: alternatives begin again, whatever lies in
// their branches stays as it is.
void Matcher::nextRound(const Node &node)
{
    if (node.kind == Kind::alternative)
        branchOf(node) = 0;
    for (const auto &child : node.children)
        nextRound(*child);
}

// Forgets the captures from this group on.
void Matcher::clearCaptures(const Node &node)
{
    if (node.kind != Kind::group)
        return;
    auto index = static_cast<std::size_t>(node.number);
    if (node.groupKind != GroupKind::capture)
        ++index;
    for (; index < captures.size(); ++index)
        captures[index].start = -1;
}

bool Matcher::matchAll(const Chain &chain)
{
    return std::all_of(chain.begin(), chain.end(),
                       [this](const auto &node) { return match(*node); });
}

bool Matcher::retryFromTail(const Chain &chain)
{
    return std::any_of(chain.rbegin(), chain.rend(), [this](const auto &node) {
        if (retry(*node))
            return true;
        reset(*node);
        return false;
    });
}

void Matcher::resetAll(const Chain &chain)
{
    for (const auto &node : chain)
        reset(*node);
}

bool Matcher::matchText(std::u16string_view text)
{
    for (char16_t wanted : text) {
        if (isAtEnd())
            return false;
        char16_t found = unitAt(position);
        if (ignoresCase()) {
            wanted = static_cast<char16_t>(UnicodeUtils::towlower(wanted));
            found = static_cast<char16_t>(UnicodeUtils::towlower(found));
        }
        if (found != wanted)
            return false;
        ++position;
    }
    return true;
}

bool Matcher::matchBackReference(const Node &node)
{
    if (node.number >= static_cast<int>(captures.size()))
        return false;
    const Span group = captureOf(node);
    if (group.start == -1)
        return true;
    return matchText(subject.substr(static_cast<std::size_t>(group.start),
                                    static_cast<std::size_t>(group.end - group.start)));
}

bool Matcher::matchSet(const Node &node)
{
    if (isAtEnd())
        return false;
    const char16_t unit = unitAt(position);
    const bool isMember = ignoresCase() ? node.members[UnicodeUtils::towlower(unit)] ||
                                              node.members[UnicodeUtils::towupper(unit)]
                                        : node.members[unit];
    if (isMember == node.negated)
        return false;
    ++position;
    return true;
}

bool Matcher::matchBol()
{
    return position == 0 || (isMultiLine() && isLineEnd(unitAt(position - 1)));
}

bool Matcher::matchEol()
{
    return isAtEnd() || (isMultiLine() && isLineEnd(unitAt(position)));
}

bool Matcher::matchAnyChar(const Node &node)
{
    for (int i = 0; i < node.dots; ++i) {
        if (isAtEnd() || unitAt(position) == 10)
            return false;
        ++position;
    }
    return true;
}

// The end of the subject passes for both, a boundary and none.
bool Matcher::matchWordBoundary(const Node &node)
{
    if (isAtEnd())
        return true;
    const bool isWordBefore = position > 0 && isWordUnit(unitAt(position - 1));
    const bool isBoundary = isWordBefore != isWordUnit(unitAt(position));
    return isBoundary != node.negated;
}

// The children are matched once: choices among them are for the sequence that holds the group.
bool Matcher::matchGroup(const Node &node)
{
    const int start = position;
    const bool matched = matchAll(node.children);
    switch (node.groupKind) {
    case GroupKind::capture:
        if (matched)
            captureOf(node) = {start, position};
        return matched;
    case GroupKind::plain:
        return matched;
    default:
        if (!matched)
            clearCaptures(node);
        position = start;
        return matched == (node.groupKind == GroupKind::ahead);
    }
}

bool Matcher::matchQuantifier(const Node &node)
{
    QuantifierState &state = quantifierOf(node);
    clearCaptures(*node.children.front());
    int count = 0;
    state.settled = false;
    std::optional<Spans> afterLastRound;
    while (count < state.limit) {
        const int start = position;
        if (isAtEnd())
            break;
        if (!matchAll(node.children)) {
            if (afterLastRound)
                captures = *afterLastRound;
            position = start;
            break;
        }
        for (const auto &child : node.children)
            nextRound(*child);
        ++count;
        if (position == start) {
            count = node.minimum;
            state.limit = node.minimum;
            state.settled = true;
            break;
        }
        afterLastRound = captures;
    }
    state.reached = std::max(state.reached, count);
    if (node.lazy && count < state.limit)
        state.limit = node.maximum;
    return count >= node.minimum;
}

bool Matcher::retryQuantifier(const Node &node)
{
    QuantifierState &state = quantifierOf(node);
    if (node.minimum >= node.maximum)
        return false;
    if (node.lazy) {
        if (state.limit < node.maximum && state.limit < length) {
            ++state.limit;
            return true;
        }
    } else if (state.limit > node.minimum) {
        if (state.limit > state.reached)
            state.limit = state.reached;
        if (state.limit > node.minimum)
            --state.limit;
        return true;
    }
    if (state.settled || !retryFromTail(node.children))
        return false;
    state.limit = node.lazy ? node.minimum : node.maximum;
    return true;
}

bool Matcher::matchAlternative(const Node &node)
{
    const Spans saved = captures;
    int &branch = branchOf(node);
    const int branches = static_cast<int>(node.branches.size());
    if (branch >= branches)
        return true;
    const int start = position;
    while (branch < branches) {
        const Branch &current = node.branches[static_cast<std::size_t>(branch)];
        position = start;
        if (matchAll(current.atoms))
            return true;
        if (current.backtrackable)
            break;
        ++branch;
    }
    position = start;
    captures = saved;
    return false;
}

bool Matcher::retryAlternative(const Node &node)
{
    int &branch = branchOf(node);
    const int branches = static_cast<int>(node.branches.size());
    if (branch >= branches)
        return false;
    if (retryFromTail(node.branches[static_cast<std::size_t>(branch)].atoms))
        return true;
    ++branch;
    return branch < branches;
}

} // namespace

Outcome search(const Pattern &pattern, std::u16string_view subject, int start, int flags,
               Spans &captures, std::int64_t steps)
{
    if (!pattern.good())
        return Outcome::noMatch;
    try {
        Matcher matcher(pattern, subject, flags, captures, steps);
        return matcher.search(start) ? Outcome::match : Outcome::noMatch;
    } catch (const OutOfSteps &) {
        return Outcome::stopped;
    }
}

} // namespace Tavrin::test::reference
