// SPDX-License-Identifier: MIT
// Changes in the middle of a text. All of them are one step, `splice`: units go out and units come
// in at a position. A shared record is left alone and the result composed in a fresh one; a sole
// owner grows first, moves the tail and copies, so that nothing can fail half-way. The units that
// come in may be a part of the text. Pinned by tests/text/StringEditTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/StringBlocks.h"
#include "text/WideText.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;
using detail::WideText;

void String::splice(int at, int removed, const UnitView &added)
{
    const int tail = buffer->length - at - removed;
    const int tailTarget = detail::checkedLength(std::int64_t{at} + added.length);
    const int newLength = detail::checkedLength(std::int64_t{tailTarget} + tail);
    if (newLength == 0)
        return erase();
    if (buffer->isShared()) {
        StringBuffer *fresh = detail::makeBuffer(newLength);
        detail::copyUnits(fresh->text, buffer->text, at);
        detail::copyUnits(fresh->text + at, added.units, added.length);
        detail::copyUnits(fresh->text + tailTarget, buffer->text + at + removed, tail);
        return adopt(fresh);
    }
    if (added.length > 0 && holds(added.units)) {
        const String kept = StringAccess::make(added);
        return splice(at, removed, StringAccess::view(kept));
    }
    if (newLength > buffer->length && !buffer->keepsBlockFor(newLength))
        resize(newLength);
    detail::moveUnits(buffer->text + tailTarget, buffer->text + at + removed, tail);
    detail::copyUnits(buffer->text + at, added.units, added.length);
    adjust(newLength);
}

void String::erase(int start, int count)
{
    const int end = buffer->length;
    // D-032: a negative start erases nothing, since it means the end.
    if (start < 0)
        start = end;
    if (count < 0)
        count = end;
    if (start == 0 && count >= end)
        return erase();
    if (start < end)
        splice(start, std::min(count, end - start), {nullptr, 0});
}

void String::insertUnits(const UnitView &added, int pos)
{
    if (added.length == 0)
        return;
    if (pos >= buffer->length)
        appendUnits(added);
    else
        splice(std::max(pos, 0), 0, added);
}

void String::insert(const String &x, int pos)
{
    insertUnits(StringAccess::view(x), pos);
}

void String::insert(char unit, int pos)
{
    insert(widened(unit), pos);
}

void String::insert(unsigned short unit, int pos)
{
    insertUnits({&unit, 1}, pos);
}

void String::insert(const char *x, int pos)
{
    insertUnits(WideText(x).view(), pos);
}

void String::insert(const unsigned short *x, int pos)
{
    insertUnits({x, detail::lengthOrZero(x)}, pos);
}

String String::substr(int start, int count) const
{
    const int from = std::max(start, 0);
    const int available = buffer->length - from;
    const int taken = count < 0 ? available : std::min(count, available);
    if (taken > 0 && taken < buffer->length && taken <= detail::longestCached)
        if (StringBuffer *record = detail::takeBuffer(taken)) [[likely]] {
            detail::copyFewUnits(record->text, buffer->text + from, taken);
            return String(record);
        }
    return part(from, taken);
}

// Apart from the short part with its block at hand, which so needs no frame.
[[gnu::noinline]] String String::part(int start, int count) const
{
    if (count <= 0)
        return String();
    if (count == buffer->length)
        return *this;
    return StringAccess::make({buffer->text + start, count});
}

} // namespace Tavrin
