// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <tavrin/Context.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/Variant.h> // the element that is missing, by value

#include "runtime/BlockCache.h"
#include "runtime/ProcessState.h"

namespace Tavrin::detail {

// The whole record of a thread: what Context shows, and what only the library uses. It holds by
// value what its fields need, so it may include upward; nothing includes it but the sources of the
// classes that keep per-thread state.
struct ContextState : Context
{
    TSimpleArray<Localizer> localizerStack; // not owned; asked from the last to the first
    char *scratch = nullptr;                // from Heap; see growScratch
    Variant fallbackVariant;                // what BasicArray reads for a missing element
    std::int64_t timerMark = 0;  // last high-resolution time that a stopwatch reading saw
    int scratchSize = 0;         // bytes in scratch
    int encodedLength = 0;       // bytes of the last encoding of a String
    std::uint32_t dstMinute = 0; // minute for which dstResult is valid
    int dstResult = 0;           // cached answer of Time::isDST
    int cacheSize = 0;           // byte budget of the block cache
    BlockCache cache;

    // The list of all living contexts, for the statistics and for exit.
    ContextState *previous = nullptr;
    ContextState *next = nullptr;

    ContextState();
    ~ContextState() = default;

    // Storage is the system heap's, because Heap itself needs a context.
    static void *operator new(std::size_t size);
    static void operator delete(void *storage) noexcept;

    // Makes `scratch` hold `bytes` bytes, keeping its contents, with four zero bytes behind them.
    // A buffer above 16384 bytes is replaced by one of the exact size. Returns the buffer.
    char *growScratch(int bytes);

    // Ends everything that the context owns while it can still serve Heap.
    void tearDown();
    // Gives back the localiser stack, the scratch buffer and the cached blocks, and caches no more.
    void dropMemory();
};

// A thread's way to its context in multi-threaded operation. An exit leaves the slots of other
// threads as they are and changes the generation, so that no slot is ever followed into a record
// of an earlier start.
struct ThreadSlot
{
    ContextState *context = nullptr;
    unsigned generation = 0;
};

extern constinit thread_local ThreadSlot threadSlot __attribute__((tls_model("initial-exec")));

// Makes the calling thread's context.
ContextState &makeContext();

// Ends the calling thread's own context now, as the end of the thread would. A context that the
// whole process shares stays.
void endCurrentContext();

// The calling thread's own context: the one of the process, else the one of the thread.
inline ContextState &ownContext()
{
    if (processState.singleContext != nullptr)
        return *processState.singleContext;
    if (threadSlot.generation == processState.generation) [[likely]]
        return *threadSlot.context;
    return makeContext();
}

// The context by the one rule that the whole library follows: the host's override, else the calling
// thread's own.
inline ContextState &currentContext()
{
    if (globals.context != nullptr) [[unlikely]]
        return static_cast<ContextState &>(*globals.context);
    return ownContext();
}

// Calls `visit` on every living context, under the list's mutex.
void forEachContext(void (*visit)(ContextState &context, void *argument), void *argument);

// What contexts that are gone counted.
extern BlockCounters retiredCounters;

} // namespace Tavrin::detail
