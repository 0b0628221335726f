// SPDX-License-Identifier: MIT
// The one table of start and stop rows. Both orders are fixed, because hosts' hooks run between
// them; the stop order is no mirror of the start order. Pinned by tests/runtime/InitTermTest.cpp.
#include "runtime/Startup.h"

namespace Tavrin::detail {

namespace {

struct Row
{
    const char *subsystem;
    void (*run)();
};

constexpr Row startRows[] = {
    {"time", startTime},           {"start time", noteStartTime}, {"allocator", startAllocator},
    {"context", startContext},     {"thread", startThread},       {"string", startString},
    {"localizer", startLocalizer}, {"encoder", startEncoder},     {"errors", startErrors},
};

constexpr Row stopRows[] = {
    {"lock table", stopLockTable},
    {"live objects", stopLiveObjects},
    {"property indexes", stopPropertyIndexes},
    {"errors", stopErrors},
    {"weak references", stopWeakReferences},
    {"encoder", stopEncoder},
    {"localizer", stopLocalizer},
    {"string", stopString},
    {"context", stopContext},
    {"allocator", stopAllocator},
};

} // namespace

void runStartRows()
{
    for (const Row &row : startRows)
        row.run();
}

void runStopRows()
{
    for (const Row &row : stopRows)
        row.run();
}

} // namespace Tavrin::detail
