// SPDX-License-Identifier: MIT
// Reading literals. Runs of plain units are copied; quotes, line ends and escapes stand between
// them. Pinned by tests/text/StringParseTest.cpp.
#include <tavrin/String.h>

#include <algorithm>
#include <utility>

#include "text/HexDigits.h"
#include "text/MessageKey.h"
#include "text/StringAccess.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

constexpr unsigned short lineSeparator = 0x2028;
constexpr unsigned short paragraphSeparator = 0x2029;
constexpr unsigned greatestCharacter = 0x10FFFF;

enum class Ending
{
    quote,
    text,
    line,
    wrongCharacter, // a number that stands for none
    wrongDigit,
    cutEscape,
};

bool isLineEnd(unsigned short unit)
{
    return unit == 0 || unit == '\n' || unit == '\r' || unit == lineSeparator ||
           unit == paragraphSeparator;
}

bool isOctal(unsigned short unit)
{
    return unit >= '0' && unit <= '7';
}

class LiteralReader
{
public:
    LiteralReader(UnitView text, int start) : text(text), at(start)
    {
        if (isInText() && (text.units[at] == '"' || text.units[at] == '\''))
            quote = text.units[at++];
    }

    bool isQuoted() const { return quote != 0; }
    int position() const { return at; }
    String takeLiteral() { return std::move(literal); }

    Ending read()
    {
        for (;;) {
            copyPlainUnits();
            if (!isInText())
                return Ending::text;
            const unsigned short unit = text.units[at++];
            if (unit == '\\') {
                const Ending ending = readEscape();
                if (ending != Ending::text)
                    return ending;
            } else if (isLineEnd(unit)) {
                skipLineFeed(unit);
                return Ending::line;
            } else {
                return Ending::quote;
            }
        }
    }

private:
    bool isInText() const { return at < text.length; }

    void copyPlainUnits()
    {
        const int first = at;
        while (isInText() && isPlain(text.units[at]))
            ++at;
        literal.append(text.units + first, at - first);
    }
    bool isPlain(unsigned short unit) const
    {
        return unit != '\\' && unit != quote && !isLineEnd(unit);
    }
    // A carriage return takes a line feed with it.
    void skipLineFeed(unsigned short unit)
    {
        if (unit == '\r' && isInText() && text.units[at] == '\n')
            ++at;
    }

    // Behind the backslash. Ending::text says that the literal goes on, or that the text is over.
    Ending readEscape()
    {
        if (!isInText())
            return Ending::text;
        const unsigned short unit = text.units[at++];
        switch (unit) {
        case 'b':
            return append('\b');
        case 't':
            return append('\t');
        case 'n':
            return append('\n');
        case 'v':
            return append('\v');
        case 'f':
            return append('\f');
        case 'r':
            return append('\r');
        case 'x':
        case 'X':
            return readHex(2, 2);
        case 'u':
            return readHex(4, 4);
        case 'U':
            return readHex(1, 8);
        default:
            break;
        }
        if (isOctal(unit))
            return readOctal(unit);
        if (!isLineEnd(unit))
            return append(unit);
        skipLineFeed(unit);
        return Ending::text;
    }

    Ending append(unsigned short unit)
    {
        literal.append(unit);
        return Ending::text;
    }

    Ending readOctal(unsigned short first)
    {
        unsigned value = first - unsigned{'0'};
        const int most = first <= '3' ? 3 : 2;
        for (int digits = 1; digits < most && isInText() && isOctal(text.units[at]); ++digits)
            value = value * 8 + (text.units[at++] - unsigned{'0'});
        return append(static_cast<unsigned short>(value));
    }

    Ending readHex(int least, int most)
    {
        unsigned value = 0;
        for (int digits = 0; digits < most; ++digits) {
            const bool isEnough = digits >= least;
            if (!isInText())
                return isEnough ? appendCharacter(value) : Ending::cutEscape;
            const unsigned digit = detail::hexDigitValue(text.units[at]);
            if (digit > 15)
                return isEnough ? appendCharacter(value) : Ending::wrongDigit;
            value = value << 4 | digit;
            ++at;
        }
        return appendCharacter(value);
    }

    Ending appendCharacter(unsigned character)
    {
        if (character > greatestCharacter)
            return Ending::wrongCharacter;
        if (character <= 0xFFFF)
            return append(static_cast<unsigned short>(character));
        literal.append(static_cast<unsigned short>(0xD800 + ((character - 0x10000) >> 10)));
        return append(static_cast<unsigned short>(0xDC00 + (character & 0x3FF)));
    }

    UnitView text;
    int at;
    unsigned short quote = 0; // none: a 0 unit ends the line
    String literal;
};

bool isComplete(Ending ending, bool isQuoted)
{
    if (ending == Ending::quote)
        return true;
    return (ending == Ending::text || ending == Ending::line) && !isQuoted;
}

} // namespace

bool String::parse(String &out, int &pos) const
{
    const String source(*this); // `out` may be this string
    // A position before the text is as good as one behind it.
    const int start = pos < 0 ? source.length() : pos;
    LiteralReader reader(StringAccess::view(source), start);
    const Ending ending = reader.read();
    const bool isWhole = isComplete(ending, reader.isQuoted());
    String literal = reader.takeLiteral();
    // D-142: only in a literal that no line end has cut off.
    if (isWhole && ending != Ending::line && detail::isMessageKey(literal))
        detail::resolveMessageKey(literal);
    if (ending == Ending::wrongDigit)
        pos = -1;
    else if (ending == Ending::cutEscape)
        pos = 0;
    else
        pos = std::max(pos, reader.position());
    out = std::move(literal);
    return isWhole;
}

bool String::parse(String &out)
{
    String literal;
    int pos = 0;
    const bool isWhole = parse(literal, pos);
    if (pos < 0)
        erase();
    else
        erase(0, pos);
    out = std::move(literal);
    return isWhole;
}

} // namespace Tavrin
