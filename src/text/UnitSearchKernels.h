// SPDX-License-Identifier: MIT
#pragma once

// Search for a unit, for any of a set of units, and for a pattern.
//
// A pattern is searched by two of its units: places where both match are candidates, and each is
// then compared in full. What the false ones cost is counted, in units: when it outgrows the
// progress made, the text is of the kind that makes this quadratic, and the rest goes to the linear
// search of TwoWaySearch.h.

#include <cstring>

#include "text/TwoWaySearch.h"
#include "text/UnitEqualityKernels.h"

namespace Tavrin::detail::kernels {

// A search from the end differs in the order of blocks and of lanes, and in nothing else.
struct Forward
{
    template <class Lanes>
    static int firstBlock(int) noexcept
    {
        return 0;
    }
    template <class Lanes>
    static int blockAfter(int at, int n) noexcept
    {
        return nextBlock<Lanes>(at, n);
    }
    template <class Lanes>
    static int lane(Mask mask) noexcept
    {
        return firstLane<Lanes>(mask);
    }
    template <class Lanes>
    static int index(int step, int) noexcept
    {
        return step;
    }
};

struct Backward
{
    template <class Lanes>
    static int firstBlock(int n) noexcept
    {
        return n - Lanes::width;
    }
    template <class Lanes>
    static int blockAfter(int at, int) noexcept
    {
        return previousBlock<Lanes>(at);
    }
    template <class Lanes>
    static int lane(Mask mask) noexcept
    {
        return lastLane<Lanes>(mask);
    }
    template <class Lanes>
    static int index(int step, int n) noexcept
    {
        return n - 1 - step;
    }
};

template <class Lanes, class Order = Forward>
int findUnit(const unsigned short *text, int n, unsigned short unit) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            for (int step = 0; step < n; ++step) {
                if (text[Order::template index<Lanes>(step, n)] == unit)
                    return Order::template index<Lanes>(step, n);
            }
            return -1;
        } else {
            return findUnit<Shorter<Lanes>, Order>(text, n, unit);
        }
    }
    const Vector<Lanes> wanted = Lanes::fill(unit);
    for (int at = Order::template firstBlock<Lanes>(n); at >= 0;
         at = Order::template blockAfter<Lanes>(at, n)) {
        const Mask hits = Lanes::mask(Lanes::equal(Lanes::load(text + at), wanted));
        if (hits != 0)
            return at + Order::template lane<Lanes>(hits);
    }
    return -1;
}

// --- Patterns ------------------------------------------------------------------------------------

// The second unit to look for: the last that differs from the first, or else the last. Text that
// repeats one unit then gives few false candidates.
template <class Lanes>
int probeOf(const unsigned short *pattern, int m) noexcept
{
    for (int at = m - 1; at > 0; --at) {
        if (pattern[at] != pattern[0])
            return at;
    }
    return m - 1;
}

// How much of the pattern, of m units, stands there: m when all of it does. A short pattern is
// compared by its two ends, without a loop.
template <class Lanes>
int matchAt(const unsigned short *text, const unsigned short *pattern, int m) noexcept
{
    constexpr int endUnits = sizeof(std::uint64_t) / sizeof(unsigned short);
    if (m < endUnits)
        return firstDifference<Lanes>(text, pattern, m);
    const auto differ = [&](int at) {
        std::uint64_t a = 0;
        std::uint64_t b = 0;
        std::memcpy(&a, text + at, sizeof a);
        std::memcpy(&b, pattern + at, sizeof b);
        return a != b;
    };
    if (differ(0) || differ(m - endUnits))
        return 0;
    return m <= 2 * endUnits ? m : firstDifference<Lanes>(text, pattern, m);
}

template <class Lanes>
class FalseCandidates
{
public:
    void add(int unitsMatched) noexcept { cost += costOfOne + unitsMatched; }
    bool tooMany(int placesDone) const noexcept
    {
        return cost > allowance + allowancePerPlace * placesDone;
    }

private:
    static constexpr std::int64_t costOfOne = 16;
    static constexpr std::int64_t allowance = 4096;
    static constexpr std::int64_t allowancePerPlace = 8;

    std::int64_t cost = 0;
};

// What a search does with a match: the first one ends it, or up to `room` that do not overlap are
// collected.
struct FirstMatch
{
    static constexpr int next = 0; // matches in front of it do not count
    bool take(int) noexcept { return true; }
};

struct AllMatches
{
    bool take(int at) noexcept
    {
        positions[count++] = at;
        next = at + m;
        return count == room;
    }

    int *positions;
    int room;
    int m;
    int count = 0;
    int next = 0;
};

// The rest of a search that has looked at the places in front of `done`.
template <class Lanes, class Matches>
int findInRest(const unsigned short *text, int n, const unsigned short *pattern, int m, int done,
               Matches &matches) noexcept
{
    for (int from = std::max(done, matches.next);; from = matches.next) {
        const int found = twoWaySearch(text + from, n - from, pattern, m);
        if (found < 0)
            return -1;
        if (matches.take(from + found))
            return from + found;
    }
}

