// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

// The system's clocks and time zone.
namespace Tavrin::platform {

// A counter that only goes up, without a fixed origin, and how many counts make a second; the
// frequency is 0 when the system has no such counter.
std::int64_t counter();
std::int64_t counterFrequency();

// The time since 1 January 1970 00:00 UTC, in units of 100 nanoseconds.
std::int64_t utcTime();

// Milliseconds without a fixed origin; wraps at 2^32.
std::uint32_t tickCount();

// Reads the time-zone setting of the process (on POSIX the variable TZ) anew. Not while another
// thread asks for local times.
void readTimeZone();

// By how many minutes the standard time of the zone falls behind UTC: positive west of Greenwich.
// Nothing when the system does not know.
std::optional<int> zoneBias();

// Whether daylight-saving time is in force at that many seconds since 1970: above 0 yes, 0 no,
// below 0 unknown.
int daylightFlag(std::int64_t seconds);

} // namespace Tavrin::platform
