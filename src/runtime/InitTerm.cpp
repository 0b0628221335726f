// SPDX-License-Identifier: MIT
#include <tavrin/InitTerm.h>

#include <utility>

#include <tavrin/Context.h>
#include <tavrin/Lock.h>

#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "runtime/ProcessState.h"
#include "runtime/Startup.h"

namespace Tavrin {

using detail::processState;

void InitTerm::init()
{
    if (TvAtomicInc(&processState.initCount) != 1)
        return;
    detail::runStartRows();
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
    Context &context = Context::get();
    delete std::exchange(context.engineState, nullptr);
    detail::runStopRows();
    processState.initCount = 0;
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
