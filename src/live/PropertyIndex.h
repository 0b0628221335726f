// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include <tavrin/Heap.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/String.h>

namespace Tavrin::detail {

class LazyPropertyIndex;

// PropertyIndex: finds the rows of a table by name and by id. It refers to the table and to the
// names in it.
// Threads: constant once it is made.
class PropertyIndex : public Heap
{
public:
    // Null if the table is too small or too large to gain by it, or without memory.
    static PropertyIndex *make(const LivePropertyInfo *table) noexcept;

    // Whether findName can answer for this name: case is only known for ASCII.
    bool covers(const String &name, bool ignoreCase) const noexcept;
    // The first row of that name in a language of `flags`, or null.
    const LivePropertyInfo *findName(const String &name, bool ignoreCase, int flags) const noexcept;
    // The first row of that id, or null.
    const LivePropertyInfo *findID(int id) const noexcept;

private:
    friend class LazyPropertyIndex;

    struct NameSlot
    {
        const char *name; // null in an empty slot
        std::uint32_t tag;
        int row;
    };
    struct IDSlot
    {
        int id;
        int row; // -1 in an empty slot
    };

    PropertyIndex(const LivePropertyInfo *rows, int rowCount, std::uint32_t slotCount) noexcept;

    void addName(const char *name, int row) noexcept;
    void addID(int id, int row) noexcept;

    NameSlot *nameSlots() noexcept { return reinterpret_cast<NameSlot *>(this + 1); }
    const NameSlot *nameSlots() const noexcept
    {
        return reinterpret_cast<const NameSlot *>(this + 1);
    }
    IDSlot *idSlots() noexcept { return reinterpret_cast<IDSlot *>(nameSlots() + mask + 1); }
    const IDSlot *idSlots() const noexcept
    {
        return reinterpret_cast<const IDSlot *>(nameSlots() + mask + 1);
    }

    const LivePropertyInfo *table;
    std::uint32_t mask;   // one less than the slots of either kind, which follow this record
    bool isAscii_ = true; // whether all names are
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
