// SPDX-License-Identifier: MIT
// One pass over the pattern with one token of pushback. Every loop asks atEnd, which becomes true
// with the first error. Pinned by tests/regexp/ReferenceTest.cpp.
#include <algorithm>
#include <utility>

#include "regexp/reference/Pattern.h"

namespace Tavrin::test::reference {

namespace {

// A token is a code unit with flags above it.
using Token = std::uint32_t;

constexpr Token metaFlag = 0x10000;
constexpr Token backReferenceFlag = 0x20000;
constexpr Token escapedFlag = 0x40000;
constexpr Token unitMask = 0xFFFF;

constexpr std::u16string_view metaCharacters = u"|()[]{^$*+?.";

constexpr Token meta(char16_t unit)
{
    return metaFlag + unit;
}

bool isQuantifierToken(Token token)
{
    return token == meta(u'{') || token == meta(u'+') || token == meta(u'*') || token == meta(u'?');
}

bool isDecimalDigit(Token token)
{
    return token >= '0' && token <= '9';
}

bool isOctalDigit(Token token)
{
    return token >= '0' && token <= '7';
}

// The value of a digit in that base, or -1.
int digitValue(char16_t unit, int base)
{
    int value = -1;
    if (unit >= '0' && unit <= '9')
        value = unit - '0';
    else if (unit >= 'a' && unit <= 'f')
        value = unit - 'a' + 10;
    else if (unit >= 'A' && unit <= 'F')
        value = unit - 'A' + 10;
    return value < base ? value : -1;
}

// Counts too large for an int are as large as an int can be.
int withDigit(int number, Token digit)
{
    const std::int64_t value = std::int64_t{number} * 10 + (digit - '0');
    return static_cast<int>(std::min<std::int64_t>(value, std::numeric_limits<int>::max()));
}

std::unique_ptr<Node> makeString(std::u16string_view text)
{
    auto node = std::make_unique<Node>(Kind::string);
    node->text = text;
    return node;
}

void append(Chain &chain, std::unique_ptr<Node> node)
{
    if (node)
        chain.push_back(std::move(node));
}

bool holdsBacktrackable(const Chain &chain)
{
    return std::any_of(chain.begin(), chain.end(),
                       [](const auto &node) { return node->backtrackable; });
}

void setChildren(Node &container, Chain chain)
{
    container.backtrackable = container.backtrackable || holdsBacktrackable(chain);
    container.children = std::move(chain);
}

void addBranch(Node &alternative, Chain chain)
{
    if (chain.empty())
        return;
    const bool backtrackable = holdsBacktrackable(chain);
    alternative.branches.push_back({std::move(chain), backtrackable});
    alternative.backtrackable = true;
}

void addRange(std::vector<bool> &members, Token first, Token last)
{
    for (Token unit = first; unit <= last; ++unit)
        members[unit] = true;
}

void addShorthand(std::vector<bool> &members, char letter)
{
    switch (letter) {
    case 'd':
        addRange(members, 48, 57);
        break;
    case 'w':
        addRange(members, 48, 57);
        addRange(members, 65, 90);
        addRange(members, 95, 95);
        addRange(members, 97, 122);
        break;
    default:
        addRange(members, 8, 13);
        for (const Token unit : {32U, 160U, 5760U, 6158U})
            addRange(members, unit, unit);
        addRange(members, 8192, 8202);
        for (const Token unit : {8232U, 8233U, 8239U, 8287U, 12288U})
            addRange(members, unit, unit);
    }
}

class Compiler
{
public:
    explicit Compiler(std::u16string_view text) : pattern(text) {}

    Pattern run();

private:
    // Tokens
    bool atEnd() const;
    bool nextIs(char16_t unit) const;
    char16_t readUnit();
    Token readToken();
    void pushBack(Token token) { pushedBack = token; }
    Token readEscape();
    Token readTableEscape(char16_t unit);
    Token readNul();
    Token readOctal();
    Token readControl();
    Token readDigits(int count, int base);
    std::optional<Token> readBackReference();

    // Nodes
    std::unique_ptr<Node> atom(Token token, Chain &chain);
    std::unique_ptr<Node> literalRun(char16_t first, Chain &chain);
    std::unique_ptr<Node> dotRun();
    std::unique_ptr<Node> quantifier(int minimum, int maximum, Chain &chain);
    std::unique_ptr<Node> countedQuantifier(Chain &chain);
    std::unique_ptr<Node> group();
    std::unique_ptr<Node> alternation(Chain &chain);
    std::unique_ptr<Node> characterClass();
    std::unique_ptr<Node> shorthandSet(Token token);
    std::unique_ptr<Node> wordBoundary(bool negated);
    Token addClassElement(std::vector<bool> &members, Token token);

