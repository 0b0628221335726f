// SPDX-License-Identifier: MIT
#include <tavrin/Time.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <tavrin/Thread.h>

#include "runtime/ThreadTools.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::LibrarySession;
using test::runOnThread;

namespace {

// What the stand-in for the system's localtime_r counts and does on this thread.
struct LocalTime
{
    int queries = 0;
    bool fails = false;
    bool knowsNoDaylight = false;
};
thread_local LocalTime localTime;

// The variable TZ, put back at the end.
class ZoneSetting
{
public:
    explicit ZoneSetting(const char *zone)
    {
        if (const char *value = std::getenv("TZ"))
            before = value;
        setenv("TZ", zone, 1);
    }
    ~ZoneSetting()
    {
        if (before)
            setenv("TZ", before->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    std::optional<std::string> before;
};

// The library, up in a time zone.
struct Zone
{
    explicit Zone(const char *name) : setting(name) { localTime = {}; }

    ZoneSetting setting;
    LibrarySession session{LibrarySession::Mode::multiThreaded};
};

constexpr double minute = 60000;
constexpr double hour = 60 * minute;
constexpr double winterOf2024 = 1705320000000; // 15 January 2024 12:00 UTC
constexpr double summerOf2024 = 1721044800000; // 15 July 2024 12:00 UTC

constexpr const char *newYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char *auckland = "NZST-12NZDT,M9.5.0,M4.1.0/3";

} // namespace

extern "C" tm *localtime_r(const time_t *time, tm *result) noexcept
{
    using Function = tm *(*)(const time_t *, tm *);
    static const auto systems = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "localtime_r"));
    ++localTime.queries;
    if (localTime.fails)
        return nullptr;
    tm *local = systems(time, result);
    if (localTime.knowsNoDaylight)
        local->tm_isdst = -1;
    return local;
}

// The clocks.

