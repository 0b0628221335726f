// SPDX-License-Identifier: MIT
// Finding and ending contexts.
//
// Single-threaded operation keeps one context in a process-wide pointer. InitTerm::setMT moves it
// to the thread slot of its thread, and from then on every thread makes its own on first use. All
// living contexts stand in one list under a mutex of its own: the statistics add their counters up,
// and exit gives back what threads that are still alive hold.
//
// Invariant: while anything that a context owns is being ended, the context can still be found by
// its thread, because destructors of owned objects call Heap. The way to it is cleared last.
// Pinned by tests/runtime/ContextTest.cpp.
#include "runtime/ContextState.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

#include <tavrin/Heap.h>

#include "platform/ThreadEnd.h"
#include "runtime/Startup.h"

namespace Tavrin {

namespace detail {

constinit FrameGlobals globals;
constinit ProcessState processState;
constinit thread_local ThreadSlot threadSlot __attribute__((tls_model("initial-exec")));
constinit BlockCounters retiredCounters;

namespace {

constexpr int defaultCacheSize = 102400;
constexpr int scratchKeptSize = 16384; // a larger buffer is not kept for small conversions
constexpr int scratchTail = 4;         // zero bytes behind the text

constinit std::mutex listMutex;
constinit ContextState *firstContext = nullptr;
constinit Callbacks *registeredCallbacks = nullptr;

void enlist(ContextState &context)
{
    std::lock_guard guard(listMutex);
    context.next = firstContext;
    if (firstContext != nullptr)
        firstContext->previous = &context;
    firstContext = &context;
}

void delist(ContextState &context)
{
    std::lock_guard guard(listMutex);
    (context.previous != nullptr ? context.previous->next : firstContext) = context.next;
    if (context.next != nullptr)
        context.next->previous = context.previous;
    const BlockCounters &counters = context.cache.counters;
    retiredCounters.add(counters.readBlocks(), counters.readBytes());
}

void putInThreadSlot(ContextState *context)
{
    threadSlot = {context, processState.generation};
    platform::armThreadEnd(context);
}

void clearThreadSlot()
{
    threadSlot = {};
    platform::armThreadEnd(nullptr);
}

void dropSingleContext()
{
    processState.singleContext = nullptr;
    globals.singleCache = nullptr;
}

void destroyContext(ContextState &context)
{
    context.tearDown();
    delist(context);
    if (processState.singleContext == &context)
        dropSingleContext();
    if (threadSlot.context == &context)
        clearThreadSlot();
    delete &context;
}

// Contexts of threads that still live give back their memory at exit. D-007: their engine state and
// owned object stay untouched. Only their own thread may destroy those, and from here on its end is
// not noticed.
void dropForeignContexts(const ContextState *own)
{
    ContextState *next = nullptr;
    for (ContextState *context = firstContext; context != nullptr; context = next) {
        next = context->next;
        if (context == own)
            continue;
        context->engineState = nullptr;
        context->ownedObject = nullptr;
        destroyContext(*context);
    }
}

// Runs on the ending thread. The system has emptied its slot, ours still leads to the context.
void threadEnded(void *value)
{
    destroyContext(*static_cast<ContextState *>(value));
}

} // namespace

ContextState::ContextState()
{
    cache.setLimits(defaultCacheSize);
    cacheSize = defaultCacheSize;
    enlist(*this);
}

// Neither half is inlined: when only one is, GCC takes the two for a mismatch.
[[gnu::noinline]] void *ContextState::operator new(std::size_t size)
{
    void *storage = std::malloc(size);
    if (storage == nullptr)
        throwOutOfMemory();
    return storage;
}

[[gnu::noinline]] void ContextState::operator delete(void *storage) noexcept
{
    std::free(storage);
}

char *ContextState::growScratch(int bytes)
{
    if (bytes > std::numeric_limits<int>::max() - scratchTail)
        throwOutOfMemory();
    const int needed = bytes + scratchTail;
    const int kept = scratchSize > scratchKeptSize && scratchSize >= needed ? 0 : scratchSize;
    if (kept < needed) {
        auto *grown = static_cast<char *>(Heap::operator new(static_cast<std::size_t>(needed)));
        if (kept > 0)
            std::memcpy(grown, scratch, static_cast<std::size_t>(kept));
        Heap::operator delete(scratch);
        scratch = grown;
        scratchSize = needed;
    }
    std::memset(scratch + bytes, 0, scratchTail);
    return scratch;
}

void ContextState::tearDown()
{
    delete std::exchange(engineState, nullptr);
    dropMemory();
    delete std::exchange(ownedObject, nullptr);
    dropMemory(); // the owned object's destructor may have brought some back
}

void ContextState::dropMemory()
{
    localizerStack.erase();
    Heap::operator delete(std::exchange(scratch, nullptr));
    scratchSize = 0;
    std::destroy_at(&fallbackVariant);
    std::construct_at(&fallbackVariant);
    cache.flush();
    cacheSize = 0;
    cache.setLimits(0);
}

ContextState &makeContext()
{
    auto *context = new ContextState;
    if (processState.multiThreaded)
        putInThreadSlot(context);
    else
        processState.singleContext = context;
    return *context;
}

void endCurrentContext()
{
    if (threadSlot.generation == processState.generation)
        destroyContext(*threadSlot.context);
}

void forEachContext(void (*visit)(ContextState &context, void *argument), void *argument)
{
    std::lock_guard guard(listMutex);
    for (ContextState *context = firstContext; context != nullptr; context = context->next)
        visit(*context, argument);
}

void startContext()
{
    ++processState.generation;
    platform::openThreadEnd(threadEnded);
}

void moveContextToThread()
{
    if (processState.singleContext == nullptr)
        return;
    putInThreadSlot(processState.singleContext);
    dropSingleContext();
    processState.multiThreaded = true;
}

void stopContext()
{
    const bool inSlot = threadSlot.generation == processState.generation;
    ContextState *own = inSlot ? threadSlot.context : processState.singleContext;
    dropForeignContexts(own);
    if (own != nullptr)
        destroyContext(*own);
    platform::closeThreadEnd();
    ++processState.generation;
    processState.multiThreaded = false;
}

} // namespace detail

Context::Context() : locks(detail::globals.locks) {}

Context::~Context()
{
    delete ownedObject;
}

Context &Context::get()
{
    return detail::ownContext();
}

Callbacks::~Callbacks() = default;

Callbacks *Callbacks::get()
{
    return __atomic_load_n(&detail::registeredCallbacks, __ATOMIC_ACQUIRE);
}

void Callbacks::set(Callbacks *callbacks)
{
    __atomic_store_n(&detail::registeredCallbacks, callbacks, __ATOMIC_RELEASE);
}

} // namespace Tavrin
