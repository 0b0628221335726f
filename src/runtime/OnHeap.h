// SPDX-License-Identifier: MIT
#pragma once

#include <new>
#include <utility>

#include <tavrin/Heap.h>

namespace Tavrin::detail {

// Makes an object of a class that does not derive from Heap in storage from Heap. The classes that
// hosts inherit several at a time stay free of operator new, so that it is never ambiguous.
template <class T, class... Arguments>
T *newOnHeap(Arguments &&...arguments)
{
    static_assert(alignof(T) <= 8, "Heap aligns to 8");
    void *storage = Heap::operator new(sizeof(T));
    try {
        return ::new (storage) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        Heap::operator delete(storage);
        throw;
    }
}

// Destroys what newOnHeap made; null is ignored.
template <class T>
void deleteOnHeap(T *object) noexcept
{
    if (object == nullptr)
        return;
    object->~T();
    Heap::operator delete(object);
}

} // namespace Tavrin::detail
