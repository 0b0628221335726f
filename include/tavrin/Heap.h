// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include <tavrin/Export.h>
#include <tavrin/HeapCache.h>

namespace Tavrin {

// Heap: the base that gives the classes of this library their storage; it has no data.
// Owns:    nothing.
// Threads: any thread; a block may be released on another thread than the one that made it.
// Cost:    requests of up to 312 bytes that the calling thread's block cache can serve take a
//          handful of plain instructions: no lock, no atomic operation, no call of the allocator;
//          before InitTerm::setMT they are expanded in place.
// Units:   bytes. A block is aligned to 8, not to 16: what lives on Heap must not need more.
// Failure: std::bad_alloc with the text "bad allocation" when the memory is exhausted, or outside
//          the span between InitTerm::init and InitTerm::exit. Releases outside it are ignored.
class TAVRIN_API Heap
{
public:
    Heap() = default;

    static void *operator new(std::size_t size) { return detail::newBlock(size); }
    static void *operator new[](std::size_t size) { return detail::newBlock(size); }
    // Hand file and line on to the allocator; a cache with a budget of 0 is not consulted.
    static void *operator new(std::size_t size, const char *file, int line);
    static void *operator new[](std::size_t size, const char *file, int line);
    static void *operator new(std::size_t, void *where) noexcept { return where; }

    static void operator delete(void *block) noexcept { detail::deleteBlock(block); }
    static void operator delete[](void *block) noexcept { detail::deleteBlock(block); }
    static void operator delete(void *block, const char *, int) noexcept
    {
        detail::deleteBlock(block);
    }
    static void operator delete[](void *block, const char *, int) noexcept
    {
        detail::deleteBlock(block);
    }
    static void operator delete(void *, void *) noexcept {}

    // Changes the size of `block`, which may move, and returns its new place. D-004: null stays
    // null; callers allocate first. D-001: when the allocator fails once and then succeeds after
    // its flush, the result is fresh storage without the old contents, and `block` stays allocated.
    static void *reAlloc(void *block, std::size_t size);

    // The calling thread's cache of freed blocks: give all of it back, and its budget in bytes.
    // A new thread starts with 102400. Each of the 20 block sizes gets an equal share; a negative
    // budget counts as 0. Setting the budget empties the cache first. Behind the caches, small
    // blocks of the DefaultAllocator wait for threads with a budget, 8 MiB in all and about as much
    // per thread as its cache holds; flushCache and setCacheSize give those back as well.
    static void flushCache();
    static int getCacheSize();
    static void setCacheSize(int bytes);

    // Blocks in use and the sum of their sizes, over all threads.
    // D-002: a rough figure, since emptying a cache counts its blocks down a second time.
    static void getMemoryStatistics(int &blocks, std::size_t &bytes);

private:
    Heap(const Heap &) = delete;
    Heap &operator=(const Heap &) = delete;
};

// Root: Heap plus a virtual destructor; the base of nearly all heap classes.
class TAVRIN_API Root : public Heap
{
public:
    Root() = default;
    virtual ~Root();
};

// Allocator: a replaceable source of the raw memory beneath Heap.
// Owns:    what its subclasses own. It must stay alive as long as any block of it does.
// Threads: the operations may be called on any thread, and at the same time on several.
// Failure: the allocating operations return null and never throw.
class TAVRIN_API Allocator : public Root
{
public:
    Allocator() = default;
    ~Allocator() override;

    // As the one below; the default drops file and line.
    virtual void *allocMem(std::size_t size, const char *file, int line);
    virtual void *allocMem(std::size_t size) = 0;
    virtual void freeMem(void *block) = 0;
    virtual void *reallocMem(void *block, std::size_t size) = 0;
    // Gives back what can be given back. Called when memory has run out, and at InitTerm::exit.
    virtual void flush();

    // Kept for the host; nothing here acts on it.
    bool isRethrow() const { return rethrow; }
    void setRethrow(bool on) { rethrow = on; }

    // The allocator in force. Null outside init and exit, unless a registered one is in force.
    static Allocator *get();
    // Makes `allocator` the one in force; null selects the DefaultAllocator. The first use of an
    // allocator takes one of ten places, which it keeps while the process lives; false when all
    // are taken, and nothing changes then. Blocks go back to the allocator that they came from.
    static bool set(Allocator *allocator);

private:
    bool rethrow = false;
};

} // namespace Tavrin

// DefaultAllocator: malloc, free and realloc; in force from InitTerm::init on.
class TAVRIN_API DefaultAllocator : public Tavrin::Allocator
{
public:
    DefaultAllocator();
    ~DefaultAllocator() override;

    void *allocMem(std::size_t size, const char *file, int line) override;
    void *allocMem(std::size_t size) override;
    void freeMem(void *block) override;
    void *reallocMem(void *block, std::size_t size) override;
    void flush() override;

    // Its own storage is malloc's, because Heap cannot serve before an allocator exists.
    static void *operator new(std::size_t size);
    static void operator delete(void *block) noexcept;

private:
    // The build information of the library, for debuggers.
    [[maybe_unused]] const char *const *buildInformation;
};
