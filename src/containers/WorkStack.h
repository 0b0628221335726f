// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include <tavrin/Heap.h>

namespace Tavrin::detail {

// WorkStack: what a walk through nested arrays still has to do, so that their depth is not bounded
// by the stack of the thread. The first items need no memory.
// Failure: std::bad_alloc from push, which then changes nothing.
template <class T>
class WorkStack
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    WorkStack() = default;
    ~WorkStack()
    {
        if (items != firstItems)
            Heap::operator delete(items);
    }
    WorkStack(const WorkStack &) = delete;
    WorkStack &operator=(const WorkStack &) = delete;

    bool isEmpty() const { return count == 0; }
    std::size_t size() const { return count; }
    T &top() { return items[count - 1]; }
    T &operator[](std::size_t index) { return items[index]; }

    void push(const T &item)
    {
        if (count == room)
            grow();
        items[count++] = item;
    }
    T pop() { return items[--count]; }

private:
    void grow()
    {
        auto *grown = static_cast<T *>(Heap::operator new(2 * room * sizeof(T)));
        std::copy_n(items, count, grown);
        if (items != firstItems)
            Heap::operator delete(items);
        items = grown;
        room *= 2;
    }

    static constexpr std::size_t firstRoom = 16;

    T firstItems[firstRoom];
    T *items = firstItems;
    std::size_t count = 0;
    std::size_t room = firstRoom;
};

} // namespace Tavrin::detail
