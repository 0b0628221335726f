// SPDX-License-Identifier: MIT
#pragma once

#include "runtime/HeapInline.h"
#include "text/StringAccess.h"

// Making the records of strings. Apart from StringAccess.h because it draws the heap's inline path
// into every source that includes it.
namespace Tavrin::detail {

// Makes a record of storage for so many units.
inline StringBuffer *startBuffer(void *storage, std::size_t room, int length)
{
    auto *record = static_cast<StringBuffer *>(storage);
    record->length = length;
    record->capacityWord = static_cast<unsigned>(room - 1);
    record->refCount = 1;
    record->text[length] = 0;
    return record;
}

// A fresh record of that length with the 0 behind it; the caller fills the text.
inline StringBuffer *makeBuffer(int length)
{
    const std::size_t room = roomFor(length);
    return startBuffer(allocate(bytesForRoom(room)), room, length);
}

// The same while the block cache has the block at hand, else null. It makes no call, so that the
// common constructions stay without a frame.
inline StringBuffer *takeBuffer(int length)
{
    const std::size_t room = roomFor(length);
    void *storage = takeCached(bytesForRoom(room));
    return storage == nullptr ? nullptr : startBuffer(storage, room, length);
}

inline StringBuffer *makeBuffer(UnitView text)
{
    StringBuffer *record = makeBuffer(text.length);
    copyUnits(record->text, text.units, text.length);
    return record;
}

} // namespace Tavrin::detail
