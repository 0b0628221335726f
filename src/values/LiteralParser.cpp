// SPDX-License-Identifier: MIT
// One value after the other, without recursion: the arrays that are open wait on a stack, and a
// value that is complete goes into the innermost one, which may be complete then, too.
// Pinned by tests/containers/ArrayParseTest.cpp.
#include "values/LiteralParser.h"

#include <utility>

#include <tavrin/UnicodeUtils.h>

#include "runtime/OnHeap.h"
#include "values/VariantAccess.h"

namespace Tavrin::detail {

namespace {

constexpr unsigned short lastBlank = 32;

bool endsWord(unsigned short unit)
{
    return unit == ',' || unit == ']' || unit == '}';
}

} // namespace

LiteralParser::~LiteralParser()
{
    while (!opened.isEmpty())
        deleteOnHeap(opened.pop());
}

bool LiteralParser::readElement(Variant &out)
{
    if (!readValue(out))
        return false;
    skipBlanks();
    take(',');
    skipBlanks();
    return true;
}

bool LiteralParser::readValue(Variant &out)
{
    for (;;) {
        skipBlanks();
        Variant value;
        if (take('[')) {
            open();
            skipBlanks();
            if (!take(']'))
                continue;
            close(value);
        } else if (!readScalar(value)) {
            return false;
        }
        while (!opened.isEmpty()) {
            *opened.top() += value;
            skipBlanks();
            const bool hasComma = take(',');
            skipBlanks();
            if (!take(']')) {
                if (!hasComma && !isAtQuote() && !isAtSymbol())
                    return false;
                break;
            }
            close(value);
        }
        if (opened.isEmpty()) {
            out = std::move(value);
            return true;
        }
    }
}

void LiteralParser::open()
{
    Array *array = newOnHeap<Array>();
    try {
        opened.push(array);
    } catch (...) {
        deleteOnHeap(array);
        throw;
    }
}

void LiteralParser::close(Variant &out)
{
    Variant complete;
    VariantAccess::giveArray(complete, opened.pop());
    out = std::move(complete);
}

bool LiteralParser::readScalar(Variant &out)
{
    if (!isAtQuote())
        return readWord(out);
    String string;
    const bool isComplete = text.parse(string, position);
    out = string;
    return isComplete;
}

bool LiteralParser::readWord(Variant &out)
{
    if (isAtObject())
        return false;
    const unsigned short *units = text.wstr();
    const int start = position;
    while (!isAtEnd() && !endsWord(units[position]))
        ++position;
    if (position == start && !isAt(','))
        return false;
    String word = text.substr(start, position - start);
    word.strip();
    if (word == "null")
        out.setNull();
    else if (word == "true" || word == "false")
        out.setBool(word == "true");
    else
        out.setDouble(Variant(word).getDouble());
    return true;
}

bool LiteralParser::isAt(char unit) const
{
    return !isAtEnd() && text.wstr()[position] == static_cast<unsigned char>(unit);
}

bool LiteralParser::isAtSymbol() const
{
    return !isAtEnd() && UnicodeUtils::isSymbolStart(text.wstr()[position]);
}

// A brace, or the name of a class and a brace.
bool LiteralParser::isAtObject() const
{
    int at = position;
    const auto isPart = [&] {
        const unsigned short unit = text.wstr()[at];
        return at == position ? UnicodeUtils::isSymbolStart(unit)
                              : UnicodeUtils::isSymbolChar(unit);
    };
    while (at < text.length() && isPart())
        ++at;
    while (at < text.length() && text.wstr()[at] <= lastBlank)
        ++at;
    return at < text.length() && text.wstr()[at] == '{';
}

bool LiteralParser::take(char unit)
{
    if (!isAt(unit))
        return false;
    ++position;
    return true;
}

void LiteralParser::skipBlanks()
{
    while (!isAtEnd() && text.wstr()[position] <= lastBlank)
        ++position;
}

} // namespace Tavrin::detail
