// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>

#include <tavrin/HashTable.h>

#include "containers/NameHash.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// How a HashTable finds an item by its whole key: open addressing over groups of seven items, each
// group one line of the processor's cache.
//
// An item belongs to the group that the low bits of its nameHash choose, or to the next one with
// room. A group has a tag of 8 bits per place, taken from the top of the nameHash, so
// that a search compares all seven in a few instructions on one word and touches hardly an item in
// vain. Beside the tags it counts the items that went on to a later group because it was full: a
// search ends at a group that counts none, and nothing has to mark removed places. A count that
// reaches its limit stays there until the index changes its size.
//
// Of keys that differ only in case, the index holds the one that is last in walking order; its
// `variant` is the first one, whose `variant` is the second, and so on.
namespace Tavrin::detail {

struct alignas(64) NameGroup
{
    static constexpr unsigned places = 7;
    static constexpr int mostOnAverage = 4;

    std::uint64_t tags = 0; // a byte for each place, 0 for an empty one; the top byte is the count
    HashItem *items[places] = {};

    static constexpr std::uint64_t ones = 0x0001'0101'0101'0101;
    static constexpr std::uint64_t tops = ones << 7;
    // An empty place never looks like one that holds a tag.
    static constexpr unsigned leastTag = 2;
    static constexpr unsigned countShift = 56;
    static constexpr std::uint64_t mostPassed = 255;

    static std::uint64_t tagOf(unsigned nameHash) { return nameHash >> 24 | leastTag; }

    // The places whose byte is 0, a bit each. The lowest one is right; above it there may be false
    // ones, whose byte is 1.
    static unsigned zeroPlaces(std::uint64_t bytes)
    {
        const std::uint64_t found = (bytes - ones) & ~bytes & tops;
        // Moves the top bit of each byte to its place.
        constexpr std::uint64_t gather = 0x0102'0408'1020'4000;
        return static_cast<unsigned>((found >> 7) * gather >> 56);
    }
    static unsigned lowestOf(unsigned found)
    {
        return static_cast<unsigned>(std::countr_zero(found));
    }

    bool isTaken(unsigned place) const { return (tags >> 8 * place & 0xFF) != 0; }
    // The places that may hold the tag, a bit each; the lowest one does.
    unsigned matches(std::uint64_t tag) const;
    bool hasRoom() const { return zeroPlaces(tags) != 0; }

    bool sendsOn() const { return tags >> countShift != 0; }
    void countPassed()
    {
        if (tags >> countShift != mostPassed)
            tags += std::uint64_t{1} << countShift;
    }
    void uncountPassed()
    {
        if (tags >> countShift != mostPassed)
            tags -= std::uint64_t{1} << countShift;
    }

    // Only while there is room.
    void put(std::uint64_t tag, HashItem *item)
    {
        const unsigned place = lowestOf(zeroPlaces(tags));
        tags |= tag << 8 * place;
        items[place] = item;
    }
    void clear(unsigned place) { tags &= ~(std::uint64_t{0xFF} << 8 * place); }
};
static_assert(sizeof(NameGroup) == 64, "a group is one line of the cache");

#if defined(__SSE2__)

inline unsigned NameGroup::matches(std::uint64_t tag) const
{
    const std::uint64_t everywhere = tag * ones;
    const __m128i wanted = _mm_cvtsi64_si128(static_cast<long long>(everywhere));
    const __m128i front = _mm_load_si128(reinterpret_cast<const __m128i *>(this));
    constexpr unsigned allPlaces = (1U << places) - 1;
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(front, wanted))) & allPlaces;
}

#else

inline unsigned NameGroup::matches(std::uint64_t tag) const
{
    return zeroPlaces(tags ^ tag * ones);
}

#endif

inline const NameGroup &NameIndex::homeOf(unsigned nameHash) const
{
    return groups[nameHash & mask];
}

} // namespace Tavrin::detail
