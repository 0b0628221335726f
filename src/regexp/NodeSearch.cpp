// SPDX-License-Identifier: MIT
// The search that fits every program.
//
// It is a backtracker of an unusual kind. Each quantifier and each alternative remembers which
// choice it is on. A sequence is tried; when it fails, the last atom that holds choices is told to
// move to its next one (retry), and the sequence runs again from where that atom began. Only the
// atoms of the top level are run like that. Inside groups the children simply match in order, and a
// retry goes through them from the last to the first. So the choices of a child are shared by all
// rounds of a quantifier, and not every way to match is found; patterns rely on what is.
//
// What is open in a match stands on a stack of our own (frames), and a retry climbs by the parents
// of the nodes, so that neither the pattern nor the subject can exhaust the thread's stack.
// Pinned by tests/regexp/MatchTest.cpp, BacktrackingTest.cpp and CycleTest.cpp, and by the
// reference matcher in tests/regexp/reference.
#include "regexp/NodeSearch.h"

#include <algorithm>

#include "regexp/CycleWatch.h"

namespace Tavrin::detail {

namespace {

struct QuantifierState
{
    int limit;      // how many rounds this attempt may run
    int reached;    // the most rounds so far
    bool isSettled; // a round matched nothing
    // Of a run: where it was measured last, how long it is, and what that measurement was cut to.
    int runStart;
    int runLength;
    int runLimit;
};

// A container whose match has begun.
struct Frame
{
    int start; // of the container, or of a quantifier's present round
    int rounds;
    int saved; // its copy of captures on the stack of them, none if there is none
};

// A top-level atom that holds choices, and where it began.
struct Choice
{
    int atom;
    int start;
    CycleWatch watch;
};

template <class Budget>
class NodeSearch
{
public:
    NodeSearch(const Program &itsProgram, const Subject &itsSubject, Capture *itsCaptures,
               Budget &itsBudget);

    MatchResult search(int start);

private:
    enum class Step
    {
        descend, // into `at`
        succeed,
        fail,
    };

    bool runSequence(int start);
    bool passFollowing(int &atom);
    bool tryChoices(int &atom);
    bool retryChoice(Choice &choice);
    void dropChoice();
    bool failsWhatever() const;
    bool failsWhatever(const Node &branch) const;

    bool matchAtom(int atom);
    Step enter(int &at);
    Step leave(int &at, bool childrenMatched);
    Step enterAlternative(int &at);
    Step enterQuantifier(int &at);
    Step leaveGroup(const Node &group, bool childrenMatched);
    Step leaveQuantifier(int &at, bool childrenMatched);
    Step leaveBranch(int &at, bool childrenMatched);
    Step beginRound(int &at);
    Step endQuantifier(const Node &quantifier, int rounds);
    Step matchRun(const Node &quantifier);
    bool matchSimple(const Node &atom);

    bool retry(int top);
    Step enterRetry(int &at);
    bool climb(int &at);
    bool exhaustParent(int &at);
    bool retryQuantifier(const Node &quantifier);

    void reset(const Node &node);
    void endRound(int top);
    void clearCaptures(int from);
    void save(Frame &frame, const Node &node);
    void restore(const Frame &frame, const Node &node);
    void popFrame();

    bool isWatched(const Node &node) const { return node.mayRecur; }
    void readState(int atom);
    void writeState(int atom);

    const Node &node(int index) const { return program.nodes[index]; }
    QuantifierState &stateOf(const Node &quantifier) { return quantifiers[quantifier.index]; }