// The match that ended the search, or -1.
template <class Lanes, class Order, class Matches>
int findPattern(const unsigned short *text, int n, const unsigned short *pattern, int m,
                Matches &matches) noexcept
{
    if (m > n)
        return -1;
    const int places = n - m + 1;
    if (places < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            for (int step = 0; step < places; ++step) {
                const int place = Order::template index<Lanes>(step, places);
                if (place >= matches.next && equalUnits<Lanes>(text + place, pattern, m) &&
                    matches.take(place))
                    return place;
            }
            return -1;
        } else {
            return findPattern<Shorter<Lanes>, Order>(text, n, pattern, m, matches);
        }
    }
    const int probe = probeOf<Lanes>(pattern, m);
    const Vector<Lanes> first = Lanes::fill(pattern[0]);
    const Vector<Lanes> second = Lanes::fill(pattern[probe]);
    FalseCandidates<Lanes> wrong;
    for (int at = Order::template firstBlock<Lanes>(places); at >= 0;
         at = Order::template blockAfter<Lanes>(at, places)) {
        Mask candidates =
            Lanes::mask(Lanes::both(Lanes::equal(Lanes::load(text + at), first),
                                    Lanes::equal(Lanes::load(text + at + probe), second)));
        if (candidates == 0)
            continue;
        do {
            const int lane = Order::template lane<Lanes>(candidates);
            const int place = at + lane;
            candidates = without<Lanes>(candidates, lane);
            if (place < matches.next)
                continue;
            const int matched = matchAt<Lanes>(text + place, pattern, m);
            if (matched < m)
                wrong.add(matched);
            else if (matches.take(place))
                return place;
        } while (candidates != 0);
        if constexpr (std::is_same_v<Order, Forward>) {
            if (wrong.tooMany(at))
                return findInRest<Lanes>(text, n, pattern, m, at + Lanes::width, matches);
        } else {
            if (wrong.tooMany(places - at))
                return twoWaySearchReverse(text, at + m - 1, pattern, m);
        }
    }
    return -1;
}

template <class Lanes>
int findUnits(const unsigned short *text, int n, const unsigned short *pattern, int m) noexcept
{
    if (m < 1)
        return 0;
    FirstMatch match;
    return m == 1 ? findUnit<Lanes>(text, n, *pattern)
                  : findPattern<Lanes, Forward>(text, n, pattern, m, match);
}

template <class Lanes>
int findUnitsReverse(const unsigned short *text, int n, const unsigned short *pattern,
                     int m) noexcept
{
    if (m < 1)
        return std::max(n, 0);
    FirstMatch match;
    return m == 1 ? findUnit<Lanes, Backward>(text, n, *pattern)
                  : findPattern<Lanes, Backward>(text, n, pattern, m, match);
}

template <class Lanes>
int findAllUnits(const unsigned short *text, int n, const unsigned short *pattern, int m,
                 int *positions, int room) noexcept
{
    if (m < 1 || room < 1)
        return 0;
    AllMatches matches{positions, room, m};
    findPattern<Lanes, Forward>(text, n, pattern, m, matches);
    return matches.count;
}

// --- Sets ----------------------------------------------------------------------------------------

// The greatest set that is compared with lane by lane.
inline constexpr int smallSet = 8;

// Asks a greater set only about units whose low byte occurs in it.
template <class Lanes>
int findAnyOfMany(const unsigned short *text, int n, const unsigned short *set, int m) noexcept
{
    std::uint64_t lowBytes[4] = {};
    for (int member = 0; member < m; ++member)
        lowBytes[(set[member] & 0xFF) / 64] |= std::uint64_t{1} << (set[member] % 64);
    for (int at = 0; at < n; ++at) {
        const unsigned short unit = text[at];
        const bool mayOccur = (lowBytes[(unit & 0xFF) / 64] >> (unit % 64) & 1) != 0;
        if (mayOccur && findUnit<Lanes>(set, m, unit) >= 0)
            return at;
    }
    return -1;
}

// A set of two to smallSet units.
template <class Lanes>
int findAnyOfFew(const unsigned short *text, int n, const unsigned short *set, int m) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            for (int at = 0; at < n; ++at) {
                if (findUnit<Lanes>(set, m, text[at]) >= 0)
                    return at;
            }
            return -1;
        } else {
            return findAnyOfFew<Shorter<Lanes>>(text, n, set, m);
        }
    }
    Vector<Lanes> wanted[smallSet];
    for (int member = 0; member < m; ++member)
        wanted[member] = Lanes::fill(set[member]);
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Vector<Lanes> units = Lanes::load(text + at);
        Vector<Lanes> found = Lanes::equal(units, wanted[0]);
        for (int member = 1; member < m; ++member)
            found = Lanes::either(found, Lanes::equal(units, wanted[member]));
        const Mask hits = Lanes::mask(found);
        if (hits != 0)
            return at + firstLane<Lanes>(hits);
    }
    return -1;
}

template <class Lanes>
int findAnyUnit(const unsigned short *text, int n, const unsigned short *set, int m) noexcept
{
    if (m < 1)
        return -1;
    if (m == 1)
        return findUnit<Lanes>(text, n, *set);
    return m <= smallSet ? findAnyOfFew<Lanes>(text, n, set, m)
                         : findAnyOfMany<Lanes>(text, n, set, m);
}

} // namespace Tavrin::detail::kernels
