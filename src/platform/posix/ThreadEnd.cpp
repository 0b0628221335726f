// SPDX-License-Identifier: MIT
#include "platform/ThreadEnd.h"

#include <pthread.h>

namespace Tavrin::platform {

namespace {
pthread_key_t key;
bool isOpen = false;
} // namespace

bool openThreadEnd(ThreadEndNotice notice)
{
    isOpen = pthread_key_create(&key, notice) == 0;
    return isOpen;
}

void armThreadEnd(void *value)
{
    if (isOpen)
        pthread_setspecific(key, value);
}

void closeThreadEnd()
{
    if (!isOpen)
        return;
    pthread_key_delete(key);
    isOpen = false;
}

} // namespace Tavrin::platform
