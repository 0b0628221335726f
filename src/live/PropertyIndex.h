// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>

#include <tavrin/Heap.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/String.h>

#include "live/NameUnits.h"
#include "live/PropertyManagerImpl.h"

namespace Tavrin::detail {

class LazyPropertyIndex;

// The hash of a name, which is the same in both cases of an ASCII letter.
class NameHash
{
public:
    static std::uint32_t of(const unsigned short *units, int length) noexcept
    {
        std::uint64_t sum = 0;
        const int ahead = length - NameQuads::longest;
        for (int at = 0; at < ahead; at += NameQuads::longest)
            [[unlikely]] sum =
                std::rotl(sum, 23) + NameQuads(units + at, NameQuads::longest).hash();
        if (length >= NameQuads::shortest)
            return of(NameQuads(units + std::max(ahead, 0), std::min(length, NameQuads::longest)),
                      length, sum);
        if (length > 0)
            sum = NameQuads::mix(fewUnits(units, length), 0);
        return finish(sum, length);
    }
    static std::uint32_t of(const NameQuads &quads, int length, std::uint64_t ahead = 0) noexcept
    {
        return finish(ahead + quads.hash(), length);
    }

private:
    static std::uint32_t finish(std::uint64_t sum, int length) noexcept
    {
        return static_cast<std::uint32_t>(sum) + static_cast<std::uint32_t>(length);
    }
};

// PropertyIndex: finds the rows of a table by name and by id. It refers to the table, and has the
// names as units.
// Threads: constant once it is made.
class PropertyIndex : public Heap
{
public:
    // Null if the table is too small or too large to gain by it, or without memory.
    static PropertyIndex *make(const LivePropertyInfo *table) noexcept;

    // Whether findName can answer for this name: case is only known for ASCII.
    bool covers(const String &name, bool ignoreCase) const noexcept
    {
        return !ignoreCase || (hasAsciiOnly && isAscii(name.wstr(), name.length()));
    }

    // The first row of that name in a language of `flags`, or null.
    const LivePropertyInfo *findName(const String &name, bool ignoreCase, int flags) const noexcept
    {
        return ignoreCase || !NameQuads::fit(name.length()) ? findOddName(name, ignoreCase, flags)
                                                            : findUsualName(name, flags);
    }
    // Of a name that fits NameQuads.
    const LivePropertyInfo *findUsualName(const String &name, int flags) const noexcept
    {
        const int length = name.length();
        const NameQuads quads(name.wstr(), length);
        const std::uint32_t hash = NameHash::of(quads, length);
        const std::uint32_t tag = tagOf(hash, length);
        const NameSlot *slots = nameSlots();
        for (std::uint32_t at = hash & mask; slots[at].row >= 0; at = (at + 1) & mask) {
            if (slots[at].tag != tag || quads != NameQuads(texts() + slots[at].text, length))
                continue;
            const LivePropertyInfo *row = table + slots[at].row;
            if (fitsLanguage(row->flags, flags)) [[likely]]
                return row;
        }
        return nullptr;
    }

    // The first row of that id, or null.
    const LivePropertyInfo *findID(int id) const noexcept
    {
        const IDSlot *slots = idSlots();
        for (std::uint32_t at = hashOf(id) & mask; slots[at].row >= 0; at = (at + 1) & mask)
            if (slots[at].id == id)
                return table + slots[at].row;
        return nullptr;
    }

private:
    friend class LazyPropertyIndex;

    struct NameSlot
    {
        std::uint32_t tag;
        std::uint32_t text; // where the name begins among the texts
        int row;            // -1 in an empty slot
    };
    struct IDSlot
    {
        int id;
        int row; // -1 in an empty slot
    };
    // Lengths from here on look the same in a tag.
    static constexpr int longestInTag = 0xFF;

    PropertyIndex(const LivePropertyInfo *rows, int rowCount, std::uint32_t slotCount) noexcept;

    static bool isAscii(const unsigned short *units, int length) noexcept;
    static std::uint32_t hashOf(int id) noexcept
    {
        constexpr std::uint32_t factor = 0x9E37'79B9;
        const std::uint32_t hash = static_cast<std::uint32_t>(id) * factor;
        return hash ^ hash >> 16;
    }
    static std::uint32_t tagOf(std::uint32_t hash, int length) noexcept
    {
        return (hash & ~std::uint32_t{longestInTag}) |
               static_cast<std::uint32_t>(std::min(length, longestInTag));
    }

    const LivePropertyInfo *findOddName(const String &name, bool ignoreCase,
                                        int flags) const noexcept;
    void addName(const char *name, int row, std::uint32_t text) noexcept;
    void addID(int id, int row) noexcept;

    // The two tables, of as many slots each, and the texts follow this record.
    NameSlot *nameSlots() noexcept { return reinterpret_cast<NameSlot *>(this + 1); }
    IDSlot *idSlots() noexcept { return reinterpret_cast<IDSlot *>(nameSlots() + mask + 1); }
    unsigned short *texts() noexcept
    {
        return reinterpret_cast<unsigned short *>(idSlots() + mask + 1);
    }
    const NameSlot *nameSlots() const noexcept
    {
        return const_cast<PropertyIndex *>(this)->nameSlots();
    }
    const IDSlot *idSlots() const noexcept { return const_cast<PropertyIndex *>(this)->idSlots(); }
    const unsigned short *texts() const noexcept
    {
        return const_cast<PropertyIndex *>(this)->texts();
    }

    const LivePropertyInfo *table;
    std::uint32_t mask; // one less than the slots of a table
    bool hasAsciiOnly = true;
    LazyPropertyIndex *owner = nullptr;
    PropertyIndex *previous = nullptr; // in the list of all
    PropertyIndex *next = nullptr;
};

// LazyPropertyIndex: the index of one table, made when it is first asked for. All of them are given
// back when the library goes down, and made anew after that.
// Threads: get may run on several threads at once; drop may not run beside anything else.
class LazyPropertyIndex
{
public:
    constexpr LazyPropertyIndex() noexcept = default;
    ~LazyPropertyIndex() { drop(); }
    LazyPropertyIndex(const LazyPropertyIndex &) = delete;
    LazyPropertyIndex &operator=(const LazyPropertyIndex &) = delete;

    // Null when there is none yet.
    const PropertyIndex *made() const noexcept { return index.load(std::memory_order_acquire); }
    // Null when there is none, for whatever reason.
    const PropertyIndex *get(const LivePropertyInfo *table) const noexcept
    {
        const PropertyIndex *ready = made();
        return ready != nullptr ? ready : make(table);
    }
    void drop() noexcept;
    static void dropAll() noexcept;

private:
    const PropertyIndex *make(const LivePropertyInfo *table) const noexcept;

    mutable std::atomic<PropertyIndex *> index{nullptr};
};

} // namespace Tavrin::detail
