// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdlib>

#include <tavrin/Heap.h>

// The allocators side by side, each as a type with a name and two static operations. Every one of
// them is reached by one indirect call.
namespace bench {

struct Tavrin
{
    static constexpr const char *name = "tavrin";
    static void *allocate(std::size_t size) { return ::Tavrin::Heap::operator new(size); }
    static void release(void *block) { ::Tavrin::Heap::operator delete(block); }
};

// The process's malloc: glibc's, unless another one is preloaded.
struct Glibc
{
    static constexpr const char *name = "glibc";
    static void *allocate(std::size_t size) { return std::malloc(size); }
    static void release(void *block) { std::free(block); }
};

// The entry points of an allocator that stands beside the process's malloc.
struct EntryPoints
{
    void *(*allocate)(std::size_t);
    void (*release)(void *);
};

extern const EntryPoints mimallocEntry;
extern const EntryPoints jemallocEntry;
extern const EntryPoints tcmallocEntry;

struct Mimalloc
{
    static constexpr const char *name = "mimalloc";
    static void *allocate(std::size_t size) { return mimallocEntry.allocate(size); }
    static void release(void *block) { mimallocEntry.release(block); }
};

struct Jemalloc
{
    static constexpr const char *name = "jemalloc";
    static void *allocate(std::size_t size) { return jemallocEntry.allocate(size); }
    static void release(void *block) { jemallocEntry.release(block); }
};

struct Tcmalloc
{
    static constexpr const char *name = "tcmalloc";
    static void *allocate(std::size_t size) { return tcmallocEntry.allocate(size); }
    static void release(void *block) { tcmallocEntry.release(block); }
};

} // namespace bench
