// SPDX-License-Identifier: MIT
#pragma once

// The start and stop routine of each subsystem. Startup.cpp puts them in order; each subsystem
// implements its own pair. A stop routine runs also when the start of a later row failed.
namespace Tavrin::detail {

void startTime();
void noteStartTime();
void startAllocator();
void stopAllocator();
void startContext();
void stopContext();
void startThread();
void stopLockTable();
void stopPropertyIndexes();
void stopWeakReferences();
void startString();
void stopString();
void startEncoder();
void stopEncoder();
void startLocalizer();
void stopLocalizer();
void stopLiveObjects();
void startErrors();
void stopErrors();

// The last step of a start: the time that noteStartTime kept becomes the calling thread's mark.
void markStartTime();

// The whole tables, in order.
void runStartRows();
void runStopRows();

// Part of the switch to multi-threaded operation: from the process to the thread slot.
void moveContextToThread();

} // namespace Tavrin::detail
