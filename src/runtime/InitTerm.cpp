// SPDX-License-Identifier: MIT
#include <tavrin/InitTerm.h>

#include <cstdint>
#include <exception>
#include <mutex>
#include <utility>

#include <tavrin/Context.h>
#include <tavrin/Lock.h>
#include <tavrin/SimpleArray.h>

#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/ProcessState.h"
#include "runtime/Startup.h"

namespace Tavrin {

using detail::processState;

namespace {

using ExitHandler = void (*)();

// Threads may add handlers at the same time.
constinit std::mutex handlerMutex;

// The handler at `index`, or null behind the last one.
ExitHandler exitHandler(int index)
{
    std::lock_guard guard(handlerMutex);
    if (processState.exitHandlers == nullptr)
        return nullptr;
    const SimpleArray &handlers = *processState.exitHandlers;
    return reinterpret_cast<ExitHandler>(static_cast<std::intptr_t>(handlers[index]));
}

// What a handler throws is its own affair: the library still goes down. What is no exception of C++
// is let through: the platform aborts when the unwinding of a cancelled thread is held up.
void runExitHandler(ExitHandler handler)
{
    try {
        handler();
    } catch (...) {
        if (std::current_exception() == nullptr)
            throw;
    }
}

// Reads the list afresh each round, because handlers may add to it.
void runExitHandlers()
{
    for (int index = 0; ExitHandler handler = exitHandler(index); ++index)
        runExitHandler(handler);
}

void dropExitHandlers()
{
    std::lock_guard guard(handlerMutex);
    detail::deleteOnHeap(std::exchange(processState.exitHandlers, nullptr));
}

// Makes an exit within the exit do nothing; also when a cancelled thread leaves it half-way.
class ExitUnderWay
{
public:
    ExitUnderWay() { processState.exiting = true; }
    ~ExitUnderWay() { processState.exiting = false; }
    ExitUnderWay(const ExitUnderWay &) = delete;
    ExitUnderWay &operator=(const ExitUnderWay &) = delete;
};

} // namespace

void InitTerm::init()
{
    if (TvAtomicInc(&processState.initCount) != 1)
        return;
    detail::runStartRows();
    processState.exitHandlers = detail::newOnHeap<SimpleArray>();
    detail::markStartTime();
    processState.startingUp = false;
}

void InitTerm::exit()
{
    const int count = __atomic_load_n(&processState.initCount, __ATOMIC_RELAXED);
    if (count != 1) {
        if (count > 1)
            TvAtomicDec(&processState.initCount);
        return;
    }
    if (processState.exiting)
        return;
    ExitUnderWay underWay;
    runExitHandlers();
    dropExitHandlers();
    Context &context = Context::get();
    delete std::exchange(context.engineState, nullptr);
    detail::runStopRows();
    // D-091: not a decrement. An init that a handler left without its exit does not keep anything
    // up.
    processState.initCount = 0;
    processState.startingUp = true; // as at load, for the next init
    detail::globals.singleCache = nullptr;
}

void InitTerm::atExit(void (*handler)())
{
    if (handler == nullptr)
        return;
    std::lock_guard guard(handlerMutex);
    if (processState.exitHandlers != nullptr)
        processState.exitHandlers->append(reinterpret_cast<std::intptr_t>(handler));
}

bool InitTerm::isInitialized()
{
    return detail::isLibraryUp();
}

void InitTerm::setMT()
{
    if (detail::globals.locks == nullptr) {
        Lock *locks = new Lock[detail::lockTableSize];
        detail::globals.locks = locks;
        Context::get().locks = locks;
    }
    detail::moveContextToThread();
}

bool InitTerm::isMT()
{
    return detail::globals.locks != nullptr;
}

void InitTerm::enableUI(bool enable)
{
    __atomic_store_n(&processState.uiEnabled, enable, __ATOMIC_RELAXED);
}

bool InitTerm::isUIEnabled()
{
    return __atomic_load_n(&processState.uiEnabled, __ATOMIC_RELAXED);
}

int getVersion()
{
    return 0x4050C;
}

void DebugAlert(const char *, const char *, int) {}

} // namespace Tavrin
