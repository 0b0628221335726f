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

#include "live/PropertyManagerImpl.h"

namespace Tavrin::detail {

class LazyPropertyIndex;

// The hash of a name, which is the same in both cases of an ASCII letter. Four units at a time go
// into products that do not wait for each other; the last ones overlap those before them.
class NameHash
{
public:
    static std::uint32_t of(const unsigned short *units, int length) noexcept
    {
        auto sum = static_cast<std::uint64_t>(length);
        if (length >= 8) {
            for (int at = 0; at + 16 < length; at += 8)
                [[unlikely]] sum =
                    std::rotl(sum, 23) + eightUnits(units + at, factors[2], factors[3]);
            sum += eightUnits(units + std::max(length - 16, 0), factors[0], factors[1]);
            sum += eightUnits(units + length - 8, factors[2], factors[3]);
        } else if (length >= 4) {
            sum += fourUnits(units) * factors[0];
            sum += fourUnits(units + length - 4) * factors[1];
        } else if (length > 0) {
            sum += (fewUnits(units, length) | caseBits) * factors[0];
        }
        return static_cast<std::uint32_t>(((sum ^ sum >> 32) * factors[0]) >> 32);
    }

    // All units of a text of one to three.
    static std::uint64_t fewUnits(const unsigned short *units, int length) noexcept
    {
        return units[0] | std::uint64_t{units[length / 2]} << 16 |
               std::uint64_t{units[length - 1]} << 32;
    }

private:
    static constexpr std::uint64_t caseBits = 0x0020'0020'0020'0020;
    // Odd numbers without a pattern: fractions of the golden ratio and of square roots.
    static constexpr std::uint64_t factors[] = {0x9E37'79B9'7F4A'7C15, 0x6A09'E667'F3BC'C909,
                                                0xBB67'AE85'84CA'A73B, 0x3C6E'F372'FE94'F82B};

    static std::uint64_t fourUnits(const unsigned short *units) noexcept
    {
        std::uint64_t four;
        std::memcpy(&four, units, sizeof four);
        return four | caseBits;
    }
    static std::uint64_t eightUnits(const unsigned short *units, std::uint64_t factor,
                                    std::uint64_t otherFactor) noexcept
    {
        return fourUnits(units) * factor + fourUnits(units + 4) * otherFactor;
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
        const unsigned short *units = name.wstr();
        const int length = name.length();
        const std::uint32_t hash = NameHash::of(units, length);
        if (ignoreCase || length >= longestInTag) [[unlikely]]
            return findOddName(name, hash, ignoreCase, flags);
        const std::uint32_t tag = tagOf(hash, length);
        const NameSlot *slots = nameSlots();
        for (std::uint32_t at = hash & mask; slots[at].row >= 0; at = (at + 1) & mask) {
            if (slots[at].tag != tag || !isEqual(units, texts() + slots[at].text, length))
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
    static bool isEqual(const unsigned short *units, const unsigned short *text,
                        int length) noexcept
    {
        if (length >= 8) {
            for (int at = 0; at + 8 < length; at += 8)
                if (std::memcmp(units + at, text + at, 16) != 0)
                    return false;
            return std::memcmp(units + length - 8, text + length - 8, 16) == 0;
        }
        if (length >= 4)
            return std::memcmp(units, text, 8) == 0 &&
                   std::memcmp(units + length - 4, text + length - 4, 8) == 0;
        return length == 0 || NameHash::fewUnits(units, length) == NameHash::fewUnits(text, length);
    }

    const LivePropertyInfo *findOddName(const String &name, std::uint32_t hash, bool ignoreCase,
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

    // Null when there is none, for whatever reason.
    const PropertyIndex *get(const LivePropertyInfo *table) const noexcept
    {
        const PropertyIndex *made = index.load(std::memory_order_acquire);
        return made != nullptr ? made : make(table);
    }
    void drop() noexcept;
    static void dropAll() noexcept;

private:
    const PropertyIndex *make(const LivePropertyInfo *table) const noexcept;

    mutable std::atomic<PropertyIndex *> index{nullptr};
};

} // namespace Tavrin::detail
