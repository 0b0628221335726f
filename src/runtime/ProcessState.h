// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin {
class Callbacks;
class SimpleArray;
} // namespace Tavrin

namespace Tavrin::detail {

struct ContextState;

// What the library knows of the process. It outlives init and exit, and stands on a cache line of
// its own, because every allocation reads its first three fields.
struct alignas(64) ProcessState
{
    int initCount = 0;       // inits that no exit balances yet; atomic once threads run
    unsigned generation = 1; // changes with every start and stop; see ThreadSlot
    ContextState *singleContext = nullptr; // the one context until setMT
    bool multiThreaded = false;            // contexts go to the thread slots
    bool startingUp = true;                // from load or exit to the very end of init
    bool uiEnabled = true;
    bool exiting = false;                // the last exit is under way, from its first handler on
    SimpleArray *exitHandlers = nullptr; // function pointers, oldest first
};

extern ProcessState processState;

inline bool isLibraryUp()
{
    return __atomic_load_n(&processState.initCount, __ATOMIC_RELAXED) > 0;
}

} // namespace Tavrin::detail
