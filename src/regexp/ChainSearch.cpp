// SPDX-License-Identifier: MIT
// The search for programs that are chains.
//
// An attempt goes along the items. Runs and choices keep where they began and which ends are left,
// and when an item fails, the last of them that has another end is gone back to. A run is measured
// once: its ends are arithmetic, and those that what follows it cannot stand behind are passed
// over. Pinned by tests/regexp/ChainTest.cpp and by the reference matcher in
// tests/regexp/reference.
#include "regexp/Chain.h"

#include <algorithm>

namespace Tavrin::detail {

namespace {

// A run or choice of the attempt.
struct Slot
{
    int item;
    int start;
    int length;   // of the run, or the branch of a choice
    int shortest; // the ends that are left: from here
    int longest;  // to here
};

// A stretch that a run was measured to take, to its natural end.
struct Stretch
{
    int begin = 1;
    int end = 0;
};

template <class Budget>
class ChainSearch
{
public:
    ChainSearch(const Program &itsProgram, const Subject &itsSubject, Capture *itsCaptures,
                Budget &itsBudget)
        : program(itsProgram),
          items(itsProgram.chain.data()),
          itemCount(itsProgram.chain.size()),
          subject(itsSubject),
          captures(itsCaptures),
          budget(itsBudget)
    {
        slots.extend(program.chainSlots);
        slotCount = 0;
    }

    MatchResult search(int start);

private:
    int nextStart(int from);
    int nextUnit(int from);
    bool attempt(int start);
    bool goAlong(int item);
    bool matchItem(const ChainItem &item);
    bool beginRun(int index);
    bool beginChoice(int index);
    bool hasOtherEnd();
    bool nextEnd(Slot &slot, const ChainItem &run);
    bool nextBranch(Slot &slot, int branch);
    int measure(int index);

    const Node &node(int index) const { return program.nodes[index]; }

