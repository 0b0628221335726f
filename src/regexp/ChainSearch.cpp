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
    int startAfter(int failed);
    int repeatedStart(int from);
    int nextStart(int from);
    int nextUnit(int from);
    int nextChoice(int from);
    int startBeforeLiteral(int from);
    bool attempt(int start);
    bool goAlong(int item);
    bool beginRun(int index, int &at);
    bool beginChoice(int index, int &at);
    bool hasOtherEnd();
    bool nextEnd(Slot &slot, const ChainItem &run);
    unsigned branchesAt(int item, int at) const;
    bool nextBranch(Slot &slot, int branch);
    int measure(int index, int at);

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
    int referenceAt = none; // where this attempt came to the repetition
    Stretch measured;
    Stretch beforeLiteral; // starts from which the run may reach the literal
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
        candidate = startAfter(candidate);
    }
    return budget.isSpent() ? kMatchStopped : kNoMatch;
}

// Where the search goes on when the attempt from that start has failed.
template <class Budget>
int ChainSearch<Budget>::startAfter(int failed)
{
    if (firstRunEnd <= failed)
        return nextStart(failed + 1);
    if (program.skipsRuns)
        return nextStart(firstRunEnd + 1);
    if (program.repetition == none)
        return nextStart(failed + 1);
    const int repeated = repeatedStart(failed + 1);
    return repeated != none ? repeated : nextStart(firstRunEnd + 1);
}

// The next start within the first run from which what the run takes stands at the reference, too;
// the starts share the end of the run, and the place of the reference.
template <class Budget>
int ChainSearch<Budget>::repeatedStart(int from)
{
    if (referenceAt == none)
        return none;
    const int last = firstRunEnd - items[program.firstRun].minimum;
    const int room = subject.length - referenceAt;
    budget.spend(stepsOfScan(last - from));
    for (int start = std::max(from, firstRunEnd - room); start <= last; ++start)
        if (program.ignoresCase || subject.units[start] == subject.units[referenceAt])
            return start;
    return none;
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
    case StartKind::beforeLiteral:
        return startBeforeLiteral(from);
    case StartKind::atChoice:
        return nextChoice(from);
    default:
        return nextUnit(from);
    }
}

// Whatever begins with the run goes on to a place where the literal stands, and there is none
// between here and the first of those; so the units in front of that tell where it may begin.
template <class Budget>
int ChainSearch<Budget>::startBeforeLiteral(int from)
{
    const StartPlan &plan = program.start;
    const ChainItem &run = items[program.firstRun];
    if (beforeLiteral.begin <= from && from < beforeLiteral.end)
        return from;
    const unsigned short *literal = program.units.data() + plan.literal;
    int at = from;
    while (run.minimum <= subject.length - at) {
        at += run.minimum;
        const int found =
            findUnits(subject.units + at, subject.length - at, literal, plan.literalLength);
        if (found < 0)
            return none;
        at += found;
        const int begin = beginOfRun(program, node(node(run.node).first), subject, at, from);
        budget.spend(stepsOfScan(found) + stepsOfScan(at - begin));
        if (at - begin >= run.minimum) {
            beforeLiteral = {begin, at - run.minimum + 1};
            return begin;
        }
        at += 1 - run.minimum; // the next place of the literal
        if (budget.isSpent())
            return none;
    }
    return none;
}

