// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <tavrin/Heap.h>

namespace TvScript {

// Attached: what hangs on a block of the script heap: a record of ours about a string or an object
// of the script. It is found from the block in one load, and hears of the block's end, so that no
// table of addresses can go stale and no finalizer has to run.
// Several of different kinds may hang on one block. What hangs on two blocks hangs there alone.
// Owns:    itself, on terms that its class says.
class Attached : public Tavrin::Heap
{
public:
    enum class Kind : unsigned char
    {
        name,       // of a string that is the name of a property
        liveObject, // of the two objects by which scripts see a live object
        method,     // of a function that calls a method of live objects
        function,   // of a function of the application, and of constructors
        object,     // of an object of the script that values have held
        failure,    // of an exception that an error code has become
    };

    explicit Attached(Kind itsKind) : kind(itsKind) {}

    Kind getKind() const { return kind; }
    // The block is about to go. Nothing may be asked of the script heap now.
    virtual void blockFreed(void *block) noexcept = 0;

protected:
    ~Attached() = default;

private:
    friend class Blocks;

    Attached *other = nullptr; // attached to the same block
    Kind kind;
};

// Blocks: the storage of a script heap, from Heap, with one word ahead of each block: its size, or
// what is attached to it.
class Blocks
{
public:
    static void *allocate(void *blocks, std::size_t size) noexcept;
    static void *reallocate(void *blocks, void *block, std::size_t size) noexcept;
    static void free(void *blocks, void *block) noexcept;

    // What is attached to the block of a heap pointer, if it is of that class; else null, also for
    // a null pointer.
    template <class T>
    static T *find(const void *block) noexcept
    {
        if (block == nullptr)
            return nullptr;
        for (Attached *found = firstOf(block); found != nullptr; found = found->other)
            if (found->getKind() == T::itsKind) [[likely]]
                return static_cast<T *>(found);
        return nullptr;
    }
    // A block that something was attached to never changes its size again: objects and strings do
    // not.
    static void attach(void *block, Attached &attached) noexcept
    {
        attached.other = firstOf(block);
        setFirst(block, &attached);
    }
    static void detach(void *block, const Attached &attached) noexcept;

    // Duktape cannot run out of memory while it makes a heap. So there is a reserve for that time,
    // big enough for all of it; openReserve may throw. What comes out of it, which hasRefused
    // tells, has to be gone when it is closed.
    void openReserve();
    void closeReserve() noexcept;

    // Whether the block was the last to be allocated: how the start of an engine makes sure that
    // heap pointers are the addresses of blocks.
    bool wasLast(const void *block) const { return block == last; }
    // Whether memory has run out since the last call of forgetRefusals.
    bool hasRefused() const { return refused; }
    void forgetRefusals() { refused = false, refusals = 0; }

private:
    static constexpr std::uintptr_t attachedBit = 1;

    static Attached *firstOf(const void *block) noexcept
    {
        const std::uintptr_t word = headOf(block);
        return (word & attachedBit) != 0 ? reinterpret_cast<Attached *>(word & ~attachedBit)
                                         : nullptr;
    }
    static void setFirst(void *block, Attached *attached) noexcept
    {
        headOf(block) = reinterpret_cast<std::uintptr_t>(attached) | attachedBit;
    }

    static constexpr std::size_t headSize = sizeof(std::uintptr_t);
    static constexpr std::size_t reserveSize = 512 * 1024;

    std::uintptr_t *makeBlock(std::size_t size) noexcept;
    void freeBlock(std::uintptr_t *head) noexcept;
    // Without memory Duktape tries to shrink each of its objects, again and again. It is not worth
    // asking for all of that when nothing has been freed since the last refusals.
    static constexpr int mostRefusals = 32;
    bool isInVain(std::size_t size) const
    {
        return refusals >= mostRefusals && size >= refusedSize;
    }
    void noteRefusal(std::size_t size) noexcept;

    static std::uintptr_t &headOf(void *block) noexcept
    {
        return static_cast<std::uintptr_t *>(block)[-1];
    }
    static const std::uintptr_t &headOf(const void *block) noexcept
    {
        return static_cast<const std::uintptr_t *>(block)[-1];
    }

    const void *last = nullptr;
    bool refused = false;
    int refusals = 0;            // since the last block was freed
    std::size_t refusedSize = 0; // the smallest of them
    char *reserve = nullptr;
    std::size_t reserveUsed = 0;
};

} // namespace TvScript
