// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin::platform {

// The system's identifier of the calling thread; never 0. A forked child keeps its parent's.
unsigned int currentThreadId();

} // namespace Tavrin::platform
