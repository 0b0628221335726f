// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include <tavrin/Heap.h>

namespace Tavrin::detail {

// ItemPool: the storage of a table's items, carved from slabs of growing size and recycled, which
// costs a new item less than a block of its own would. Private to SparseArray and HashTable; it
// stands here because they hold it by value.
// Owns:    the storage; the items in it are made and destroyed by the table.
// Cost:    take and give O(1). When the last item is given back, all slabs but the first go.
// Failure: std::bad_alloc from Heap in reserve, which changes nothing then.
template <class Item>
class ItemPool
{
public:
    ItemPool() = default;
    ItemPool(ItemPool &&other) noexcept { swap(other); }
    ItemPool(const ItemPool &) = delete;
    ItemPool &operator=(const ItemPool &) = delete;
    ~ItemPool() { release(nullptr); }

    // How many items are taken and not given back.
    int size() const { return taken; }

    // Makes sure that the next take succeeds.
    void reserve()
    {
        if (freed == nullptr && unused == end) [[unlikely]]
            addSlab();
    }
    // Storage for one item.
    void *take()
    {
        ++taken;
        if (freed != nullptr)
            return std::exchange(freed, freed->next);
        return unused++;
    }
    // Takes back the storage of an item that has been destroyed.
    void give(void *storage)
    {
        freed = ::new (storage) Freed{freed};
        if (--taken == 0)
            keepFirstSlab();
    }
    // Whether no storage waits to be recycled; then the items can be visited in the order of their
    // storage, which is that of their making within a slab.
    bool isContiguous() const { return freed == nullptr; }
    template <class Visitor>
    void visitAll(Visitor visit)
    {
        Place *last = unused;
        for (Slab *slab = slabs; slab != nullptr; slab = slab->older) {
            for (Place *place = placesOf(slab); place != last; ++place)
                visit(*reinterpret_cast<Item *>(place));
            if (slab->older != nullptr)
                last = placesOf(slab->older) + slab->older->capacity;
        }
    }
    void swap(ItemPool &other) noexcept
    {
        std::swap(slabs, other.slabs);
        std::swap(unused, other.unused);
        std::swap(end, other.end);
        std::swap(freed, other.freed);
        std::swap(taken, other.taken);
    }

private:
    struct Slab
    {
        Slab *older;
        std::size_t capacity;
    };
    struct Freed
    {
        Freed *next;
    };
    // Uninitialised room for an item.
    struct Place
    {
        alignas(Item) std::byte bytes[sizeof(Item)];
    };
    static_assert(alignof(Item) <= 8 && sizeof(Item) >= sizeof(Freed), "slabs are Heap's");

    // The first slab is the largest that the block cache serves.
    static constexpr std::size_t firstItems = (largestCachedRequest - sizeof(Slab)) / sizeof(Item);
    static constexpr std::size_t mostItems = 65536 / sizeof(Item);

    static Place *placesOf(Slab *slab) { return reinterpret_cast<Place *>(slab + 1); }

    void use(Slab *slab)
    {
        unused = placesOf(slab);
        end = unused + slab->capacity;
    }
    void addSlab()
    {
        const std::size_t capacity =
            slabs == nullptr ? firstItems : std::min(2 * slabs->capacity, mostItems);
        void *storage = Heap::operator new(sizeof(Slab) + capacity * sizeof(Item));
        slabs = ::new (storage) Slab{slabs, capacity};
        use(slabs);
    }
    void keepFirstSlab()
    {
        Slab *first = slabs;
        while (first->older != nullptr)
            first = first->older;
        release(first);
    }
    // Releases the slabs that came after `last`, which stays as an empty one.
    void release(Slab *last)
    {
        while (slabs != last)
            Heap::operator delete(std::exchange(slabs, slabs->older));
        freed = nullptr;
        taken = 0;
        if (last == nullptr)
            unused = end = nullptr;
        else
            use(last);
    }

    Slab *slabs = nullptr; // the newest first
    Place *unused = nullptr;
    Place *end = nullptr; // of the newest slab
    Freed *freed = nullptr;
    int taken = 0;
};

} // namespace Tavrin::detail
