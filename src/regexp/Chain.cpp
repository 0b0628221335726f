// SPDX-License-Identifier: MIT
// Which programs are chains, and what is known about them before any subject is.
// Pinned by tests/regexp/ChainTest.cpp, which searches by both ways.
#include "regexp/Chain.h"

#include <algorithm>
#include <cstring>

namespace Tavrin::detail {

namespace {

class ChainPlanner
{
public:
    explicit ChainPlanner(Program &itsProgram) : program(itsProgram) {}

    bool build();
    void linkRuns();
    void planStart();

private:
    bool addNode(int index);
    bool addGroup(const Node &group, int index);
    bool addSimple(const Node &atom, int index);
    bool addRun(const Node &quantifier, int index);
    bool addChoice(const Node &alternative, int index);
    bool isOpen(int capture) const;
    bool isRetried(int index) const;

    int nextConsuming(int item) const;
    bool areApart(const Node &run, const ChainItem &next) const;
    bool takesHigh(const Node &atom) const;
    bool accepts(const Node &atom, unsigned short unit) const;
    const Node &atomOf(const ChainItem &item) const;
    int fixedWidth(const ChainItem &item) const;
    bool planLiteral(int first);
    bool planRunAndLiteral(int first);
    bool planChoice(const ChainItem &choice);
    void planRepetition();
    bool isWord(const Node &atom) const;
    bool endsAtBoundary(int run) const;
    bool beginsApart(const Node &run, const ChainItem &reference) const;
    void planUnits(const ChainItem &first);

    const Node &node(int index) const { return program.nodes[index]; }
    unsigned short foldedIfNeeded(unsigned unit) const
    {
        const auto narrow = static_cast<unsigned short>(unit);
        return program.ignoresCase ? toLowerUnit(narrow) : narrow;
    }

