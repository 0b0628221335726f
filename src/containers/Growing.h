// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>

#include <tavrin/Heap.h>

#include "runtime/BlockCache.h"

namespace Tavrin::detail {

// Growing: a list of plain items on Heap, of which the first ones need no memory. It is the stack
// of a walk through nested data too, whose depth then is not bounded by the stack of the thread.
// Owns:    its items.
// Cost:    push amortised O(1); nothing is ever shrunk.
// Failure: std::bad_alloc from whatever grows it, which then changes nothing.
template <class T, std::size_t firstRoom = 16>
class Growing
{
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 8);

public:
    Growing() = default;
    ~Growing()
    {
        if (items != firstItems)
            Heap::operator delete(items);
    }
    Growing(const Growing &) = delete;
    Growing &operator=(const Growing &) = delete;

    int size() const { return count; }
    bool isEmpty() const { return count == 0; }
    T *data() { return items; }
    const T *data() const { return items; }
    T &operator[](int index) { return items[index]; }
    const T &operator[](int index) const { return items[index]; }
    T &last() { return items[count - 1]; }

    void push(const T &item)
    {
        if (count == room) {
            const T kept = item; // which may be one of the items
            makeRoom(1);
            items[count++] = kept;
        } else {
            items[count++] = item;
        }
    }
    T pop() { return items[--count]; }
    // So many more items, whose contents the caller writes; the index of the first.
    int extend(int more)
    {
        if (more > room - count)
            makeRoom(more);
        const int first = count;
        count += more;
        return first;
    }
    void append(const T *from, int more)
    {
        const int first = extend(more);
        std::copy_n(from, more, items + first);
    }
    // Drops the items from that index on.
    void cut(int newCount) { count = newCount; }

private:
    void makeRoom(int more)
    {
        constexpr int most = std::numeric_limits<int>::max();
        if (more > most - count)
            throwOutOfMemory();
        const int doubled = room > most / 2 ? most : 2 * room;
        const int newRoom = std::max(count + more, doubled);
        auto *grown =
            static_cast<T *>(Heap::operator new(static_cast<std::size_t>(newRoom) * sizeof(T)));
        std::copy_n(items, count, grown);
        if (items != firstItems)
            Heap::operator delete(items);
        items = grown;
        room = newRoom;
    }

    T *items = firstItems;
    int count = 0;
    int room = firstRoom;
    T firstItems[firstRoom];
};

} // namespace Tavrin::detail
