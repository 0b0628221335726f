// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <tavrin/Export.h>

namespace Tavrin {

// Time: the clocks of the library, and daylight-saving time.
// Threads: any thread. The time zone is the one that the process had at InitTerm::init.
// Units:   stated with each; times of day count from 1 January 1970 00:00 UTC.
// Cost:    one reading of the system's clock; isDST asks the system once a minute and thread.
class TAVRIN_API Time
{
public:
    // The time of day in whole milliseconds.
    static double getUTCTime();
    // By how many milliseconds the zone's standard time falls behind UTC: positive west of
    // Greenwich. 0 before InitTerm::init, and when the system does not know.
    static double getTimeZoneOffset();
    // Microseconds of a clock that is never set, without a fixed origin: only differences count.
    // Before the first InitTerm::init, and on a system without such a clock, the time of day.
    static std::int64_t getHiResTimer();
    // Ticks of 50 milliseconds of a clock without a fixed origin.
    // D-083: the clock beneath wraps after 49.7 days, and the ticks jump then.
    static unsigned int getTicks();

    // Whether daylight-saving time is in force, now or at the given time: 1 yes, 0 no, -1 when it
    // is not known, which is so for NaN and all times before 1970 and after the year 3000.
    // D-084: the first minute of 1970 is 0 on a thread that asked for no other minute before.
    static int isDST();
    static int isDST(double utcMilliseconds);
};

} // namespace Tavrin
