// SPDX-License-Identifier: MIT
// Case. One unit maps to one unit, so the length stays; a shared record is left alone until a unit
// really changes. Pinned by tests/text/StringCaseTest.cpp.
#include <tavrin/String.h>

#include "text/StringBlocks.h"
#include "text/UnicodeTables.h"

namespace Tavrin {

namespace {

bool startsWord(unsigned short before)
{
    return before == ' ' || before == ',' || before == ';' || before == '.';
}

// D-039: a word begins with the upper-case form of its own unit, not of the lower-case one.
unsigned short mixedUnit(const unsigned short *text, int at, unsigned short before)
{
    return at == 0 || startsWord(before) ? detail::toUpperUnit(text[at])
                                         : detail::toLowerUnit(text[at]);
}

bool isMixed(const unsigned short *text, int length)
{
    unsigned short before = 0;
    for (int at = 0; at < length; ++at) {
        if (mixedUnit(text, at, before) != text[at])
            return false;
        before = text[at];
    }
    return true;
}

} // namespace

bool String::toLower()
{
    return mapUnits(detail::firstChangedByLower, detail::copyLower);
}

bool String::toUpper()
{
    return mapUnits(detail::firstChangedByUpper, detail::copyUpper);
}

bool String::mapUnits(int (*firstChanged)(const unsigned short *, int) noexcept,
                      bool (*copyMapped)(const unsigned short *, unsigned short *, int) noexcept)
{
    const int count = buffer->length;
    if (!buffer->isShared())
        return copyMapped(buffer->text, buffer->text, count);
    if (firstChanged(buffer->text, count) == count)
        return false;
    StringBuffer *fresh = detail::makeBuffer(count);
    copyMapped(buffer->text, fresh->text, count);
    adopt(fresh);
    return true;
}

bool String::toMixed()
{
    if (isMixed(buffer->text, buffer->length))
        return false;
    unique();
    unsigned short before = 0;
    for (int at = 0; at < buffer->length; ++at) {
        const unsigned short mapped = mixedUnit(buffer->text, at, before);
        before = buffer->text[at];
        buffer->text[at] = mapped;
    }
    return true;
}

} // namespace Tavrin
