// SPDX-License-Identifier: MIT
// Patterns into programs, in a single pass.
//
// Atoms are appended to the chain that is open: the top level's, a group's or a branch's. A
// quantifier takes the chain's last atom back and puts itself there. What is open around the
// current chain stands on a stack of our own, so that groups may be nested as deep as the pattern
// is long. A subtree is complete before the next one of its chain begins; so the ids of its
// quantifiers, and of its alternatives, follow each other.
//
// The compiler is forgiving: what makes no sense as an operator is text, but for the nine errors
// that set PatternReader::fail here and there.
// Pinned by tests/regexp/CompilerTest.cpp, ClassTest.cpp and EscapeTest.cpp.
#include "regexp/PatternCompiler.h"

#include "regexp/Chain.h"

#include <algorithm>
#include <string_view>

#include "text/UnicodeTables.h"

namespace Tavrin::detail {

namespace {

struct Chain
{
    int first = none;
    int last = none;
};

// A group that is open, or the top level.
struct OpenGroup
{
    Chain chain; // of the branch, in an alternative
    int alternative = none;
    int index = 0;
    GroupKind kind = GroupKind::plain;
    int firstQuantifier = 0;
    int firstAlternative = 0;
};

bool isQuantifier(Token token)
{
    return token == meta('*') || token == meta('+') || token == meta('?') || token == meta('{');
}

bool isShorthandLetter(Token token)
{
    const unsigned short unit = unitOf(token);
    return isMeta(token) && ((unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z'));
}

bool isDigit(Token token)
{
    return token >= '0' && token <= '9';
}

class PatternCompiler
{
public:
    PatternCompiler(UnitView itsPattern, Program &itsProgram)
        : pattern(itsPattern), reader(itsPattern), program(itsProgram)
    {}

    bool compile();

private:
    void compileToken(Token token);
    void compileMeta(Token token);
    void compileLiterals(Token first);
    void compileDots();
    void compileShorthand(unsigned short letter);
    void compileClass();
    bool compileClassElement(Token &token);
    void compileQuantifier(int minimum, int maximum);
    void compileCount();
    void openGroup();
    void closeGroup();
    void closeParenthesis();
    void compileBar();
    void endAlternative();

    void addBranch();
    void addEmptyBranch();
    int addAtom(const Node &node);
    int append(const Node &node);
    void appendLiteral(int offset, int length);
    void appendSet(int firstRange, bool isNegated);
    void adopt(int parent, Chain chain);
    Node node(NodeKind kind) const;
    bool readCount(Token &token, int &count, bool &hasDigits);
    void finish();

    Node &nodeAt(int index) { return program.nodes[index]; }
    OpenGroup &current() { return open.last(); }

    UnitView pattern;
    PatternReader reader;
    Program &program;
    Growing<OpenGroup, 8> open;
};

// --- The chain -----------------------------------------------------------------------------------

Node PatternCompiler::node(NodeKind kind) const
{
    Node fresh;
    fresh.kind = kind;
    const int quantifiers = program.quantifierNodes.size();
    const int alternatives = program.alternativeNodes.size();
    fresh.quantifiers = {quantifiers, quantifiers};
    fresh.alternatives = {alternatives, alternatives};
    return fresh;
}

int PatternCompiler::addAtom(const Node &node)
{
    program.nodes.push(node);
    return program.nodes.size() - 1;
}

int PatternCompiler::append(const Node &node)
{
    const int atom = addAtom(node);
    Chain &chain = current().chain;
    nodeAt(atom).previous = chain.last;
    if (chain.last == none)
        chain.first = atom;
    else
        nodeAt(chain.last).next = atom;
    chain.last = atom;
    return atom;
}

// Makes the atoms of a chain the children of a container.
void PatternCompiler::adopt(int parent, Chain chain)
{
    Node &container = nodeAt(parent);
    container.first = chain.first;
    container.last = chain.last;
    for (int atom = chain.first; atom != none; atom = nodeAt(atom).next) {
        Node &child = nodeAt(atom);
        child.parent = parent;
        if (child.isBacktrackable && container.firstChoice == none)
            container.firstChoice = atom;
        container.isBacktrackable |= child.isBacktrackable;
        container.mayRecur |= child.mayRecur;
        container.writesFrom = std::min(container.writesFrom, child.writesFrom);
    }
}

// --- Simple atoms --------------------------------------------------------------------------------

void PatternCompiler::appendLiteral(int offset, int length)
{
    Node literal = node(NodeKind::literal);
    literal.offset = offset;
    literal.length = length;
    append(literal);
}

// Consecutive text is one atom. A quantifier, or what looks like one, takes the last unit.
void PatternCompiler::compileLiterals(Token first)
{
    const int offset = program.units.size();
    program.units.push(unitOf(first));
    while (!reader.isAtEnd()) {
        const Token token = reader.next();
        if (isMeta(token) || (token & referenceFlag) != 0) {
            reader.pushBack(token);
            const int before = program.units.size() - 1 - offset;
            if (isQuantifier(token) && before > 0) {
                appendLiteral(offset, before);
                appendLiteral(offset + before, 1);
                return;
            }
            break;
        }
        program.units.push(unitOf(token));
    }
    appendLiteral(offset, program.units.size() - offset);
}

// D-306: dots in a row are one atom, so that a quantifier repeats all of them.
void PatternCompiler::compileDots()
{
    Node dots = node(NodeKind::anyUnit);
    dots.length = 1;
    while (!reader.isAtEnd()) {
        const Token token = reader.next();
        if (token != meta('.')) {
            reader.pushBack(token);
            break;
        }
        ++dots.length;
    }
    append(dots);
}

void PatternCompiler::appendSet(int firstRange, bool isNegated)
{
    SetRange *ranges = program.ranges.data() + firstRange;
    const int count = normalizeRanges(ranges, program.ranges.size() - firstRange);
    program.ranges.cut(firstRange + count);
    Node set = node(NodeKind::set);
    set.index = program.sets.size();
    set.offset = firstRange;
    program.sets.push(makeUnitSet(ranges, count, isNegated, program.ignoresCase));
    append(set);
}

void PatternCompiler::compileShorthand(unsigned short letter)
{
    const int firstRange = program.ranges.size();
    const bool isNegated = letter < 'a';
    appendShorthand(static_cast<unsigned short>(letter | 0x20), program.ranges);
    appendSet(firstRange, isNegated);
}

void PatternCompiler::compileClass()
{
    const int firstRange = program.ranges.size();
    reader.setInClass(true);
    Token token = reader.next();
    const bool isNegated = token == meta('^');
    if (isNegated)
        token = reader.next();
    while (token != meta(']') && !reader.hasError()) {
        if (!compileClassElement(token))
            break;
    }
    reader.setInClass(false);
    appendSet(firstRange, isNegated);
}

// Takes one element, which begins with `token`, and leaves the token behind it there; false if the
// class has ended.
bool PatternCompiler::compileClassElement(Token &token)
{
    const unsigned short first = unitOf(token);
    if (isShorthandLetter(token)) { // D-307: which is no end of a range
        appendShorthand(first, program.ranges);
        token = reader.next();
        return true;
    }
    token = reader.next();
    if (token != '-') {
        program.ranges.push({first, first});
        return true;
    }
    token = reader.next();
    if (token == meta(']')) {
        program.ranges.push({first, first});
        program.ranges.push({'-', '-'});
        return false;
    }
    const unsigned short last = unitOf(token); // D-307: of a shorthand, the letter
    if (first > last)
        reader.fail();
    else
        program.ranges.push({first, last});
    token = reader.next();
    return true;
}

// --- Quantifiers ---------------------------------------------------------------------------------

bool takesOneUnit(const Node &atom)
{
    return atom.kind == NodeKind::set ||
           ((atom.kind == NodeKind::literal || atom.kind == NodeKind::anyUnit) && atom.length == 1);
}

// Whether a match of it always consumes; false for what is not simple.
bool alwaysConsumes(const Node &atom)
{
    return atom.kind == NodeKind::set || atom.kind == NodeKind::anyUnit ||
           (atom.kind == NodeKind::literal && atom.length > 0);
}

// The captures that a round over the atom forgets: those of its groups, and all behind them.
int clearedFrom(const Node &atom)
{
    if (atom.kind != NodeKind::group)
        return none;
    return atom.group == GroupKind::capture ? atom.index : atom.index + 1;
}

void PatternCompiler::compileQuantifier(int minimum, int maximum)
{
    const bool isLazy = reader.nextIs('?');
    if (isLazy)
        reader.skip();
    Chain &chain = current().chain;
    const int atom = chain.last;
    if (reader.nextIs('*') || reader.nextIs('?') || reader.nextIs('+') || atom == none) {
        reader.fail();
        return;
    }
    chain.last = nodeAt(atom).previous;
    if (chain.last == none)
        chain.first = none;
    else
        nodeAt(chain.last).next = none;
    nodeAt(atom).previous = none;

    const int id = program.quantifierNodes.size();
    Node quantifier = node(NodeKind::quantifier);
    quantifier.index = id;
    quantifier.minimum = minimum;
    quantifier.maximum = maximum;
    quantifier.isLazy = isLazy;
    quantifier.isRun = takesOneUnit(nodeAt(atom));
    quantifier.isBacktrackable = minimum < maximum;
    quantifier.mayRecur = minimum < maximum && (nodeAt(atom).isBacktrackable ||
                                                (isLazy && !alwaysConsumes(nodeAt(atom))));
    quantifier.clearsFrom = clearedFrom(nodeAt(atom));
    if (quantifier.clearsFrom != none)
        quantifier.writesFrom = quantifier.clearsFrom;
    quantifier.quantifiers = {nodeAt(atom).quantifiers.first, id + 1};
    quantifier.alternatives.first = nodeAt(atom).alternatives.first;
    const int index = append(quantifier);
    program.quantifierNodes.push(index);
    adopt(index, {atom, atom});
}

// Reads the digits of a count, `token` first, and leaves what is behind them there; false at the
// end of the pattern. D-313: a count that is too large is no limit.
bool PatternCompiler::readCount(Token &token, int &count, bool &hasDigits)
{
    std::int64_t value = 0;
    hasDigits = false;
    for (; isDigit(token); token = reader.next()) {
        value = std::min<std::int64_t>(value * 10 + (token - '0'), unbounded);
        hasDigits = true;
        if (reader.isAtEnd())
            return false;
    }
    count = static_cast<int>(value);
    return true;
}

// D-342: a count may follow a quantifier. D-308: what is no complete count is text, all that was
// read of it, as one atom.
void PatternCompiler::compileCount()
{
    const int brace = reader.getPosition() - 1;
    int minimum = 0;
    int maximum = 0;
    bool hasMinimum = false;
    Token token = 0;
    bool isComplete = false;
    if (!reader.isAtEnd()) {
        token = reader.next();
        isComplete = readCount(token, minimum, hasMinimum);
        maximum = minimum;
        if (isComplete && token == ',') {
            isComplete = !reader.isAtEnd();
            if (isComplete) {
                bool hasMaximum = false;
                token = reader.next();
                isComplete = readCount(token, maximum, hasMaximum);
                // D-309: a maximum below the minimum is the minimum.
                maximum = hasMaximum ? std::max(minimum, maximum) : unbounded;
            }
        }
    }
    if (isComplete && token == '}' && hasMinimum) {
        compileQuantifier(minimum, maximum);
        return;
    }
    const int offset = program.units.size();
    program.units.append(pattern.units + brace, reader.getPosition() - brace);
    appendLiteral(offset, program.units.size() - offset);
}

// --- Groups and alternatives ---------------------------------------------------------------------

void PatternCompiler::openGroup()
{
    OpenGroup group;
    group.firstQuantifier = program.quantifierNodes.size();
    group.firstAlternative = program.alternativeNodes.size();
    group.kind = GroupKind::capture;
    const Token token = reader.next();
    bool beginsWithQuestion = false;
    if (token == meta('?')) {
        if (reader.nextIs('!')) {
            group.kind = GroupKind::notAhead;
        } else if (reader.nextIs(':')) {
            group.kind = GroupKind::plain;
        } else if (reader.nextIs('=')) {
            group.kind = GroupKind::ahead;
        } else { // D-310: an optional question mark, in a group that shares its number
            reader.goTo(reader.getPosition() - 1);
            beginsWithQuestion = true;
        }
        if (!beginsWithQuestion)
            reader.skip();
    } else {
        ++reader.groupsOpened;
        reader.pushBack(token);
    }
    group.index = reader.groupsOpened;
    open.push(group);
    if (beginsWithQuestion)
        compileLiterals('?');
}

void PatternCompiler::closeGroup()
{
    const OpenGroup group = current();
    open.pop();
    Node container = node(NodeKind::group);
    container.group = group.kind;
    container.index = group.index;
    container.quantifiers.first = group.firstQuantifier;
    container.alternatives.first = group.firstAlternative;
    // A lookahead that fails forgets the captures behind its index.
    if (group.kind == GroupKind::capture)
        container.writesFrom = group.index;
    else if (group.kind != GroupKind::plain)
        container.writesFrom = group.index + 1;
    adopt(append(container), group.chain);
}

// D-312: an unbalanced parenthesis is text, and yet it ends the alternative of the top level.
void PatternCompiler::closeParenthesis()
{
    if (current().alternative != none)
        endAlternative();
    if (open.size() > 1)
        closeGroup();
    else
        compileLiterals(meta(')'));
}

// Makes the open chain a branch.
void PatternCompiler::addBranch()
{
    const Chain chain = current().chain;
    current().chain = {};
    const int parent = current().alternative;
    const int branch = addAtom(node(NodeKind::branch));
    nodeAt(branch).parent = parent;
    nodeAt(branch).previous = nodeAt(parent).last;
    if (nodeAt(parent).last == none)
        nodeAt(parent).first = branch;
    else
        nodeAt(nodeAt(parent).last).next = branch;
    nodeAt(parent).last = branch;
    adopt(branch, chain);
    Node &alternative = nodeAt(parent);
    alternative.isBacktrackable = true;
    alternative.mayRecur |= nodeAt(branch).mayRecur;
    alternative.writesFrom = std::min(alternative.writesFrom, nodeAt(branch).writesFrom);
}

void PatternCompiler::addEmptyBranch()
{
    appendLiteral(program.units.size(), 0);
    addBranch();
}

void PatternCompiler::compileBar()
{
    if (current().alternative == none) {
        Node alternative = node(NodeKind::alternative);
        alternative.index = program.alternativeNodes.size();
        alternative.quantifiers.first = current().firstQuantifier;
        alternative.alternatives.first = current().firstAlternative;
        const int index = addAtom(alternative);
        program.alternativeNodes.push(index);
        current().alternative = index;
        if (current().chain.first != none) // D-311: an empty first branch is none
            addBranch();
    } else if (current().chain.first != none) {
        addBranch();
    } else {
        addEmptyBranch();
    }
    if (!reader.hasRawText()) // D-311: and an empty last one, but before a parenthesis
        return;
    const Token token = reader.next();
    reader.pushBack(token);
    if (token == meta(')'))
        addEmptyBranch();
}

// The alternative becomes the only atom of the open chain.
void PatternCompiler::endAlternative()
{
    if (current().chain.first != none)
        addBranch();
    const int index = current().alternative;
    current().alternative = none;
    current().chain = {index, index};
    nodeAt(index).quantifiers.end = program.quantifierNodes.size();
    nodeAt(index).alternatives.end = program.alternativeNodes.size();
}

// --- All of it -----------------------------------------------------------------------------------

void PatternCompiler::compileMeta(Token token)
{
    switch (unitOf(token)) {
    case '$':
        append(node(NodeKind::lineEnd));
        break;
    case '^':
        append(node(NodeKind::lineStart));
        break;
    case '(':
        openGroup();
        break;
    case ')':
        closeParenthesis();
        break;
    case ']':
        compileLiterals(token);
        break;
    case '*':
        compileQuantifier(0, unbounded);
        break;
    case '+':
        compileQuantifier(1, unbounded);
        break;
    case '?':
        compileQuantifier(0, 1);
        break;
    case '{':
        compileCount();
        break;
    case '.':
        compileDots();
        break;
    case '[':
        compileClass();
        break;
    case '|':
        compileBar();
        break;
    case 'b':
    case 'B': {
        Node boundary = node(NodeKind::wordBoundary);
        boundary.isNegated = unitOf(token) == 'B';
        append(boundary);
        break;
    }
    default:
        compileShorthand(unitOf(token));
        break;
    }
}

void PatternCompiler::compileToken(Token token)
{
    if ((token & referenceFlag) != 0) {
        Node reference = node(NodeKind::backReference);
        reference.index = unitOf(token);
        append(reference);
    } else if (isMeta(token)) {
        compileMeta(token);
    } else {
        compileLiterals(token);
    }
}

bool PatternCompiler::compile()
{
    open.push({});
    if (pattern.length == 0) {
        Node nothing = node(NodeKind::group);
        nothing.group = GroupKind::ahead;
        append(nothing);
    }
    while (!reader.isAtEnd())
        compileToken(reader.next());
    // D-340: a reference to a group that is missing is an error.
    if (reader.hasError() || open.size() > 1 || reader.getHighestReference() > reader.groupsOpened)
        return false;
    if (current().alternative != none)
        endAlternative();
    finish();
    return true;
}

// What had to wait until the lists stay where they are.
void PatternCompiler::finish()
{
    program.first = current().chain.first;
    program.captureCount = reader.groupsOpened + 1;
    for (int index = program.nodes.size() - 1; index >= 0; --index) {
        Node &node = nodeAt(index);
        // A group or quantifier comes behind its children.
        node.isOpen = node.parent == none ||
                      (node.next == none && nodeAt(node.parent).kind == NodeKind::group &&
                       nodeAt(node.parent).group <= GroupKind::plain && nodeAt(node.parent).isOpen);
        if (node.kind == NodeKind::set)
            program.sets[node.index].ranges = program.ranges.data() + node.offset;
        if (node.writesFrom >= program.captureCount)
            node.writesFrom = unbounded;
    }
    if (program.ignoresCase) // D-344: by the lower-case forms
        std::transform(program.units.data(), program.units.data() + program.units.size(),
                       program.units.data(), toLowerUnit);
    planChain(program);
}

} // namespace

bool compilePattern(UnitView pattern, Program &program)
{
    if (PatternCompiler(pattern, program).compile())
        return true;
    program.first = none;
    program.captureCount = 0;
    return false;
}

} // namespace Tavrin::detail
