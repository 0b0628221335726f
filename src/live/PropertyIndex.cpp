// SPDX-License-Identifier: MIT
// Two open-addressed tables with linear probing in one block, filled in the order of the rows: of
// rows with the same hash the first one stands first, so that a probe meets the rows of a name in
// table order. The hash of a name serves both kinds of lookup, exact and without regard to case. A
// slot has a tag with the rest of the hash and the length, so that a miss touches no text.
//
// Indexes outlive no session of the library, while their tables do: all stand in one list, which
// the stop of the library goes through. Pinned by tests/live/PropertyManagerModelTest.cpp.
#include "live/PropertyIndex.h"

#include <new>

#include "runtime/LockTable.h"
#include "runtime/Startup.h"
#include "text/UnitScan.h"

namespace Tavrin::detail {

namespace {

constexpr int fewestRows = 6; // below that, a scan is as good
constexpr int mostRows = 1 << 26;
constexpr std::size_t longestName = 1 << 20;
constexpr std::size_t mostUnits = 1 << 30;

constinit PropertyIndex *newest = nullptr; // the first in the list of all; lock lazyCreation

// At most half of the slots are taken.
std::uint32_t slotsFor(int rowCount)
{
    const auto rows = static_cast<std::uint32_t>(rowCount);
    return std::bit_ceil(2 * rows);
}

struct TableSize
{
    int rows = 0;
    std::size_t units = 0;
    bool isIndexed = true;
};

TableSize sizeOf(const LivePropertyInfo *table)
{
    TableSize size;
    for (; table->name != nullptr && size.isIndexed; ++table) {
        const std::size_t length = std::strlen(table->name);
        ++size.rows;
        size.units += length;
        size.isIndexed = size.rows <= mostRows && length <= longestName && size.units <= mostUnits;
    }
    size.isIndexed = size.isIndexed && size.rows >= fewestRows;
    return size;
}

} // namespace

PropertyIndex::PropertyIndex(const LivePropertyInfo *rows, int rowCount,
                             std::uint32_t slotCount) noexcept
    : table(rows), mask(slotCount - 1)
{
    std::fill_n(nameSlots(), slotCount, NameSlot{0, 0, -1});
    std::fill_n(idSlots(), slotCount, IDSlot{0, -1});
    std::uint32_t text = 0;
    for (int row = 0; row < rowCount; ++row) {
        addName(rows[row].name, row, text);
        addID(rows[row].id, row);
        text += static_cast<std::uint32_t>(std::strlen(rows[row].name));
    }
}

PropertyIndex *PropertyIndex::make(const LivePropertyInfo *table) noexcept
try {
    const TableSize size = sizeOf(table);
    if (!size.isIndexed)
        return nullptr;
    const std::uint32_t slotCount = slotsFor(size.rows);
    void *storage =
        Heap::operator new(sizeof(PropertyIndex) + slotCount * (sizeof(NameSlot) + sizeof(IDSlot)) +
                           size.units * sizeof(unsigned short));
    return ::new (storage) PropertyIndex(table, size.rows, slotCount);
} catch (const std::bad_alloc &) { // also outside the sessions of the library
    return nullptr;
}

void PropertyIndex::addName(const char *name, int row, std::uint32_t text) noexcept
{
    const int length = static_cast<int>(std::strlen(name));
    unsigned short *units = texts() + text;
    widen(name, units, length);
    const std::uint32_t hash = NameHash::of(units, length);
    std::uint32_t at = hash & mask;
    while (nameSlots()[at].row >= 0)
        at = (at + 1) & mask;
    nameSlots()[at] = {tagOf(hash, length), text, row};
    hasAsciiOnly = hasAsciiOnly && isAscii(units, length);
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

bool PropertyIndex::isAscii(const unsigned short *units, int length) noexcept
{
    unsigned joined = 0;
    for (int at = 0; at < length; ++at)
        joined |= units[at];
    return joined < 0x80;
}

// The lookup of a name that is short or long, or without regard to case. Most of the latter are
// written as in the table.
const LivePropertyInfo *PropertyIndex::findOddName(const String &name, bool ignoreCase,
                                                   int flags) const noexcept
{
    const int length = name.length();
    const std::uint32_t hash = NameHash::of(name.wstr(), length);
    const std::uint32_t tag = tagOf(hash, length);
    const NameSlot *slots = nameSlots();
    for (std::uint32_t at = hash & mask; slots[at].row >= 0; at = (at + 1) & mask) {
        const LivePropertyInfo *row = table + slots[at].row;
        if (slots[at].tag != tag || !fitsLanguage(row->flags, flags))
            continue;
        const bool isExact = length < longestInTag
                                 ? hasSameUnits(name.wstr(), texts() + slots[at].text, length)
                                 : name == row->name;
        if (isExact || (ignoreCase && name.ucmp(row->name) == 0))
            return row;
    }
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
