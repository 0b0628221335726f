// SPDX-License-Identifier: MIT
#include "platform/Threads.h"

#include <unistd.h>

namespace Tavrin::platform {

unsigned int currentThreadId()
{
    constinit thread_local unsigned int id = 0;
    if (id == 0)
        id = static_cast<unsigned int>(gettid());
    return id;
}

} // namespace Tavrin::platform
