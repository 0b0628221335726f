// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include <tavrin/SimpleArray.h>

// What the chained tables share about their buckets. The number of buckets is a power of two.
namespace Tavrin::detail {

inline constexpr int mostBuckets = 1 << 30;
// The load from which a table that gets one item more doubles its buckets, and that below which it
// halves them.
inline constexpr int growFromPercent = 51;
inline constexpr int shrinkBelowPercent = 30;

// Whether the load in whole per cent is at least `percent`, without a division.
inline bool isFilledTo(int percent, int count, int bucketCount)
{
    return std::int64_t{count} * 100 >= std::int64_t{bucketCount} * percent;
}

// Takes all items out of their chains, in walking order, and gives them to `link`, which may put
// them into the buckets again: a bucket that is still to come gets nothing when the buckets double
// or halve.
//
// Whether a bucket is empty cannot be foreseen, so that it is not asked: the first items of some
// buckets are gathered in front, and asked for from memory meanwhile.
template <class Item, class Link>
void moveChains(std::int64_t *buckets, int count, Link link)
{
    constexpr int atOnce = 64;
    Item *firsts[atOnce];
    for (int begin = 0; begin < count; begin += atOnce) {
        const int end = std::min(begin + atOnce, count);
        int found = 0;
        for (int bucket = begin; bucket < end; ++bucket) {
            Item *first = TSimpleArray<Item>::fromSlot(std::exchange(buckets[bucket], 0));
            __builtin_prefetch(first);
            firsts[found] = first;
            found += first != nullptr;
        }
        for (int chain = 0; chain < found; ++chain) {
            Item *item = firsts[chain];
            do {
                Item *const next = item->next;
                link(item);
                item = next;
            } while (item != nullptr);
        }
    }
}

} // namespace Tavrin::detail