    Program &program;
    int openedCaptures = 0;
};

// Goes through the tree in order; groups leave an item behind them as well.
bool ChainPlanner::build()
{
    constexpr int mostNodes = 256; // some questions look back at all of them
    int at = program.first;
    for (int visited = 0; at != none; ++visited) {
        if (visited == mostNodes || !addNode(at))
            return false;
        if (node(at).kind == NodeKind::group && node(at).first != none) {
            at = node(at).first;
            continue;
        }
        for (;;) {
            const Node &done = node(at);
            if (done.kind == NodeKind::group && done.group == GroupKind::capture)
                program.chain.push({.kind = ChainKind::close, .node = at, .index = done.index});
            if (done.next != none || done.parent == none) {
                at = done.next;
                break;
            }
            at = done.parent;
        }
    }
    return true;
}

bool ChainPlanner::addNode(int index)
{
    const Node &added = node(index);
    switch (added.kind) {
    case NodeKind::group:
        return addGroup(added, index);
    case NodeKind::quantifier:
        return addRun(added, index);
    case NodeKind::alternative:
        return addChoice(added, index);
    default:
        return addSimple(added, index);
    }
}

// Whether the group has begun and not ended.
bool ChainPlanner::isOpen(int capture) const
{
    int state = 0;
    for (int item = 0; item < program.chain.size(); ++item) {
        if (program.chain[item].index == capture && program.chain[item].kind == ChainKind::open)
            state = 1;
        if (program.chain[item].index == capture && program.chain[item].kind == ChainKind::close)
            state = 2;
    }
    return state == 1;
}

// Whether a retry may come to the node.
bool ChainPlanner::isRetried(int index) const
{
    for (; index != none; index = node(index).parent)
        if (node(index).isBacktrackable)
            return true;
    return false;
}

bool ChainPlanner::addGroup(const Node &group, int index)
{
    switch (group.group) {
    case GroupKind::capture: // each with a number of its own
        if (group.index != openedCaptures + 1)
            return false;
        ++openedCaptures;
        program.chain.push({.kind = ChainKind::open, .node = index, .index = group.index});
        return true;
    case GroupKind::plain: // D-333: its retry forgets a capture, which is set again if it is open
        return group.index == 0 || !isRetried(index) || isOpen(group.index);
    default:
        return false;
    }
}

bool ChainPlanner::addSimple(const Node &atom, int index)
{
    ChainItem item{.kind = ChainKind::literal, .node = index};
    item.index = atom.index;
    item.offset = atom.offset;
    item.length = atom.length;
    item.isNegated = atom.isNegated;
    switch (atom.kind) {
    case NodeKind::lineStart:
        item.kind = ChainKind::lineStart;
        break;
    case NodeKind::lineEnd:
        item.kind = ChainKind::lineEnd;
        break;
    case NodeKind::wordBoundary:
        item.kind = ChainKind::boundary;
        break;
    case NodeKind::anyUnit:
        item.kind = ChainKind::anyUnits;
        break;
    case NodeKind::set:
        item.kind = ChainKind::set;
        break;
    case NodeKind::backReference: // only to what this attempt has captured
        if (atom.index == 0 || atom.index > openedCaptures || isOpen(atom.index))
            return false;
        item.kind = ChainKind::reference;
        break;
    default:
        break;
    }
    program.chain.push(item);
    return true;
}

bool ChainPlanner::addRun(const Node &quantifier, int index)
{
    if (!quantifier.isRun)
        return false;
    ChainItem item{.kind = ChainKind::run, .isLazy = quantifier.isLazy, .node = index};
    item.minimum = quantifier.minimum;
    item.maximum = quantifier.maximum;
    program.chain.push(item);
    ++program.chainSlots;
    return true;
}

bool ChainPlanner::addChoice(const Node &alternative, int index)
{
    // D-330: with something behind it that is retried first, it may be passed without work.
    if (alternative.first == none || !alternative.isOpen)
        return false;
    for (int branch = alternative.first; branch != none; branch = node(branch).next) {
        const Node &atom = node(node(branch).first);
        if (atom.kind != NodeKind::literal || atom.next != none)
            return false;
    }
    program.chain.push({.kind = ChainKind::choice, .node = index});
    ++program.chainSlots;
    return true;
}

// --- What follows what ---------------------------------------------------------------------------

bool takesNothing(const ChainItem &item)
{
    switch (item.kind) {
    case ChainKind::open:
    case ChainKind::close:
    case ChainKind::lineStart:
    case ChainKind::lineEnd:
    case ChainKind::boundary:
        return true;
    case ChainKind::literal:
        return item.length == 0;
    default:
        return false;
    }
}

// The next item that takes units, or may do so.
int ChainPlanner::nextConsuming(int item) const
{
    while (item < program.chain.size() && takesNothing(program.chain[item]))
        ++item;
    return item;
}

// The atom whose units the item takes first.
const Node &ChainPlanner::atomOf(const ChainItem &item) const
{
    return item.kind == ChainKind::run ? node(node(item.node).first) : node(item.node);
}

bool ChainPlanner::takesHigh(const Node &atom) const
{
    switch (atom.kind) {
    case NodeKind::set: {
        const UnitSet &set = program.sets[atom.index];
        return set.isNegated || set.ignoresCase ||
               (set.rangeCount > 0 && set.ranges[set.rangeCount - 1].last >= 256);
    }
    case NodeKind::literal:
        return program.ignoresCase || *program.textOf(atom) >= 256;
    default:
        return true;
    }
}

// Whether the atom may begin with that unit, which is below 256.
bool ChainPlanner::accepts(const Node &atom, unsigned short unit) const
{
    switch (atom.kind) {
    case NodeKind::set:
        return program.sets[atom.index].has(unit);
    case NodeKind::literal:
        return *program.textOf(atom) == (program.ignoresCase ? toLowerUnit(unit) : unit);
    case NodeKind::anyUnit:
        return unit != '\n';
    default:
        return true;
    }
}

bool ChainPlanner::areApart(const Node &run, const ChainItem &next) const
{
    const Node &atom = atomOf(next);
    if (takesHigh(run) && takesHigh(atom))
        return false;
    for (unsigned unit = 0; unit < 256; ++unit)
        if (accepts(run, static_cast<unsigned short>(unit)) &&
            accepts(atom, static_cast<unsigned short>(unit)))
            return false;
    return true;
}

// Whether the atom takes what word boundaries are about.
bool ChainPlanner::isWord(const Node &atom) const
{
    for (unsigned unit = 0; unit < 256; ++unit)
        if (accepts(atom, static_cast<unsigned short>(unit)) !=
            isWordUnit(static_cast<unsigned short>(unit)))
            return false;
    return !takesHigh(atom);
}

// Whether the run takes words, and a boundary has to follow.
bool ChainPlanner::endsAtBoundary(int run) const
{
    if (run + 1 == program.chain.size())
        return false;
    const ChainItem &next = program.chain[run + 1];
    return next.kind == ChainKind::boundary && !next.isNegated &&
           isWord(atomOf(program.chain[run]));
}

// Whether the captured text begins with a unit that the run does not take. It does if the group is
// no more than another run, apart from this one.
bool ChainPlanner::beginsApart(const Node &run, const ChainItem &reference) const
{
    for (int index = 0; index + 2 < program.chain.size(); ++index) {
        const ChainItem &open = program.chain[index];
        if (open.kind != ChainKind::open || open.index != reference.index)
            continue;
        const ChainItem &captured = program.chain[index + 1];
        const ChainItem &close = program.chain[index + 2];
        return captured.kind == ChainKind::run && captured.minimum > 0 &&
               close.kind == ChainKind::close && close.index == reference.index &&
               areApart(run, captured);
    }
    return false;
}

void ChainPlanner::linkRuns()
{
    for (int index = 0; index < program.chain.size(); ++index) {
        ChainItem &run = program.chain[index];
        if (run.kind != ChainKind::run)
            continue;
        if (run.minimum > 0 && endsAtBoundary(index))
            run.isPossessive = true; // within a word there is no boundary
        const int following = nextConsuming(index + 1);
        if (following == program.chain.size())
            continue;
        const ChainItem &next = program.chain[following];
        if (next.kind == ChainKind::reference)
            run.isPossessive = beginsApart(atomOf(run), next);
        const bool begins = next.kind == ChainKind::literal || next.kind == ChainKind::set ||
                            next.kind == ChainKind::anyUnits ||
                            (next.kind == ChainKind::run && next.minimum > 0);
        if (!begins)
            continue;
        run.isPossessive |= areApart(atomOf(run), next);
        if (!program.ignoresCase && atomOf(next).kind == NodeKind::literal)
            run.following = *program.textOf(atomOf(next));
    }
}

// --- Where to begin ------------------------------------------------------------------------------

// The units that the item takes, or -1 if that varies.
int ChainPlanner::fixedWidth(const ChainItem &item) const
{
    if (takesNothing(item))
        return 0;
    switch (item.kind) {
    case ChainKind::literal:
    case ChainKind::anyUnits:
        return item.length;
    case ChainKind::set:
        return 1;
    case ChainKind::run:
        return item.minimum == item.maximum ? item.minimum : -1;
    default:
        return -1;
    }
}

// A literal at a fixed distance is looked for.
bool ChainPlanner::planLiteral(int first)
{
    constexpr int farthest = 64;
    int offset = 0;
    for (int index = first; index < program.chain.size() && offset < farthest; ++index) {
        const ChainItem &item = program.chain[index];
        if (item.kind == ChainKind::literal && item.length > 0) {
            program.start.kind = StartKind::atLiteral;
            program.start.offset = offset;
            program.start.literal = item.offset;
            program.start.literalLength = item.length;
            return true;
        }
        const int width = fixedWidth(item);
        if (width < 0 || width > farthest)
            return false;
        offset += width;
    }
    return false;
}

// A run with a literal right behind it.
bool ChainPlanner::planRunAndLiteral(int first)
{
    if (!program.skipsRuns)
        return false;
    const int following = nextConsuming(first + 1);
    if (following == program.chain.size() || program.chain[following].kind != ChainKind::literal)
        return false;
    program.start.kind = StartKind::beforeLiteral;
    program.start.literal = program.chain[following].offset;
    program.start.literalLength = program.chain[following].length;
    return true;
}

bool ChainPlanner::planChoice(const ChainItem &choice)
{
    int count = 0;
    for (int branch = node(choice.node).first; branch != none; branch = node(branch).next)
        if (++count > BranchMasks::mostBranches || node(node(branch).first).length == 0)
            return false;
    program.masks.extend(1);
    BranchMasks &masks = program.masks[0];
    std::memset(&masks, 0, sizeof masks);
    unsigned bit = 1;
    for (int branch = node(choice.node).first; branch != none; branch = node(branch).next) {
        program.nodes[branch].index = static_cast<int>(bit);
        const Node &literal = node(node(branch).first);
        for (int place = 0; place < BranchMasks::places; ++place) {
            const unsigned short unit = place < literal.length ? program.textOf(literal)[place] : 0;
            const bool isAny = place >= literal.length;
            for (unsigned each = 0; each < 256; ++each)
                if (isAny || unit == foldedIfNeeded(each))
                    masks.low[place][each] |= static_cast<unsigned short>(bit);
            if (isAny || program.ignoresCase || unit >= 256)
                masks.high[place] |= static_cast<unsigned short>(bit);
        }
        bit <<= 1;
    }
    program.start.kind = StartKind::atChoice;
    return true;
}

void ChainPlanner::planUnits(const ChainItem &first)
{
    StartPlan &start = program.start;
    start.kind = StartKind::atUnit;
    const auto add = [&](const Node &atom) {
        start.takesHighUnits |= takesHigh(atom);
        for (unsigned unit = 0; unit < 256; ++unit)
            start.accepts[unit] |= accepts(atom, static_cast<unsigned short>(unit));
    };
    std::memset(start.accepts, 0, sizeof start.accepts);
    if (first.kind != ChainKind::choice) {
        add(atomOf(first));
        return;
    }
    for (int branch = node(first.node).first; branch != none; branch = node(branch).next) {
        if (node(node(branch).first).length == 0) {
            start.kind = StartKind::everywhere;
            return;
        }
        add(node(node(branch).first));
    }
}

// A run in a group, another run, and a reference to the group.
void ChainPlanner::planRepetition()
{
    const int first = program.firstRun;
    if (first < 1 || first + 3 >= program.chain.size())
        return;
    const ChainItem *items = program.chain.data() + first - 1;
    const bool isOne = items[0].kind == ChainKind::open && items[2].kind == ChainKind::close &&
                       items[3].kind == ChainKind::run && items[3].isPossessive &&
                       items[4].kind == ChainKind::reference && items[1].isPossessive &&
                       items[1].minimum > 0 && items[2].index == items[0].index &&
                       items[4].index == items[0].index;
    if (isOne)
        program.repetition = first + 3;
}

void ChainPlanner::planStart()
{
    if (program.chain.size() > 0 && program.chain[0].kind == ChainKind::lineStart &&
        !program.isMultiLine) {
        program.start.kind = StartKind::atSubjectStart;
        return;
    }
    const int first = nextConsuming(0);
    if (first == program.chain.size())
        return;
    const ChainItem &item = program.chain[first];
    const bool hasReference =
        std::any_of(program.chain.data(), program.chain.data() + program.chain.size(),
                    [](const ChainItem &each) { return each.kind == ChainKind::reference; });
    if (item.kind == ChainKind::run && item.maximum == unbounded)
        program.firstRun = first;
    planRepetition();
    program.skipsRuns = program.firstRun != none && !hasReference;
    if (!program.ignoresCase && (planLiteral(first) || planRunAndLiteral(first)))
        return;
    if (item.kind == ChainKind::choice && planChoice(item)) {
        program.maskedChoice = first;
        return;
    }
    if (item.kind != ChainKind::reference && (item.kind != ChainKind::run || item.minimum > 0))
        planUnits(item);
}

} // namespace

void planChain(Program &program)
{
    ChainPlanner planner(program);
    program.isChain = planner.build();
    if (!program.isChain)
        return;
    planner.linkRuns();
    planner.planStart();
}

} // namespace Tavrin::detail
