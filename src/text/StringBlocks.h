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

// The longest text whose block the block cache keeps.
inline constexpr int longestCached = 127;
static_assert(bytesForRoom(longestCached + 1) <= largestCachedRequest &&
              bytesForRoom(2 * std::size_t{longestCached + 1}) > largestCachedRequest);

// A record for a text of 1 to 127 units while the block cache has the block at hand, else null. It
// makes no call, so that the common constructions stay without a frame.
inline StringBuffer *takeBuffer(int length) noexcept
{
    BlockCache *cache = cacheAtHand();
    if (cache == nullptr) [[unlikely]]
        return nullptr;
    const std::size_t room = roomFor(length);
    // Room is a multiple of 16 units, so this is the sum that blockSizeFor rounds up to.
    const std::size_t blockSize = room * sizeof(unsigned short) + 32;
    static_assert(blockSizeFor(bytesForRoom(16)) == 64 && blockSizeFor(bytesForRoom(128)) == 288);
    void *storage = cache->classOf(blockSize).pop();
    if (storage == nullptr) [[unlikely]]
        return nullptr;
    exposeRequest(storage, bytesForRoom(room));
    return startBuffer(storage, room, length);
}

inline StringBuffer *makeBuffer(UnitView text)
{
    StringBuffer *record = makeBuffer(text.length);
    copyUnits(record->text, text.units, text.length);
    return record;
}

} // namespace Tavrin::detail