// The next place where the first units of some branch stand.
template <class Budget>
int ChainSearch<Budget>::nextChoice(int from)
{
    const BranchMasks &masks = program.masks[0];
    const unsigned short *units = subject.units;
    const int last = subject.length - BranchMasks::places;
    int at = from;
    for (; at <= last; ++at)
        if ((masks.at(0, units[at]) & masks.at(1, units[at + 1]) & masks.at(2, units[at + 2])) != 0)
            break;
    for (; at > last && at < subject.length; ++at)
        if (masks.at(0, units[at]) != 0)
            break;
    budget.spend(stepsOfScan(at - from));
    return at < subject.length ? at : none;
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
    referenceAt = none;
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
    int at = position;
    for (; index < itemCount; ++index) {
        const ChainItem &item = items[index];
        switch (item.kind) {
        case ChainKind::lineStart:
            if (!isLineStartAt(subject, at, program.isMultiLine))
                return false;
            break;
        case ChainKind::lineEnd:
            if (!isLineEndAt(subject, at, program.isMultiLine))
                return false;
            break;
        case ChainKind::boundary:
            if (!isBoundaryAt(subject, at, item.isNegated))
                return false;
            break;
        case ChainKind::anyUnits: {
            const unsigned short *units = subject.units + at;
            if (item.length > subject.length - at ||
                std::find(units, units + item.length, '\n') != units + item.length)
                return false;
            at += item.length;
            break;
        }
        case ChainKind::literal:
            if (!hasTextAt(subject, at, program.units.data() + item.offset, item.length,
                           program.ignoresCase))
                return false;
            at += item.length;
            break;
        case ChainKind::set:
            if (at == subject.length || !program.sets[item.index].has(subject.units[at]))
                return false;
            ++at;
            break;
        case ChainKind::reference: {
            const Capture capture = captures[item.index];
            if (index == program.repetition)
                referenceAt = at;
            if (!hasCaptureAt(subject, at, capture, program.ignoresCase))
                return false;
            at += capture.end - capture.start;
            if (!budget.spend(stepsOfScan(capture.end - capture.start)))
                return false;
            break;
        }
        case ChainKind::open:
            captures[item.index].start = at;
            break;
        case ChainKind::close:
            captures[item.index].end = at;
            break;
        case ChainKind::run:
            if (!beginRun(index, at))
                return false;
            break;
        case ChainKind::choice:
            if (!beginChoice(index, at))
                return false;
            break;
        }
    }
    position = at;
    return true;
}

// --- Runs ----------------------------------------------------------------------------------------

// How long the run is from the present position on. The last stretch is remembered: the starts
// within it end where it does.
template <class Budget>
int ChainSearch<Budget>::measure(int index, int at)
{
    const ChainItem &run = items[index];
    const bool isFirst = index == program.firstRun;
    if (isFirst && measured.begin <= at && at < measured.end)
        return measured.end - at;
    const Node &atom = node(node(run.node).first);
    const int length = atom.kind == NodeKind::set
                           ? lengthInSet(program.sets[atom.index], subject.units + at,
                                         std::min(run.maximum, subject.length - at))
                           : lengthOfRun(program, atom, subject, at, run.maximum);
    budget.spend(stepsOfScan(length));
    if (isFirst)
        measured = {at, at + length};
    return length;
}

template <class Budget>
bool ChainSearch<Budget>::beginRun(int index, int &at)
{
    const ChainItem &run = items[index];
    const int length = measure(index, at);
    if (index == program.firstRun)
        firstRunEnd = at + length;
    if (length < run.minimum)
        return false;
    if (run.isPossessive || run.minimum == length) {
        at += length;
        return run.following < 0 || (at < subject.length && subject.units[at] == run.following);
    }
    Slot &slot = slots[slotCount];
    slot = {index, at, length, at + run.minimum, at + length};
    if (!nextEnd(slot, run))
        return false;
    at = position;
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
bool ChainSearch<Budget>::beginChoice(int index, int &at)
{
    Slot &slot = slots[slotCount];
    slot = {index, at, none, 0, 0};
    if (!nextBranch(slot, node(items[index].node).first))
        return false;
    at = position;
    ++slotCount;
    return true;
}

// The branches of a choice whose first units may stand there; all of them without masks.
template <class Budget>
unsigned ChainSearch<Budget>::branchesAt(int item, int at) const
{
    if (item != program.maskedChoice)
        return ~0U;
    const BranchMasks &masks = program.masks[0];
    unsigned branches = ~0U;
    for (int place = 0; place < BranchMasks::places && at + place < subject.length; ++place)
        branches &= masks.at(place, subject.units[at + place]);
    return branches;
}

// Takes the first branch from that one on that stands there.
template <class Budget>
bool ChainSearch<Budget>::nextBranch(Slot &slot, int branch)
{
    const unsigned possible = branchesAt(slot.item, slot.start);
    for (; branch != none; branch = node(branch).next) {
        if (possible != ~0U && (possible & static_cast<unsigned>(node(branch).index)) == 0)
            continue;
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
