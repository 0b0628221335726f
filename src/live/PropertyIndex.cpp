// SPDX-License-Identifier: MIT
// Two open-addressed tables with linear probing in one block, filled in the order of the rows: of
// rows with the same hash the first one stands first, so that a probe meets the rows of a name in
// table order. The hash of a name makes no difference between the cases of an ASCII letter, and
// serves both kinds of lookup. A slot has the name's address, and a tag that holds the rest of the
// hash and the length, so that a hit touches the slot, the text and the row, and a miss the slot.
//
// Indexes outlive no session of the library, while their tables do: all stand in one list, which
// the stop of the library goes through. Pinned by tests/live/PropertyManagerModelTest.cpp.
#include "live/PropertyIndex.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <new>
#include <type_traits>

#include "live/PropertyManagerImpl.h"
#include "runtime/LockTable.h"
#include "runtime/Startup.h"
#include "text/UnitScan.h"

namespace Tavrin::detail {

namespace {

constexpr int fewestRows = 6; // below that, a scan is as good
constexpr int mostRows = 1 << 26;
constexpr int longestInTag = 0xFF;

constinit PropertyIndex *newest = nullptr; // the first in the list of all; lock lazyCreation

int countRows(const LivePropertyInfo *table)
{
    int count = 0;
    while (count <= mostRows && table[count].name != nullptr)
        ++count;
    return count;
}

// Three slots for two rows, at least.
std::uint32_t slotsFor(int rowCount)
{
    const auto rows = static_cast<std::uint32_t>(rowCount);
    return std::bit_ceil(rows + rows / 2);
}

// A unit that is 0 in all bits but the lowest seven is ASCII, and so is an `or` of many.
bool isAscii(unsigned joinedUnits)
{
    return joinedUnits < 0x80;
}

std::uint64_t fourUnits(const unsigned short *units)
{
    std::uint64_t four;
    std::memcpy(&four, units, sizeof four);
    return four;
}

std::uint64_t fourUnits(const char *bytes)
{
    unsigned short units[4];
    for (int at = 0; at < 4; ++at)
        units[at] = static_cast<unsigned char>(bytes[at]);
    return fourUnits(units);
}

std::uint64_t upToThreeUnits(const auto *text, int length)
{
    const auto unit = [=](int at) {
        return std::uint64_t{
            static_cast<std::make_unsigned_t<std::remove_cvref_t<decltype(*text)>>>(text[at])};
    };
    return unit(0) | unit(length / 2) << 16 | unit(length - 1) << 32;
}

std::uint64_t mix(std::uint64_t hash, std::uint64_t units)
{
    constexpr std::uint64_t caseBits = 0x0020'0020'0020'0020;
    constexpr std::uint64_t factor = 0x9E37'79B9'7F4A'7C15; // 2^64 over the golden ratio
    hash = (hash ^ (units | caseBits)) * factor;
    return hash ^ hash >> 32;
}

// Four units at a time, the last ones overlapping.
std::uint32_t hashOf(const auto *text, int length)
{
    auto hash = static_cast<std::uint64_t>(length);
    if (length >= 4) {
        for (int at = 0; at < length - 4; at += 4)
            hash = mix(hash, fourUnits(text + at));
        hash = mix(hash, fourUnits(text + length - 4));
    } else if (length > 0) {
        hash = mix(hash, upToThreeUnits(text, length));
    }
    return static_cast<std::uint32_t>(hash);
}

std::uint32_t hashOf(int id)
{
    constexpr std::uint32_t factor = 0x9E37'79B9;
    const std::uint32_t hash = static_cast<std::uint32_t>(id) * factor;
    return hash ^ hash >> 16;
}

std::uint32_t tagOf(std::uint32_t hash, int length)
{
    return (hash & ~std::uint32_t{longestInTag}) |
           static_cast<std::uint32_t>(std::min(length, longestInTag));
}

// Behind equal tags a short name has the length of the row's.
bool isSame(const String &name, const char *rowName, bool ignoreCase)
{
    const int length = name.length();
    if (ignoreCase)
        return name.ucmp(rowName) == 0;
    if (length >= longestInTag)
        return name == rowName;
    return firstNarrowDifference(name.wstr(), rowName, length) == length;
}

} // namespace

PropertyIndex::PropertyIndex(const LivePropertyInfo *rows, int rowCount,
                             std::uint32_t slotCount) noexcept
    : table(rows), mask(slotCount - 1)
{
    std::fill_n(nameSlots(), slotCount, NameSlot{nullptr, 0, 0});
    std::fill_n(idSlots(), slotCount, IDSlot{0, -1});
    for (int row = 0; row < rowCount; ++row) {
        addName(rows[row].name, row);
        addID(rows[row].id, row);
    }
}

PropertyIndex *PropertyIndex::make(const LivePropertyInfo *table) noexcept
try {
    const int rowCount = countRows(table);
    if (rowCount < fewestRows || rowCount > mostRows)
        return nullptr;
    const std::uint32_t slotCount = slotsFor(rowCount);
    const std::size_t size =
        sizeof(PropertyIndex) + slotCount * (sizeof(NameSlot) + sizeof(IDSlot));
    void *storage = Heap::operator new(size);
    return ::new (storage) PropertyIndex(table, rowCount, slotCount);
} catch (const std::bad_alloc &) { // also outside the sessions of the library
    return nullptr;
}

void PropertyIndex::addName(const char *name, int row) noexcept
{
    const int length = static_cast<int>(std::min<std::size_t>(std::strlen(name), INT_MAX));
    const std::uint32_t hash = hashOf(name, length);
    std::uint32_t at = hash & mask;
    while (nameSlots()[at].name != nullptr)
        at = (at + 1) & mask;
    nameSlots()[at] = {name, tagOf(hash, length), row};
    unsigned joined = 0;
    for (int unit = 0; unit < length; ++unit)
        joined |= static_cast<unsigned char>(name[unit]);
    isAscii_ = isAscii_ && isAscii(joined);
}

// Of several rows with one id only the first is ever asked for.
void PropertyIndex::addID(int id, int row) noexcept
{
    std::uint32_t at = hashOf(id) & mask;
    while (idSlots()[at].row >= 0) {
        if (idSlots()[at].id == id)
            return;
        at = (at + 1) & mask;
    }
    idSlots()[at] = {id, row};
}

bool PropertyIndex::covers(const String &name, bool ignoreCase) const noexcept
{
    if (!ignoreCase)
        return true;
    unsigned joined = 0;
    for (int at = 0; at < name.length(); ++at)
        joined |= name.wstr()[at];
    return isAscii_ && isAscii(joined);
}

const LivePropertyInfo *PropertyIndex::findName(const String &name, bool ignoreCase,
                                                int flags) const noexcept
{
    const std::uint32_t hash = hashOf(name.wstr(), name.length());
    const std::uint32_t tag = tagOf(hash, name.length());
    const NameSlot *slots = nameSlots();
    for (std::uint32_t at = hash & mask; slots[at].name != nullptr; at = (at + 1) & mask) {
        if (slots[at].tag != tag || !isSame(name, slots[at].name, ignoreCase))
            continue;
        const LivePropertyInfo *row = table + slots[at].row;
        if (fitsLanguage(row->flags, flags))
            return row;
    }
    return nullptr;
}

const LivePropertyInfo *PropertyIndex::findID(int id) const noexcept
{
    const IDSlot *slots = idSlots();
    for (std::uint32_t at = hashOf(id) & mask; slots[at].row >= 0; at = (at + 1) & mask)
        if (slots[at].id == id)
            return table + slots[at].row;
    return nullptr;
}

const PropertyIndex *LazyPropertyIndex::make(const LivePropertyInfo *table) const noexcept
{
    PropertyIndex *made = PropertyIndex::make(table);
    if (made == nullptr)
        return nullptr;
    CriticalSection section(tableLock(LockSlot::lazyCreation));
    if (PropertyIndex *other = index.load(std::memory_order_relaxed)) {
        delete made; // another thread was faster
        return other;
    }
    made->owner = const_cast<LazyPropertyIndex *>(this);
    made->next = newest;
    if (newest != nullptr)
        newest->previous = made;
    newest = made;
    index.store(made, std::memory_order_release);
    return made;
}

void LazyPropertyIndex::drop() noexcept
{
    if (index.load(std::memory_order_relaxed) == nullptr)
        return;
    CriticalSection section(tableLock(LockSlot::lazyCreation));
    PropertyIndex *dropped = index.exchange(nullptr, std::memory_order_relaxed);
    (dropped->previous != nullptr ? dropped->previous->next : newest) = dropped->next;
    if (dropped->next != nullptr)
        dropped->next->previous = dropped->previous;
    delete dropped;
}

void LazyPropertyIndex::dropAll() noexcept
{
    while (newest != nullptr)
        newest->owner->drop();
}

void stopPropertyIndexes()
{
    LazyPropertyIndex::dropAll();
}

} // namespace Tavrin::detail