    std::u16string_view pattern;
    std::size_t position = 0;
    bool failed = false;
    std::optional<Token> pushedBack;
    std::int16_t highestReference = 0;
    bool insideClass = false;
    int captures = 0;
    int quantifiers = 0;
    int alternatives = 0;
};

Pattern Compiler::run()
{
    Pattern result;
    Chain chain;
    if (pattern.empty()) {
        auto node = std::make_unique<Node>(Kind::group);
        node->groupKind = GroupKind::ahead;
        append(chain, std::move(node));
    }
    while (!atEnd())
        append(chain, atom(readToken(), chain));
    if (highestReference > captures)
        failed = true;
    if (failed)
        return result;
    result.root = std::move(chain);
    result.captures = captures + 1;
    result.quantifiers = quantifiers;
    result.alternatives = alternatives;
    return result;
}

bool Compiler::atEnd() const
{
    return (failed || position >= pattern.size()) && !pushedBack;
}

bool Compiler::nextIs(char16_t unit) const
{
    return position < pattern.size() && pattern[position] == unit;
}

char16_t Compiler::readUnit()
{
    if (position >= pattern.size()) {
        failed = true;
        return u' ';
    }
    return pattern[position++];
}

Token Compiler::readToken()
{
    if (pushedBack)
        return *std::exchange(pushedBack, std::nullopt);
    const char16_t unit = readUnit();
    if (unit == u'\\')
        return readEscape();
    return metaCharacters.find(unit) != std::u16string_view::npos ? meta(unit) : unit;
}

Token Compiler::readEscape()
{
    const std::size_t behindBackslash = position;
    const char16_t unit = readUnit();
    if (unit >= '1' && unit <= '9' && !insideClass) {
        position = behindBackslash;
        if (const std::optional<Token> reference = readBackReference())
            return *reference;
        position = behindBackslash + 1;
    }
    if (unit < '0' || unit > 'x')
        return unit | escapedFlag;
    return readTableEscape(unit);
}

// All digits that follow, when there is such a group so far, or when there is only one digit.
std::optional<Token> Compiler::readBackReference()
{
    const std::size_t firstDigit = position;
    int number = 0;
    while (position < pattern.size() && isDecimalDigit(pattern[position]))
        number = withDigit(number, pattern[position++]);
    if (number > captures && position - firstDigit > 1)
        return std::nullopt;
    highestReference = std::max(highestReference, static_cast<std::int16_t>(number));
    return backReferenceFlag + static_cast<Token>(number);
}

Token Compiler::readTableEscape(char16_t unit)
{
    switch (unit) {
    case '0':
        return readNul();
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
        --position;
        return readOctal();
    case 'B':
        if (insideClass)
            failed = true;
        return meta(unit);
    case 'D':
    case 'S':
    case 'W':
    case 'd':
    case 's':
    case 'w':
        return meta(unit);
    case 'b':
        return insideClass ? 8 : meta(unit);
    case 'c':
        return readControl();
    case 'f':
        return 12;
    case 'n':
        return 10;
    case 'r':
        return 13;
    case 't':
        return 9;
    case 'v':
        return 11;
    case 'o':
        return readDigits(3, 8);
    case 'u':
        return readDigits(4, 16);
    case 'x':
        return readDigits(2, 16);
    default:
        return unit | escapedFlag;
    }
}

// \0, alone or with two octal digits.
Token Compiler::readNul()
{
    if (position + 2 > pattern.size())
        return escapedFlag;
    const int high = digitValue(pattern[position], 8);
    const int low = digitValue(pattern[position + 1], 8);
    if (high < 0 || low < 0)
        return escapedFlag;
    position += 2;
    return static_cast<Token>(high * 8 + low) | escapedFlag;
}

// Up to three octal digits; 0 without any.
Token Compiler::readOctal()
{
    Token value = 0;
    for (int i = 0; i < 3 && position < pattern.size() && isOctalDigit(pattern[position]); ++i)
        value = value * 8 + (pattern[position++] - u'0');
    return value;
}

Token Compiler::readControl()
{
    const char16_t unit = readUnit();
    if (unit >= 'A' && unit <= 'Z')
        return unit - 64U;
    if (unit >= 'a' && unit <= 'z')
        return unit - 96U;
    failed = true;
    return unit;
}

// Exactly that many digits behind the letter; otherwise the letter itself is read as a token.
Token Compiler::readDigits(int count, int base)
{
    const std::size_t letter = position - 1;
    Token value = 0;
    for (int i = 0; i < count; ++i) {
        const int digit = position < pattern.size() ? digitValue(pattern[position], base) : -1;
        if (digit < 0) {
            position = letter;
            return readToken();
        }
        value = value * static_cast<Token>(base) + static_cast<Token>(digit);
        ++position;
    }
    return value;
}

// One node, or none after an error. The chain is the one under construction: quantifiers and
// alternations take from it.
std::unique_ptr<Node> Compiler::atom(Token token, Chain &chain)
{
    const auto unit = static_cast<char16_t>(token & unitMask);
    if (token & backReferenceFlag) {
        auto node = std::make_unique<Node>(Kind::backReference);
        node->number = unit;
        return node;
    }
    if (!(token & metaFlag))
        return literalRun(unit, chain);
    switch (unit) {
    case '$':
        return std::make_unique<Node>(Kind::eol);
    case '^':
        return std::make_unique<Node>(Kind::bol);
    case '(':
        return group();
    case '*':
        return quantifier(0, noMaximum, chain);
    case '+':
        return quantifier(1, noMaximum, chain);
    case '?':
        return quantifier(0, 1, chain);
    case '{':
        return countedQuantifier(chain);
    case '.':
        return dotRun();
    case '[':
        return characterClass();
    case '|':
        return alternation(chain);
    case 'b':
    case 'B':
        return wordBoundary(unit == 'B');
    case ')':
    case ']':
        return literalRun(unit, chain);
    default:
        return shorthandSet(token);
    }
}

std::unique_ptr<Node> Compiler::literalRun(char16_t first, Chain &chain)
{
    std::u16string text(1, first);
    while (!atEnd()) {
        const Token token = readToken();
        if (isQuantifierToken(token)) {
            pushBack(token);
            const std::u16string last(1, text.back());
            text.pop_back();
            if (!text.empty())
                append(chain, makeString(text));
            return makeString(last);
        }
        if (token & (metaFlag | backReferenceFlag)) {
            pushBack(token);
            break;
        }
        text += static_cast<char16_t>(token & unitMask);
    }
    return makeString(text);
}

std::unique_ptr<Node> Compiler::dotRun()
{
    auto node = std::make_unique<Node>(Kind::anyChar);
    node->dots = 1;
    while (!atEnd()) {
        const Token token = readToken();
        if (token != meta(u'.')) {
            pushBack(token);
            break;
        }
        ++node->dots;
    }
    return node;
}

std::unique_ptr<Node> Compiler::quantifier(int minimum, int maximum, Chain &chain)
{
    const bool lazy = nextIs(u'?');
    if (lazy)
        ++position;
    if (nextIs(u'*') || nextIs(u'?') || nextIs(u'+'))
        failed = true;
    if (chain.empty()) {
        failed = true;
        return nullptr;
    }
    Chain child;
    child.push_back(std::move(chain.back()));
    chain.pop_back();
    auto node = std::make_unique<Node>(Kind::quantifier);
    node->state = quantifiers++;
    node->minimum = minimum;
    node->maximum = maximum;
    node->lazy = lazy;
    node->backtrackable = minimum < maximum;
    setChildren(*node, std::move(child));
    return node;
}

// {n} or {n,} or {n,m}. Everything else is text as it stands, with the token that spoilt it.
std::unique_ptr<Node> Compiler::countedQuantifier(Chain &chain)
{
    const std::size_t brace = position - 1;
    int minimum = 0;
    int maximum = 0;
    bool hasMinimum = false;
    bool hasMaximum = false;
    bool hasComma = false;
    while (!atEnd()) {
        const Token token = readToken();
        if (isDecimalDigit(token)) {
            int &number = hasComma ? maximum : minimum;
            number = withDigit(number, token);
            (hasComma ? hasMaximum : hasMinimum) = true;
        } else if (token == u',' && !hasComma) {
            hasComma = true;
        } else if (token == u'}' && hasMinimum) {
            if (!hasComma)
                return quantifier(minimum, minimum, chain);
            if (!hasMaximum)
                return quantifier(minimum, noMaximum, chain);
            return quantifier(minimum, std::max(minimum, maximum), chain);
        } else {
            break;
        }
    }
    return makeString(pattern.substr(brace, position - brace));
}

std::unique_ptr<Node> Compiler::group()
{
    auto node = std::make_unique<Node>(Kind::group);
    Chain chain;
    node->groupKind = GroupKind::capture;
    const Token first = readToken();
    if (first != meta(u'?')) {
        ++captures;
        pushBack(first);
    } else if (nextIs(u'!') || nextIs(u':') || nextIs(u'=')) {
        const char16_t unit = readUnit();
        node->groupKind = unit == u'!'   ? GroupKind::notAhead
                          : unit == u':' ? GroupKind::plain
                                         : GroupKind::ahead;
    } else {
        --position;
        append(chain, literalRun(u'?', chain));
    }
    node->number = captures;
    for (;;) {
        if (atEnd()) {
            failed = true;
            break;
        }
        const Token token = readToken();
        if (token == meta(u')'))
            break;
        append(chain, atom(token, chain));
    }
    setChildren(*node, std::move(chain));
    return node;
}

std::unique_ptr<Node> Compiler::alternation(Chain &chain)
{
    auto node = std::make_unique<Node>(Kind::alternative);
    node->state = alternatives++;
    addBranch(*node, std::exchange(chain, {}));
    Chain branch;
    bool isBehindBar = true;
    for (;;) {
        if (std::exchange(isBehindBar, false) && position < pattern.size()) {
            const Token next = readToken();
            pushBack(next);
            if (next == meta(u')')) {
                Chain empty;
                append(empty, makeString({}));
                addBranch(*node, std::move(empty));
            }
        }
        if (atEnd())
            break;
        const Token token = readToken();
        if (token == meta(u')')) {
            --position;
            break;
        }
        if (token == meta(u'|')) {
            if (branch.empty())
                append(branch, makeString({}));
            addBranch(*node, std::exchange(branch, {}));
            isBehindBar = true;
        } else {
            append(branch, atom(token, branch));
        }
    }
    addBranch(*node, std::move(branch));
    return node;
}

std::unique_ptr<Node> Compiler::characterClass()
{
    auto node = std::make_unique<Node>(Kind::set);
    node->members.resize(unitCount);
    insideClass = true;
    Token token = readToken();
    if (token == meta(u'^')) {
        node->negated = true;
        token = readToken();
    }
    while (token != meta(u']') && !failed)
        token = addClassElement(node->members, token);
    insideClass = false;
    return node;
}

// Adds what begins with that token, and returns the token behind it: a closing bracket that an
// element has taken is returned, too.
Token Compiler::addClassElement(std::vector<bool> &members, Token token)
{
    const Token first = token & unitMask;
    const bool isLetter = (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z');
    if ((token & metaFlag) && isLetter) {
        const std::unique_ptr<Node> shorthand = shorthandSet(token);
        for (Token unit = 0; unit < unitCount; ++unit)
            if (shorthand->members[unit] != shorthand->negated)
                members[unit] = true;
        return readToken();
    }
    const Token next = readToken();
    if (next != u'-') {
        members[first] = true;
        return next;
    }
    const Token behindDash = readToken();
    if (behindDash == meta(u']')) {
        members[first] = true;
        members[u'-'] = true;
        return behindDash;
    }
    const Token last = behindDash & unitMask;
    if (first > last)
        failed = true;
    else
        addRange(members, first, last);
    return readToken();
}

std::unique_ptr<Node> Compiler::shorthandSet(Token token)
{
    const auto letter = static_cast<char>(token & unitMask);
    const bool isUpperCase = letter >= 'A' && letter <= 'Z';
    auto node = std::make_unique<Node>(Kind::set);
    node->members.resize(unitCount);
    node->negated = isUpperCase;
    addShorthand(node->members, static_cast<char>(isUpperCase ? letter - 'A' + 'a' : letter));
    return node;
}

std::unique_ptr<Node> Compiler::wordBoundary(bool negated)
{
    auto node = std::make_unique<Node>(Kind::wordBoundary);
    node->negated = negated;
    return node;
}

} // namespace

Pattern compile(std::u16string_view text)
{
    return Compiler(text).run();
}

} // namespace Tavrin::test::reference
