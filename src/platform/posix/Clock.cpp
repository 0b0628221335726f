// SPDX-License-Identifier: MIT
#include "platform/Clock.h"

#include <ctime>

namespace Tavrin::platform {

namespace {

timespec read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return time;
}

// The time on a clock in units of which a second has `perSecond`.
std::int64_t readIn(clockid_t clock, std::int64_t perSecond)
{
    const timespec time = read(clock);
    return time.tv_sec * perSecond + time.tv_nsec / (1'000'000'000 / perSecond);
}

} // namespace

std::int64_t counter()
{
    return readIn(CLOCK_MONOTONIC, 1'000'000'000);
}

std::int64_t counterFrequency()
{
    return 1'000'000'000;
}

std::int64_t utcTime()
{
    return readIn(CLOCK_REALTIME, 10'000'000);
}

std::uint32_t tickCount()
{
    return static_cast<std::uint32_t>(readIn(CLOCK_MONOTONIC, 1000));
}

void readTimeZone()
{
    tzset();
}

std::optional<int> zoneBias()
{
    return static_cast<int>(timezone / 60);
}

int daylightFlag(std::int64_t seconds)
{
    const time_t time = seconds;
    tm local{};
    return localtime_r(&time, &local) == nullptr ? -1 : local.tm_isdst;
}

} // namespace Tavrin::platform
