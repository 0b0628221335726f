// SPDX-License-Identifier: MIT
// The record of a string: how it is made, shared, resized and given up.
//
// A String always refers to a record. Empty ones refer to emptyBuffer, which reads as shared; all
// others live on Heap. A writer makes its record its own first, by `unique` or by a fresh record,
// and switches records only after the new one is complete, so that running out of memory leaves
// the string as it was. A pinned record is never shared, so it always has one owner.
// Pinned by tests/text/StringTest.cpp and tests/text/StringBufferTest.cpp.
#include <tavrin/String.h>

#include <algorithm>
#include <new>
#include <utility>

#include "runtime/OnHeap.h"
#include "runtime/Startup.h"
#include "text/StringBlocks.h"

namespace Tavrin {

namespace detail {

constinit const StringBuffer emptyBuffer[] = {{0, 0, 2, {0}}};

namespace {

// Stands in for the object on Heap outside init and exit.
constexpr String outsideEmptyString;
constinit const String *emptyStringObject = &outsideEmptyString;

StringBuffer *makeText(const unsigned short *units, int length)
{
    // D-030: the first unit decides even when a length is given.
    if (units == nullptr || units[0] == 0 || length == 0)
        return const_cast<StringBuffer *>(emptyBuffer);
    return makeBuffer({units, length < 0 ? lengthOf(units) : length});
}

StringBuffer *makeText(const char *bytes)
{
    const int length = lengthOrZero(bytes);
    if (length == 0)
        return const_cast<StringBuffer *>(emptyBuffer);
    StringBuffer *record = makeBuffer(length);
    widen(bytes, record->text, length);
    return record;
}

} // namespace

void startString()
{
    emptyStringObject = newOnHeap<String>();
}

void stopString()
{
    if (emptyStringObject != &outsideEmptyString)
        deleteOnHeap(const_cast<String *>(std::exchange(emptyStringObject, &outsideEmptyString)));
}

String StringAccess::make(UnitView text)
{
    return text.length == 0 ? String() : String(makeBuffer(text));
}

} // namespace detail

using detail::StringAccess;

String::String(const char *bytes) : buffer(detail::makeText(bytes)) {}

String::String(const unsigned short *units, int length)
{
    const bool isShort = length > 0 && length <= detail::longestCached;
    const bool takesShortWay = isShort && units != nullptr && *units != 0;
    StringBuffer *record = takesShortWay ? detail::takeBuffer(length) : nullptr;
    if (record != nullptr) [[likely]] {
        buffer = record;
        detail::copyFewUnits(record->text, units, length);
    } else {
        start(units, length);
    }
}

// Apart from the short way, which so needs no frame.
[[gnu::noinline]] void String::start(const unsigned short *units, int length)
{
    buffer = detail::makeText(units, length);
}

StringBuffer *String::copyBuffer(const StringBuffer &original)
{
    return detail::makeBuffer({original.text, original.length});
}

const String &String::emptyString() noexcept
{
    return *detail::emptyStringObject;
}

// Takes over one reference on a complete record.
void String::adopt(StringBuffer *record) noexcept
{
    drop(std::exchange(buffer, record));
}

// The one place where sharing is broken with the text kept.
void String::unique()
{
    if (buffer->isShared())
        adopt(copyBuffer(*buffer));
}

void String::makeUnique()
{
    unique();
    buffer->capacityWord |= StringBuffer::pinnedFlag;
}

void String::init(int newLength)
{
    adopt(detail::makeBuffer(std::max(newLength, 0)));
}

void String::adjust(int newLength)
{
    if (newLength <= 0)
        return erase();
    if (buffer->isShared()) {
        StringBuffer *fresh = detail::makeBuffer(newLength);
        detail::copyUnits(fresh->text, buffer->text, std::min(newLength, buffer->length));
        return adopt(fresh);
    }
    if (!buffer->keepsBlockFor(newLength))
        resize(newLength);
    buffer->length = newLength;
    buffer->text[newLength] = 0;
}

// Moves the text of a sole owner to a block of the size for `newLength`. D-041: a block that cannot
// be made smaller stays, so that only growth runs out of memory.
void String::resize(int newLength)
{
    try {
        const std::size_t bytes = detail::bytesForRoom(detail::roomFor(newLength));
        if (bytes <= detail::largestCachedRequest)
            moveToFreshBlock(newLength);
        else
            resizeBlock(newLength);
    } catch (const std::bad_alloc &) {
        if (newLength > buffer->capacity())
            throw;
    }
}

// D-034: a small block is exchanged for one of the block cache, which the allocator's own resizing
// would pass by.
void String::moveToFreshBlock(int newLength)
{
    StringBuffer *fresh = detail::makeBuffer(newLength);
    fresh->capacityWord |= buffer->capacityWord & StringBuffer::pinnedFlag;
    // The 0 goes along: the text may be extended by itself and its 0.
    detail::copyUnits(fresh->text, buffer->text, std::min(buffer->length, newLength) + 1);
    fresh->text[newLength] = 0;
    adopt(fresh);
}

void String::resizeBlock(int newLength)
{
    const std::size_t room = detail::roomFor(newLength);
    const unsigned pin = buffer->capacityWord & StringBuffer::pinnedFlag;
    buffer = static_cast<StringBuffer *>(detail::resizeBlock(buffer, detail::bytesForRoom(room)));
    buffer->capacityWord = static_cast<unsigned>(room - 1) | pin;
}

void String::clear()
{
    if (buffer->isShared())
        adopt(detail::makeBuffer(buffer->length));
    buffer->length = 0;
    buffer->text[0] = 0;
}

void String::erase() noexcept
{
    adopt(emptyRecord());
}

void String::set(int index, unsigned short unit)
{
    if (index < 0 || index >= buffer->length)
        return;
    unique();
    buffer->text[index] = unit;
}

void String::setup(unsigned short unit, int count)
{
    adjust(count);
    std::fill_n(buffer->text, buffer->length, unit);
}

// Whether the address lies in the text or at its end: a source that a change of the text or a move
// of the block would spoil.
bool String::holds(const void *address) const noexcept
{
    const auto first = reinterpret_cast<std::uintptr_t>(buffer->text);
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    return place >= first && place - first <= detail::bytesOf(buffer->length);
}

// The source may be a part of this text: it is moved in place, or copied to a fresh record before
// the old one goes.
String &String::assignUnits(const detail::UnitView &text)
{
    if (text.length == 0) {
        erase();
        return *this;
    }
    if (!buffer->isShared() && buffer->keepsBlockFor(text.length)) {
        detail::moveUnits(buffer->text, text.units, text.length);
        buffer->length = text.length;
        buffer->text[text.length] = 0;
        return *this;
    }
    const unsigned pin = buffer->capacityWord & StringBuffer::pinnedFlag;
    StringBuffer *fresh = detail::makeBuffer(text);
    fresh->capacityWord |= pin;
    adopt(fresh);
    return *this;
}

String &String::operator=(char unit)
{
    return *this = widened(unit);
}

String &String::operator=(unsigned short unit)
{
    return assignUnits({&unit, 1});
}

String &String::operator=(const unsigned short *units)
{
    return assignUnits({units, detail::lengthOrZero(units)});
}

String &String::operator=(const char *bytes)
{
    return assignUnits(StringAccess::view(String(bytes)));
}

} // namespace Tavrin
