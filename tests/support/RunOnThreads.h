// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace Tavrin::test {

// Runs `body` on `count` threads at the same time: all are started first, then released together.
// Each receives its index, from 0. Returns when all have ended; the exception of the lowest index
// comes out of it then.
void runOnThreads(int count, const std::function<void(int index)> &body);

// Runs `body` on one other thread and waits for its end.
void runOnThread(const std::function<void()> &body);

} // namespace Tavrin::test
