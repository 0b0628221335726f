// SPDX-License-Identifier: MIT
// The head of a block holds its size, shifted up by one, until something is attached to it; the low
// bit tells which. Heap's blocks are 8 modulo 16, so behind the head they are what Duktape expects.
// Pinned by tests/engine/EngineMemoryTest.cpp.
#include "duktape/Blocks.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace TvScript {

void *Blocks::allocate(void *blocks, std::size_t size) noexcept
{
    if (size == 0 || size > PTRDIFF_MAX / 2)
        return nullptr;
    auto &owner = *static_cast<Blocks *>(blocks);
    std::uintptr_t *head = owner.makeBlock(headSize + size);
    if (head == nullptr)
        return nullptr;
    *head = size << 1;
    owner.last = head + 1;
    return head + 1;
}

std::uintptr_t *Blocks::makeBlock(std::size_t size) noexcept
{
    if (!isInVain(size)) {
        try {
            return static_cast<std::uintptr_t *>(Tavrin::Heap::operator new(size));
        } catch (const std::bad_alloc &) {
            noteRefusal(size);
        }
    }
    const std::size_t taken = (size + headSize - 1) / headSize * headSize;
    if (reserve == nullptr || reserveSize - reserveUsed < taken)
        return nullptr;
    void *block = reserve + reserveUsed;
    reserveUsed += taken;
    return static_cast<std::uintptr_t *>(block);
}

void Blocks::noteRefusal(std::size_t size) noexcept
{
    refused = true;
    refusedSize = refusals == 0 ? size : std::min(refusedSize, size);
    ++refusals;
}

void Blocks::freeBlock(std::uintptr_t *head) noexcept
{
    refusals = 0;
    const auto *place = reinterpret_cast<const char *>(head);
    if (reserve == nullptr || place < reserve || place >= reserve + reserveSize) [[likely]]
        Tavrin::Heap::operator delete(head);
}

void Blocks::openReserve()
{
    reserve = static_cast<char *>(Tavrin::Heap::operator new(reserveSize));
}

void Blocks::closeReserve() noexcept
{
    Tavrin::Heap::operator delete(reserve);
    reserve = nullptr;
}

// By a copy: Heap::reAlloc does not promise to keep the old contents when memory is short.
void *Blocks::reallocate(void *blocks, void *block, std::size_t size) noexcept
{
    if (block == nullptr)
        return allocate(blocks, size);
    if (size == 0) {
        free(blocks, block);
        return nullptr;
    }
    void *moved = allocate(blocks, size);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, std::min<std::size_t>(size, headOf(block) >> 1));
    static_cast<Blocks *>(blocks)->freeBlock(&headOf(block));
    return moved;
}

void Blocks::free(void *blocks, void *block) noexcept
{
    if (block == nullptr)
        return;
    for (Attached *attached = firstOf(block); attached != nullptr;) {
        Attached *next = attached->other;
        attached->blockFreed(block);
        attached = next;
    }
    static_cast<Blocks *>(blocks)->freeBlock(&headOf(block));
}

void Blocks::detach(void *block, const Attached &attached) noexcept
{
    Attached *first = firstOf(block);
    if (first == &attached) {
        setFirst(block, attached.other);
        return;
    }
    while (first != nullptr && first->other != &attached)
        first = first->other;
    if (first != nullptr)
        first->other = attached.other;
}

} // namespace TvScript