    const Program &program;
    const ChainItem *items;
    const int itemCount;
    const Subject &subject;
    Capture *captures;
    Budget &budget;
    int position = 0;
    int slotCount = 0;
    int firstRunEnd = none; // of this attempt, if it has come to one
    Stretch measured;
    Growing<Slot, 8> slots;
};

template <class Budget>
MatchResult ChainSearch<Budget>::search(int start)
{
    for (int candidate = nextStart(start); candidate != none;) {
        if (attempt(candidate)) {
            captures[0].start = candidate;
            captures[0].end = position;
            return kMatch;
        }
        if (budget.isSpent())
            return kMatchStopped;
        const int next = program.skipsRuns && firstRunEnd > candidate ? firstRunEnd : candidate;
        candidate = nextStart(next + 1);
    }
    return budget.isSpent() ? kMatchStopped : kNoMatch;
}

// The first place from there on where an attempt may succeed, or none.
template <class Budget>
int ChainSearch<Budget>::nextStart(int from)
{
    const StartPlan &plan = program.start;
    if (from > subject.length || !budget.spend())
        return none;
    switch (plan.kind) {
    case StartKind::everywhere:
        return from;
    case StartKind::atSubjectStart:
        return from == 0 ? 0 : none;
    case StartKind::atLiteral: {
        const int begin = from + plan.offset;
        if (begin >= subject.length)
            return none;
        const int found = findUnits(subject.units + begin, subject.length - begin,
                                    program.units.data() + plan.literal, plan.literalLength);
        if (found < 0)
            return none;
        budget.spend(stepsOfScan(found));
        return from + found;
    }
    default:
        return nextUnit(from);
    }
}

template <class Budget>
int ChainSearch<Budget>::nextUnit(int from)
{
    const StartPlan &plan = program.start;
    const unsigned short *unit = subject.units + from;
    const unsigned short *end = subject.units + subject.length;
    for (; unit != end; ++unit)
        if (*unit < 256 ? plan.accepts[*unit] : plan.takesHighUnits)
            break;
    const int found = static_cast<int>(unit - subject.units);
    budget.spend(stepsOfScan(found - from));
    return unit != end ? found : none;
}

template <class Budget>
bool ChainSearch<Budget>::attempt(int start)
{
    position = start;
    slotCount = 0;
    firstRunEnd = none;
    int item = 0;
    while (!goAlong(item)) {
        if (!hasOtherEnd())
            return false;
        item = slots[slotCount - 1].item + 1;
    }
    return !budget.isSpent();
}

// Matches the items from that one on.
template <class Budget>
bool ChainSearch<Budget>::goAlong(int index)
{
    for (; index < itemCount; ++index) {
        const ChainItem &item = items[index];
        bool matched = false;
        if (item.kind == ChainKind::run)
            matched = beginRun(index);
        else if (item.kind == ChainKind::choice)
            matched = beginChoice(index);
        else
            matched = matchItem(item);
        if (!matched)
            return false;
    }
    return true;
}

template <class Budget>
bool ChainSearch<Budget>::matchItem(const ChainItem &item)
{
    switch (item.kind) {
    case ChainKind::lineStart:
        return isLineStartAt(subject, position, program.isMultiLine);
    case ChainKind::lineEnd:
        return isLineEndAt(subject, position, program.isMultiLine);
    case ChainKind::boundary:
        return isBoundaryAt(subject, position, item.isNegated);
    case ChainKind::anyUnits: {
        const unsigned short *units = subject.units + position;
        if (item.length > subject.length - position ||
            std::find(units, units + item.length, '\n') != units + item.length)
            return false;
        position += item.length;
        return true;
    }
    case ChainKind::literal:
        if (!hasTextAt(subject, position, program.units.data() + item.offset, item.length,
                       program.ignoresCase))
            return false;
        position += item.length;
        return true;
    case ChainKind::set:
        if (position == subject.length || !program.sets[item.index].has(subject.units[position]))
            return false;
        ++position;
        return true;
    case ChainKind::reference: {
        const Capture capture = captures[item.index];
        if (!hasCaptureAt(subject, position, capture, program.ignoresCase))
            return false;
        position += capture.end - capture.start;
        return budget.spend(stepsOfScan(capture.end - capture.start));
    }
    case ChainKind::open:
        captures[item.index].start = position;
        return true;
    default:
        captures[item.index].end = position;
        return true;
    }
}

// --- Runs ----------------------------------------------------------------------------------------

// How long the run is from the present position on. The last stretch is remembered: the starts
// within it end where it does.
template <class Budget>
int ChainSearch<Budget>::measure(int index)
{
    const ChainItem &run = items[index];
    const bool isFirst = index == program.firstRun;
    if (isFirst && measured.begin <= position && position < measured.end)
        return measured.end - position;
    const int length =
        lengthOfRun(program, node(node(run.node).first), subject, position, run.maximum);
    budget.spend(stepsOfScan(length));
    if (isFirst)
        measured = {position, position + length};
    return length;
}

template <class Budget>
bool ChainSearch<Budget>::beginRun(int index)
{
    const ChainItem &run = items[index];
    const int length = measure(index);
    if (index == program.firstRun)
        firstRunEnd = position + length;
    if (length < run.minimum)
        return false;
    if (run.isPossessive || run.minimum == length) {
        position += length;
        return run.following < 0 ||
               (position < subject.length && subject.units[position] == run.following);
    }
    Slot &slot = slots[slotCount];
    slot = {index, position, length, position + run.minimum, position + length};
    if (!nextEnd(slot, run))
        return false;
    ++slotCount;
    return true;
}

// Takes the next end that is left and goes there.
template <class Budget>
bool ChainSearch<Budget>::nextEnd(Slot &slot, const ChainItem &run)
{
    const int count = slot.longest - slot.shortest + 1;
    if (count <= 0)
        return false;
    int taken = 0; // from the first end that is left
    if (run.following >= 0) {
        const auto unit = static_cast<unsigned short>(run.following);
        const unsigned short *units = subject.units + slot.shortest;
        const int available = std::min(count, subject.length - slot.shortest);
        const int found =
            run.isLazy ? findUnit(units, available, unit) : findUnitReverse(units, available, unit);
        if (found < 0) {
            budget.spend(stepsOfScan(count));
            return false;
        }
        taken = run.isLazy ? found : count - 1 - found;
        budget.spend(stepsOfScan(taken));
    }
    if (run.isLazy) {
        position = slot.shortest + taken;
        slot.shortest = position + 1;
    } else {
        position = slot.longest - taken;
        slot.longest = position - 1;
    }
    return true;
}

// --- Choices -------------------------------------------------------------------------------------

template <class Budget>
bool ChainSearch<Budget>::beginChoice(int index)
{
    Slot &slot = slots[slotCount];
    slot = {index, position, none, 0, 0};
    if (!nextBranch(slot, node(items[index].node).first))
        return false;
    ++slotCount;
    return true;
}

// Takes the first branch from that one on that stands there.
template <class Budget>
bool ChainSearch<Budget>::nextBranch(Slot &slot, int branch)
{
    for (; branch != none; branch = node(branch).next) {
        const Node &literal = node(node(branch).first);
        if (hasTextAt(subject, slot.start, program.textOf(literal), literal.length,
                      program.ignoresCase)) {
            slot.length = branch;
            position = slot.start + literal.length;
            return true;
        }
        if (!budget.spend())
            return false;
    }
    return false;
}

// Goes back to the last run or choice that has another end.
template <class Budget>
bool ChainSearch<Budget>::hasOtherEnd()
{
    for (; slotCount > 0; --slotCount) {
        if (!budget.spend())
            return false;
        Slot &slot = slots[slotCount - 1];
        const ChainItem &item = items[slot.item];
        if (item.kind == ChainKind::run ? nextEnd(slot, item)
                                        : nextBranch(slot, node(slot.length).next))
            return true;
    }
    return false;
}

} // namespace

template <class Budget>
MatchResult searchChain(const Program &program, const Subject &subject, int start,
                        Capture *captures, Budget &budget)
{
    return ChainSearch<Budget>(program, subject, captures, budget).search(start);
}

template MatchResult searchChain(const Program &, const Subject &, int, Capture *, NoBudget &);
template MatchResult searchChain(const Program &, const Subject &, int, Capture *, StepBudget &);

} // namespace Tavrin::detail
