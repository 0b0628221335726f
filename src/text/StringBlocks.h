// SPDX-License-Identifier: MIT
#pragma once

#include "runtime/HeapInline.h"
#include "text/StringAccess.h"

// Making the records of strings. Apart from StringAccess.h because it draws the heap's inline path
// into every source that includes it.
namespace Tavrin::detail {

// A fresh record of that length with the 0 behind it; the caller fills the text.
inline StringBuffer *makeBuffer(int length)
{
    const std::size_t room = roomFor(length);
    auto *record = static_cast<StringBuffer *>(allocate(bytesForRoom(room)));
    record->length = length;
    record->capacityWord = static_cast<unsigned>(room - 1);
    record->refCount = 1;
    record->text[length] = 0;
    return record;
}

inline StringBuffer *makeBuffer(UnitView text)
{
    StringBuffer *record = makeBuffer(text.length);
    copyUnits(record->text, text.units, text.length);
    return record;
}

} // namespace Tavrin::detail