TEST(Time, UTCTimeIsTheTimeOfDayInWholeMilliseconds)
{
    using namespace std::chrono;
    const auto now = [] {
        return static_cast<double>(
            duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
    };
    const double before = now();
    const double time = Time::getUTCTime();
    const double after = now();
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
    EXPECT_EQ(time, std::trunc(time));
}

TEST(Time, TheHighResolutionTimerCountsMicroseconds)
{
    using namespace std::chrono;
    LibrarySession session;
    const auto steady = [] {
        return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
    };
    const std::int64_t outerStart = steady();
    const std::int64_t start = Time::getHiResTimer();
    const std::int64_t innerStart = steady();
    Thread::sleep(30);
    const std::int64_t innerEnd = steady();
    const std::int64_t end = Time::getHiResTimer();
    const std::int64_t outerEnd = steady();
    EXPECT_GE(end - start, innerEnd - innerStart - 1);
    EXPECT_LE(end - start, outerEnd - outerStart + 1);
}

TEST(Time, TheHighResolutionTimerNeverGoesBack)
{
    LibrarySession session;
    std::int64_t last = Time::getHiResTimer();
    for (int count = 0; count < 100'000; ++count) {
        const std::int64_t now = Time::getHiResTimer();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Time, BeforeTheFirstInitTheHighResolutionTimerIsTheTimeOfDay)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a new process, where no test has run
    EXPECT_EXIT(
        {
            const double before = Time::getUTCTime() * 1000;
            const auto reading = static_cast<double>(Time::getHiResTimer());
            const double after = Time::getUTCTime() * 1000;
            std::_Exit(before <= reading && reading <= after ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Time, TicksAreFiftyMilliseconds)
{
    LibrarySession session;
    const std::int64_t outerStart = Time::getHiResTimer();
    const unsigned int start = Time::getTicks();
    const std::int64_t innerStart = Time::getHiResTimer();
    Thread::sleep(210);
    const std::int64_t innerEnd = Time::getHiResTimer();
    const unsigned int ticks = Time::getTicks() - start;
    const std::int64_t outerEnd = Time::getHiResTimer();
    EXPECT_GE(ticks, (innerEnd - innerStart) / 50'000);
    EXPECT_LE(ticks, (outerEnd - outerStart) / 50'000 + 1);
}

TEST(Time, TicksDoNotJumpWhenManyThreadsAskForThem)
{
    LibrarySession session(LibrarySession::Mode::multiThreaded);
    const unsigned int start = Time::getTicks();
    const std::int64_t end = Time::getHiResTimer() + 300'000;
    test::runOnThreads(8, [end](int) {
        unsigned int last = Time::getTicks();
        while (Time::getHiResTimer() < end) {
            const unsigned int now = Time::getTicks();
            ASSERT_GE(now, last);
            last = now;
        }
    });
    EXPECT_LT(Time::getTicks() - start, 100'000u);
}

// The time zone.

TEST(TimeZone, TheOffsetIsThatOfStandardTimePositiveWestOfGreenwich)
{
    const struct
    {
        const char *zone;
        double hours;
    } rows[] = {
        {"UTC0", 0},     {newYork, 5},        {"CET-1CEST,M3.5.0,M10.5.0/3", -1},
        {auckland, -12}, {"IST-5:30", -5.5},  {"NST3:30NDT,M3.2.0,M11.1.0", 3.5},
        {"PST8PDT", 8},  {"NPT-5:45", -5.75}, {"XXX0:01:59", 1 / 60.0}, // whole minutes
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.zone);
        const Zone zone(row.zone);
        EXPECT_EQ(Time::getTimeZoneOffset(), row.hours * hour);
    }
}

TEST(TimeZone, IsReadAtInitOnly)
{
    const Zone zone(newYork);
    const ZoneSetting later("UTC0");
    EXPECT_EQ(Time::getTimeZoneOffset(), 5 * hour);
    EXPECT_EQ(Time::isDST(summerOf2024), 1);
}

TEST(TimeZone, ZonesOfTheSystemGiveTheirStandardTime)
{
    ASSERT_TRUE(std::filesystem::exists("/usr/share/zoneinfo/America/New_York"))
        << "scripts/setup installs the time-zone data";
    const struct
    {
        const char *zone;
        double hours;
        int winter;
        int summer;
    } rows[] = {
        {"America/New_York", 5, 0, 1},   {"Europe/Berlin", -1, 0, 1}, {"Asia/Kolkata", -5.5, 0, 0},
        {"Pacific/Auckland", -12, 1, 0}, {"Asia/Tokyo", -9, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.zone);
        const Zone zone(row.zone);
        EXPECT_EQ(Time::getTimeZoneOffset(), row.hours * hour);
        EXPECT_EQ(Time::isDST(winterOf2024), row.winter);
        EXPECT_EQ(Time::isDST(summerOf2024), row.summer);
    }
}

// Daylight-saving time.

TEST(DaylightSaving, ChangesAtTheMomentsOfTheZone)
{
    const struct
    {
        const char *name;
        const char *zone;
        double time;
        int expected;
    } rows[] = {
        {"New York, winter", newYork, winterOf2024, 0},
        {"New York, last millisecond before", newYork, 1710053999999, 0},
        {"New York, 10 March 2024 07:00 UTC", newYork, 1710054000000, 1},
        {"New York, summer", newYork, summerOf2024, 1},
        {"New York, last millisecond of summer time", newYork, 1730613599999, 1},
        {"New York, 3 November 2024 06:00 UTC", newYork, 1730613600000, 0},
        {"Auckland, January", auckland, winterOf2024, 1},
        {"Auckland, July", auckland, summerOf2024, 0},
        {"UTC, July", "UTC0", summerOf2024, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Zone zone(row.zone);
        EXPECT_EQ(Time::isDST(row.time), row.expected);
    }
}

TEST(DaylightSaving, OutOfRangeTimesAreUnknown)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double endOfYear3000 = 32535216000000;
    const struct
    {
        const char *name;
        double time;
    } rows[] = {
        {"NaN", std::numeric_limits<double>::quiet_NaN()},
        {"infinity", infinity},
        {"minus infinity", -infinity},
        {"largest", std::numeric_limits<double>::max()},
        {"lowest", std::numeric_limits<double>::lowest()},
        {"2^31 minutes", 2147483648.0 * minute},
        {"-2^31 minutes", -2147483648.0 * minute},
        {"2^63 seconds", 9223372036854775808.0 * 1000},
        {"-2^63 seconds", -9223372036854775808.0 * 1000},
        {"year 3001", endOfYear3000},
        {"a minute before 1970", -minute},
        {"half a minute before 1970", -minute / 2},
        {"a millisecond before 1970", -1},
    };
    const Zone zone(newYork);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Time::isDST(row.time), -1);
        EXPECT_EQ(Time::isDST(summerOf2024), 1);
        EXPECT_EQ(Time::isDST(row.time), -1);
    }
    EXPECT_EQ(Time::isDST(std::nextafter(endOfYear3000, 0)), 0);
    EXPECT_EQ(Time::isDST(2 * minute), 0);
    EXPECT_EQ(Time::isDST(-0.0), 0);
}

TEST(DaylightSaving, TwiceInAMinuteAsksTheSystemOnce)
{
    const Zone zone(newYork);
    const double start = std::floor(summerOf2024 / minute) * minute;
    EXPECT_EQ(Time::isDST(start), 1);
    EXPECT_EQ(localTime.queries, 1);
    EXPECT_EQ(Time::isDST(start), 1);
    EXPECT_EQ(Time::isDST(start + 59'999), 1);
    EXPECT_EQ(localTime.queries, 1);
    EXPECT_EQ(Time::isDST(start + minute), 1);
    EXPECT_EQ(localTime.queries, 2);
    EXPECT_EQ(Time::isDST(start), 1);
    EXPECT_EQ(localTime.queries, 3);
}

TEST(DaylightSaving, BothFormsShareTheAnswerOfTheMinute)
{
    const Zone zone(newYork);
    for (;;) { // until both calls fall into one minute
        localTime.queries = 0;
        const double before = Time::getUTCTime();
        const int now = Time::isDST();
        if (std::floor(before / minute) != std::floor(Time::getUTCTime() / minute))
            continue;
        EXPECT_EQ(localTime.queries, 1);
        EXPECT_EQ(Time::isDST(before), now);
        EXPECT_EQ(localTime.queries, 1);
        break;
    }
}

TEST(DaylightSaving, EachThreadAsksForItself)
{
    const Zone zone(newYork);
    EXPECT_EQ(Time::isDST(summerOf2024), 1);
    runOnThread([] {
        EXPECT_EQ(Time::isDST(summerOf2024), 1);
        EXPECT_EQ(localTime.queries, 1);
    });
}

TEST(DaylightSaving, ANewSessionAsksAnew)
{
    {
        const Zone zone(newYork);
        EXPECT_EQ(Time::isDST(summerOf2024), 1);
    }
    const Zone zone("UTC0");
    EXPECT_EQ(Time::isDST(summerOf2024), 0);
}

TEST(DaylightSaving, TheFirstMinuteOf1970IsAnsweredWithoutAskingOnANewThread)
{
    const Zone zone(auckland); // where that minute lies in summer time
    runOnThread([] {
        EXPECT_EQ(Time::isDST(0), 0);
        EXPECT_EQ(Time::isDST(59'999), 0);
        EXPECT_EQ(localTime.queries, 0);
        EXPECT_EQ(Time::isDST(minute), 1);
        EXPECT_EQ(Time::isDST(0), 1);
        EXPECT_EQ(localTime.queries, 2);
    });
}

TEST(DaylightSaving, IsUnknownWhenTheSystemFails)
{
    const Zone zone(newYork);
    localTime.fails = true;
    EXPECT_EQ(Time::isDST(summerOf2024), -1);
    localTime.fails = false;
    EXPECT_EQ(Time::isDST(summerOf2024), -1); // of the same minute
    EXPECT_EQ(Time::isDST(summerOf2024 + minute), 1);
}

TEST(DaylightSaving, IsUnknownWhenTheSystemDoesNotKnow)
{
    const Zone zone(newYork);
    localTime.knowsNoDaylight = true;
    EXPECT_EQ(Time::isDST(summerOf2024), -1);
    localTime.knowsNoDaylight = false;
}
