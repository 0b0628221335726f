// SPDX-License-Identifier: MIT
#include <tavrin/Time.h>

#include <atomic>

#include "platform/Clock.h"
#include "runtime/ContextState.h"
#include "runtime/Startup.h"
#include "runtime/TimeState.h"

namespace Tavrin {

namespace detail {

constinit TimeState timeState;

namespace {

constexpr double millisecondsPerMinute = 60000.0;
constexpr double millisecondsPerSecond = 1000.0;
constexpr double microsecondsPerMillisecond = 1000.0;
constexpr double microsecondsPerSecond = 1000000.0;
constexpr std::int64_t systemUnitsPerMillisecond = 10000;
constexpr double endOfYear3000 = 32535216000000.0; // in milliseconds since 1970

constinit std::atomic<TickState> tickState;
static_assert(std::atomic<TickState>::is_always_lock_free);

constinit std::int64_t startTimer = 0;

// False for NaN.
bool isKnownTime(double utcMilliseconds)
{
    return utcMilliseconds >= 0 && utcMilliseconds < endOfYear3000;
}

} // namespace

void startTime()
{
    platform::readTimeZone();
    timeState.timeZoneOffset = platform::zoneBias().value_or(0) * millisecondsPerMinute;
    timeState.counterFrequency = static_cast<double>(platform::counterFrequency());
    timeState.hasCounter = timeState.counterFrequency > 0;
}

void noteStartTime()
{
    startTimer = Time::getHiResTimer();
}

void markStartTime()
{
    currentContext().timerMark = startTimer;
}

} // namespace detail

using namespace detail;

double Time::getUTCTime()
{
    const std::int64_t milliseconds = platform::utcTime() / systemUnitsPerMillisecond;
    return static_cast<double>(milliseconds);
}

double Time::getTimeZoneOffset()
{
    return timeState.timeZoneOffset;
}

std::int64_t Time::getHiResTimer()
{
    if (!timeState.hasCounter)
        return static_cast<std::int64_t>(getUTCTime() * microsecondsPerMillisecond);
    const auto counts = static_cast<double>(platform::counter());
    return static_cast<std::int64_t>(counts / timeState.counterFrequency * microsecondsPerSecond);
}

// The state is read before the clock, so a thread that is held up between the two never takes a
// later reading of another thread for a wrap: the exchange fails then, and it reads both again.
unsigned int Time::getTicks()
{
    TickState state = tickState.load(std::memory_order_acquire);
    for (;;) {
        const TickState next = state.advancedTo(platform::tickCount());
        if (next == state || tickState.compare_exchange_weak(state, next, std::memory_order_acq_rel,
                                                             std::memory_order_acquire))
            return next.ticks();
    }
}

int Time::isDST()
{
    return isDST(getUTCTime());
}

int Time::isDST(double utcMilliseconds)
{
    if (!isKnownTime(utcMilliseconds))
        return -1;
    ContextState &context = currentContext();
    const auto minute = static_cast<std::uint32_t>(utcMilliseconds / millisecondsPerMinute);
    if (minute != context.dstMinute) { // D-084: a new context has an answer for minute 0
        const auto seconds = static_cast<std::int64_t>(utcMilliseconds / millisecondsPerSecond);
        const int flag = platform::daylightFlag(seconds);
        context.dstMinute = minute;
        context.dstResult = flag < 0 ? -1 : flag > 0;
    }
    return context.dstResult;
}

} // namespace Tavrin
