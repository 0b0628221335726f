// SPDX-License-Identifier: MIT
#pragma once

#include "text/StringAccess.h"

namespace Tavrin::detail {

// A token of a pattern: a code unit, and flags that say what it is. A unit without a flag is plain
// text, however it was written: \x2A is a star that repeats nothing.
using Token = unsigned;
inline constexpr Token metaFlag = 0x10000;      // an operator; a letter is that of a shorthand
inline constexpr Token referenceFlag = 0x20000; // a back reference to the group of that number
inline constexpr Token escapedFlag = 0x40000;   // text that an escape made of itself

constexpr Token meta(char unit)
{
    return metaFlag | static_cast<unsigned char>(unit);
}

constexpr bool isMeta(Token token)
{
    return (token & metaFlag) != 0;
}

constexpr unsigned short unitOf(Token token)
{
    return static_cast<unsigned short>(token & 0xFFFF);
}

// PatternReader: cuts a pattern into tokens, one of which may be pushed back.
// Failure: an error stays; what is read behind it means nothing.
class PatternReader
{
public:
    explicit PatternReader(UnitView itsPattern) : pattern(itsPattern) {}

    // Whether nothing is left. Parsing loops run until then.
    bool isAtEnd() const { return (hasFailed || position >= pattern.length) && !isPushedBack; }
    bool hasError() const { return hasFailed; }
    void fail() { hasFailed = true; }

    // The next token; an error at the end.
    Token next()
    {
        if (!isPushedBack)
            return scan();
        isPushedBack = false;
        return pushedBack;
    }
    void pushBack(Token token)
    {
        pushedBack = token;
        isPushedBack = true;
    }

    // The raw text: where the reader stands in it, and a step back to there.
    int getPosition() const { return position; }
    void goTo(int where)
    {
        position = where;
        isPushedBack = false;
    }
    bool hasRawText() const { return position < pattern.length; }
    bool nextIs(char unit) const
    {
        return hasRawText() && pattern.units[position] == static_cast<unsigned char>(unit);
    }
    void skip() { ++position; }

    void setInClass(bool inside) { isInClass = inside; }
    // How many groups were opened so far, which decides what is a reference.
    int groupsOpened = 0;
    int getHighestReference() const { return highestReference; }

private:
    Token scan();
    Token scanEscape();
    Token scanReferenceOrOctal(unsigned short digit);
    Token scanZero();
    Token scanControl();
    Token scanDigits(int radix, int count);
    int readDigits(int radix, int most, int &value);

    UnitView pattern;
    int position = 0;
    Token pushedBack = 0;
    bool isPushedBack = false;
    bool hasFailed = false;
    bool isInClass = false;
    int highestReference = 0;
};

} // namespace Tavrin::detail