    const Program &program;
    const Subject &subject;
    Capture *captures;
    Budget &budget;
    int position = 0;
    int failedAt = none;    // the atom that failed last in a match
    bool metChoice = false; // whether that match has come to a choice
    Growing<QuantifierState, 8> quantifiers;
    Growing<int, 8> branches; // by alternative: the present branch, none past the last
    Growing<Frame, 16> frames;
    Growing<Capture, 16> savedCaptures;
    Growing<Choice, 8> choices;
    CycleWatch::Memory watchMemory;
    CycleWatch::Memory stateWords;
};

template <class Budget>
NodeSearch<Budget>::NodeSearch(const Program &itsProgram, const Subject &itsSubject,
                               Capture *itsCaptures, Budget &itsBudget)
    : program(itsProgram), subject(itsSubject), captures(itsCaptures), budget(itsBudget)
{
    quantifiers.extend(program.quantifierNodes.size());
    branches.extend(program.alternativeNodes.size());
    for (int id = 0; id < quantifiers.size(); ++id)
        quantifiers[id] = {0, 0, false, none, 0, 0};
    for (int atom = program.first; atom != none; atom = node(atom).next)
        reset(node(atom));
}

template <class Budget>
MatchResult NodeSearch<Budget>::search(int start)
{
    // D-322: captures that a failed attempt left set stay for the next one.
    for (int candidate = start; candidate <= subject.length; ++candidate) {
        const bool matched = runSequence(candidate);
        if (budget.isSpent())
            return kMatchStopped;
        if (matched) {
            captures[0].start = candidate;
            captures[0].end = position;
            return kMatch;
        }
    }
    return kNoMatch;
}

// --- The sequence of the top level ---------------------------------------------------------------

template <class Budget>
bool NodeSearch<Budget>::runSequence(int start)
{
    position = start;
    int atom = program.first;
    while (!passFollowing(atom)) {
        if (!tryChoices(atom)) {
            choices.cut(0);
            watchMemory.cut(0);
            return false;
        }
    }
    choices.cut(0);
    watchMemory.cut(0);
    return true;
}

// Matches atoms from that one on; on failure the last choice, if there is one, has to be retried.
template <class Budget>
bool NodeSearch<Budget>::passFollowing(int &atom)
{
    while (atom != none) {
        const Node &next = node(atom);
        if (next.isBacktrackable) {
            choices.push({atom, position, {}});
            if (isWatched(next)) {
                readState(atom);
                choices.last().watch =
                    CycleWatch(watchMemory, stateWords.data(), stateWords.size());
            }
        }
        if (!matchAtom(atom)) {
            if (next.isBacktrackable && failsWhatever())
                dropChoice();
            return false;
        }
        atom = next.next;
    }
    return true;
}

// Moves the last choice that has one more to it, and gives the atom behind it.
template <class Budget>
bool NodeSearch<Budget>::tryChoices(int &atom)
{
    while (!choices.isEmpty()) {
        Choice &choice = choices.last();
        while (retryChoice(choice)) {
            position = choice.start;
            if (matchAtom(choice.atom)) {
                atom = node(choice.atom).next;
                return true;
            }
        }
        if (budget.isSpent())
            return false;
        dropChoice();
    }
    return false;
}

// Gives the last choice up, which is exhausted.
template <class Budget>
void NodeSearch<Budget>::dropChoice()
{
    const Choice &choice = choices.last();
    reset(node(choice.atom));
    if (isWatched(node(choice.atom)))
        choice.watch.end(watchMemory);
    choices.pop();
}

// Whether the last match failed before it came to a choice: then it fails for all of them, and
// going through them, by the rules, would change captures only.
template <class Budget>
bool NodeSearch<Budget>::failsWhatever() const
{
    return !metChoice && program.captureCount == 1;
}

// The same for a branch of an alternative that no quantifier repeats.
template <class Budget>
bool NodeSearch<Budget>::failsWhatever(const Node &branch) const
{
    return program.captureCount == 1 && node(branch.parent).isOpen && failedAt < branch.firstChoice;
}

// D-323: choices that come back to where they were are exhausted.
template <class Budget>
bool NodeSearch<Budget>::retryChoice(Choice &choice)
{
    if (!budget.spend() || !retry(choice.atom))
        return false;
    if (!isWatched(node(choice.atom)))
        return true;
    readState(choice.atom);
    const bool capturesAreSeen = program.captureCount > 1;
    switch (choice.watch.follow(watchMemory, stateWords.data(), capturesAreSeen)) {
    case CycleWatch::Answer::goOn:
        break;
    case CycleWatch::Answer::goOnFromOther:
        writeState(choice.atom);
        break;
    case CycleWatch::Answer::cameBack:
        return false;
    }
    return budget.spend(stateWords.size() / 8);
}

// The state of everything that a retry of the atom may lead to: its own choices and those of the
// atoms behind it, and the captures.
template <class Budget>
void NodeSearch<Budget>::readState(int atom)
{
    stateWords.cut(0);
    const Node &from = node(atom);
    for (int id = from.quantifiers.first; id < quantifiers.size(); ++id) {
        const QuantifierState &state = quantifiers[id];
        stateWords.push(state.limit);
        stateWords.push(state.reached);
        stateWords.push(state.isSettled);
    }
    for (int id = from.alternatives.first; id < branches.size(); ++id)
        stateWords.push(branches[id]);
    for (int index = 0; index < program.captureCount; ++index) {
        stateWords.push(captures[index].start);
        stateWords.push(captures[index].isSet() ? captures[index].end : 0);
    }
}

template <class Budget>
void NodeSearch<Budget>::writeState(int atom)
{
    const int *word = stateWords.data();
    const Node &from = node(atom);
    for (int id = from.quantifiers.first; id < quantifiers.size(); ++id) {
        QuantifierState &state = quantifiers[id];
        state.limit = *word++;
        state.reached = *word++;
        state.isSettled = *word++ != 0;
    }
    for (int id = from.alternatives.first; id < branches.size(); ++id)
        branches[id] = *word++;
    for (int index = 0; index < program.captureCount; ++index) {
        captures[index].start = *word++;
        captures[index].end = *word++;
    }
}

// --- Matching one atom ---------------------------------------------------------------------------

// Matches the atom at the present position; on failure the position means nothing.
template <class Budget>
bool NodeSearch<Budget>::matchAtom(int atom)
{
    int at = atom;
    metChoice = false;
    for (;;) {
        if (!budget.spend()) {
            metChoice = true;
            frames.cut(0);
            savedCaptures.cut(0);
            return false;
        }
        Step step = enter(at);
        while (step != Step::descend) {
            const bool matched = step == Step::succeed;
            if (at == atom)
                return matched;
            const Node &done = node(at);
            if (matched && done.next != none) {
                at = done.next;
                break;
            }
            failedAt = at;
            at = done.parent;
            step = leave(at, matched);
        }
    }
}

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::enter(int &at)
{
    const Node &entered = node(at);
    switch (entered.kind) {
    case NodeKind::group:
        frames.push({position, 0, none});
        if (entered.first == none)
            return leaveGroup(entered, true);
        at = entered.first;
        return Step::descend;
    case NodeKind::quantifier:
        return enterQuantifier(at);
    case NodeKind::alternative:
        return enterAlternative(at);
    default:
        return matchSimple(entered) ? Step::succeed : Step::fail;
    }
}

// The children of the container, or the atoms of the branch, matched or failed.
template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::leave(int &at, bool childrenMatched)
{
    switch (node(at).kind) {
    case NodeKind::group:
        return leaveGroup(node(at), childrenMatched);
    case NodeKind::quantifier:
        return leaveQuantifier(at, childrenMatched);
    default:
        return leaveBranch(at, childrenMatched);
    }
}

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::leaveGroup(const Node &group,
                                                                 bool childrenMatched)
{
    const int start = frames.last().start;
    popFrame();
    bool succeeds = childrenMatched;
    switch (group.group) {
    case GroupKind::capture: // D-324: the capture of a group that fails stays
        if (childrenMatched) {
            captures[group.index].start = start;
            captures[group.index].end = position;
        }
        break;
    case GroupKind::plain:
        break;
    case GroupKind::notAhead: // D-325: a capture set within stays, although the lookahead fails
        succeeds = !childrenMatched;
        [[fallthrough]];
    case GroupKind::ahead:
        if (!childrenMatched)
            clearCaptures(group.index + 1);
        position = start;
        break;
    }
    return succeeds ? Step::succeed : Step::fail;
}

// --- Quantifiers ---------------------------------------------------------------------------------

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::enterQuantifier(int &at)
{
    const Node &quantifier = node(at);
    QuantifierState &state = stateOf(quantifier);
    if (quantifier.clearsFrom != none)
        clearCaptures(quantifier.clearsFrom);
    state.isSettled = false;
    metChoice |= quantifier.minimum < quantifier.maximum;
    if (quantifier.isRun)
        return matchRun(quantifier);
    frames.push({position, 0, none});
    return state.limit >= 1 ? beginRound(at) : endQuantifier(quantifier, 0);
}

// D-326: no round begins at the subject's end, not even one that could match nothing.
template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::beginRound(int &at)
{
    const Node &quantifier = node(at);
    Frame &frame = frames.last();
    frame.start = position;
    if (position == subject.length)
        return endQuantifier(quantifier, frame.rounds);
    at = quantifier.first;
    return Step::descend;
}

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::leaveQuantifier(int &at, bool childrenMatched)
{
    const Node &quantifier = node(at);
    QuantifierState &state = stateOf(quantifier);
    Frame &frame = frames.last();
    if (!childrenMatched) { // D-327: what a first round captured before it failed stays
        if (frame.saved != none)
            restore(frame, quantifier);
        position = frame.start;
        return endQuantifier(quantifier, frame.rounds);
    }
    if (!quantifier.alternatives.isEmpty())
        endRound(quantifier.first);
    ++frame.rounds;
    if (position == frame.start) { // D-328: an empty round counts as all that are required
        state.limit = quantifier.minimum;
        state.isSettled = true;
        return endQuantifier(quantifier, quantifier.minimum);
    }
    save(frame, quantifier);
    if (frame.rounds == state.limit)
        return endQuantifier(quantifier, frame.rounds);
    return beginRound(at);
}

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::endQuantifier(const Node &quantifier,
                                                                    int rounds)
{
    QuantifierState &state = stateOf(quantifier);
    popFrame();
    state.reached = std::max(state.reached, rounds);
    if (quantifier.isLazy && rounds < state.limit)
        state.limit = quantifier.maximum;
    return rounds >= quantifier.minimum ? Step::succeed : Step::fail;
}

// All rounds of a quantifier over one unit: none of them is empty, none writes a capture, and they
// go the same way from the same start.
template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::matchRun(const Node &quantifier)
{
    QuantifierState &state = stateOf(quantifier);
    const bool isMeasured = state.runStart == position &&
                            (state.runLength < state.runLimit || state.limit <= state.runLimit);
    if (!isMeasured) {
        state.runStart = position;
        state.runLimit = state.limit;
        state.runLength =
            lengthOfRun(program, node(quantifier.first), subject, position, state.limit);
        budget.spend(stepsOfScan(state.runLength));
    }
    const int rounds = std::min(state.runLength, state.limit);
    position += rounds;
    state.reached = std::max(state.reached, rounds);
    if (quantifier.isLazy && rounds < state.limit)
        state.limit = quantifier.maximum;
    return rounds >= quantifier.minimum ? Step::succeed : Step::fail;
}

// Sets the alternatives of a round back to their first branch, but not those within others.
// D-329: the other choices of a child are shared by all rounds.
template <class Budget>
void NodeSearch<Budget>::endRound(int top)
{
    int at = top;
    for (;;) {
        const Node &visited = node(at);
        if (visited.kind == NodeKind::alternative)
            branches[visited.index] = visited.first;
        else if (!visited.alternatives.isEmpty() && visited.first != none) {
            at = visited.first;
            continue;
        }
        while (at != top && node(at).next == none)
            at = node(at).parent;
        if (at == top)
            return;
        at = node(at).next;
    }
}

// --- Alternatives --------------------------------------------------------------------------------

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::enterAlternative(int &at)
{
    const Node &alternative = node(at);
    const int branch = branches[alternative.index];
    metChoice = true;
    if (branch == none) // D-330: past the last branch it matches nothing, and succeeds
        return Step::succeed;
    frames.push({position, 0, none});
    save(frames.last(), alternative);
    at = node(branch).first;
    return Step::descend;
}

template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::leaveBranch(int &at, bool childrenMatched)
{
    const Node &branch = node(at);
    at = branch.parent;
    const Node &alternative = node(at);
    if (childrenMatched) {
        popFrame();
        return Step::succeed;
    }
    // D-343: a branch with choices goes through all of them before the next one.
    if (!branch.isBacktrackable || failsWhatever(branch)) {
        branches[alternative.index] = branch.next;
        if (branch.next != none) { // D-331: with the captures that the failed branch has set
            position = frames.last().start;
            at = node(branch.next).first;
            return Step::descend;
        }
    }
    restore(frames.last(), alternative);
    popFrame();
    return Step::fail;
}

// --- Simple atoms --------------------------------------------------------------------------------

template <class Budget>
bool NodeSearch<Budget>::matchSimple(const Node &atom)
{
    switch (atom.kind) {
    case NodeKind::lineStart:
        return isLineStartAt(subject, position, program.isMultiLine);
    case NodeKind::lineEnd:
        return isLineEndAt(subject, position, program.isMultiLine);
    case NodeKind::anyUnit: { // D-337: with multi-line, too
        if (atom.length > subject.length - position)
            return false;
        const unsigned short *units = subject.units + position;
        if (std::find(units, units + atom.length, '\n') != units + atom.length)
            return false;
        position += atom.length;
        return true;
    }
    case NodeKind::literal:
        if (!hasTextAt(subject, position, program.textOf(atom), atom.length, program.ignoresCase))
            return false;
        position += atom.length;
        return budget.spend(stepsOfScan(atom.length));
    case NodeKind::backReference: {
        if (atom.index >= program.captureCount)
            return false;
        const Capture capture = captures[atom.index];
        if (!hasCaptureAt(subject, position, capture, program.ignoresCase))
            return false;
        if (!capture.isSet())
            return true;
        position += capture.end - capture.start;
        return budget.spend(stepsOfScan(capture.end - capture.start));
    }
    case NodeKind::set:
        if (position == subject.length || !program.sets[atom.index].has(subject.units[position]))
            return false;
        ++position;
        return true;
    default:
        return isBoundaryAt(subject, position, atom.isNegated);
    }
}

// --- Retrying ------------------------------------------------------------------------------------

// Moves the choices of the atom to the next ones; false if there are none.
template <class Budget>
bool NodeSearch<Budget>::retry(int top)
{
    int at = top;
    for (;;) {
        if (!budget.spend())
            return false;
        Step step = enterRetry(at);
        while (step != Step::descend) {
            if (at == top)
                return step == Step::succeed;
            if (step == Step::succeed) {
                climb(at);
                continue;
            }
            reset(node(at));
            if (node(at).previous != none) {
                at = node(at).previous;
                break;
            }
            step = exhaustParent(at) ? Step::succeed : Step::fail;
        }
    }
}

// Retries the node itself, or descends to its last child.
template <class Budget>
typename NodeSearch<Budget>::Step NodeSearch<Budget>::enterRetry(int &at)
{
    const Node &retried = node(at);
    int container = none;
    switch (retried.kind) {
    case NodeKind::group: // D-332: lookaheads are not retried
        if (retried.group == GroupKind::ahead || retried.group == GroupKind::notAhead)
            return Step::fail;
        captures[retried.index].start = -1; // D-333: for a plain group, that of an earlier one
        container = at;
        break;
    case NodeKind::quantifier:
        if (retried.minimum >= retried.maximum) // D-334: not even its children
            return Step::fail;
        if (retryQuantifier(retried))
            return Step::succeed;
        if (stateOf(retried).isSettled)
            return Step::fail;
        container = at;
        break;
    case NodeKind::alternative:
        container = branches[retried.index];
        break;
    default:
        break;
    }
    if (container == none || node(container).last == none)
        return Step::fail;
    at = node(container).last;
    return Step::descend;
}

// The next number of rounds. True does not mean that it is another one than was tried.
template <class Budget>
bool NodeSearch<Budget>::retryQuantifier(const Node &quantifier)
{
    QuantifierState &state = stateOf(quantifier);
    if (quantifier.isLazy) {
        // Rounds are limited by the units of the subject, which cannot be told.
        if (state.limit >= quantifier.maximum || state.limit >= subject.length)
            return false;
        ++state.limit;
        return true;
    }
    if (state.limit <= quantifier.minimum)
        return false;
    state.limit = std::min(state.limit, state.reached);
    if (state.limit > quantifier.minimum)
        --state.limit;
    return true;
}

// From a node whose retry succeeded to the one that holds it.
template <class Budget>
bool NodeSearch<Budget>::climb(int &at)
{
    at = node(at).parent;
    const Node &holder = node(at);
    if (holder.kind == NodeKind::branch)
        at = holder.parent;
    else if (holder.kind == NodeKind::quantifier)
        stateOf(holder).limit = holder.isLazy ? holder.minimum : holder.maximum;
    return true;
}

// From a first child, none of whose siblings could retry either, to the one that holds it.
template <class Budget>
bool NodeSearch<Budget>::exhaustParent(int &at)
{
    at = node(at).parent;
    const Node &holder = node(at);
    if (holder.kind != NodeKind::branch)
        return false;
    at = holder.parent;
    branches[node(at).index] = holder.next;
    return holder.next != none;
}

// --- Choices and captures ------------------------------------------------------------------------

template <class Budget>
void NodeSearch<Budget>::reset(const Node &node)
{
    for (int id = node.quantifiers.first; id < node.quantifiers.end; ++id) {
        const Node &quantifier = program.nodes[program.quantifierNodes[id]];
        quantifiers[id].reached = 0;
        quantifiers[id].limit = quantifier.isLazy ? quantifier.minimum : quantifier.maximum;
    }
    for (int id = node.alternatives.first; id < node.alternatives.end; ++id)
        branches[id] = program.nodes[program.alternativeNodes[id]].first;
}

template <class Budget>
void NodeSearch<Budget>::clearCaptures(int from)
{
    for (int index = from; index < program.captureCount; ++index)
        captures[index].start = -1;
}

// Copies the captures that a match of the node may write.
template <class Budget>
void NodeSearch<Budget>::save(Frame &frame, const Node &node)
{
    if (node.writesFrom == unbounded)
        return;
    const int count = program.captureCount - node.writesFrom;
    if (frame.saved == none)
        frame.saved = savedCaptures.extend(count);
    std::copy_n(captures + node.writesFrom, count, savedCaptures.data() + frame.saved);
    budget.spend(count / 8);
}

template <class Budget>
void NodeSearch<Budget>::restore(const Frame &frame, const Node &node)
{
    if (frame.saved != none)
        std::copy_n(savedCaptures.data() + frame.saved, program.captureCount - node.writesFrom,
                    captures + node.writesFrom);
}

template <class Budget>
void NodeSearch<Budget>::popFrame()
{
    if (frames.last().saved != none)
        savedCaptures.cut(frames.last().saved);
    frames.pop();
}

} // namespace

template <class Budget>
MatchResult searchNodes(const Program &program, const Subject &subject, int start,
                        Capture *captures, Budget &budget)
{
    return NodeSearch<Budget>(program, subject, captures, budget).search(start);
}

template MatchResult searchNodes(const Program &, const Subject &, int, Capture *, NoBudget &);
template MatchResult searchNodes(const Program &, const Subject &, int, Capture *, StepBudget &);

} // namespace Tavrin::detail
