// SPDX-License-Identifier: MIT
// A chained hash table over a power of two of buckets.
//
// The order of walking is part of the interface, so everything that decides it is fixed: the bucket
// of a key, 32 buckets at first, doubling when the load in whole per cent is above 50 before a new
// key comes in, new and moved items at the front of their chains, the old table walked in order.
//
// Items are carved from slabs and recycled. How forEach stays safe while its callback changes the
// table is told in TableWalk.h.
// Pinned by tests/containers/SparseArrayTest.cpp.
#include <tavrin/SparseArray.h>

#include <limits>
#include <new>
#include <utility>

#include "containers/ChainedBuckets.h"
#include "containers/TableWalk.h"
#include "runtime/BlockCache.h"

namespace Tavrin {

using detail::growFromPercent;
using detail::isFilledTo;
using detail::mostBuckets;
using detail::shrinkBelowPercent;

namespace {

constexpr int firstBuckets = 32;

} // namespace

// The delegation makes the destructor run when memory runs out half-way.
SparseArray::SparseArray(const SparseArray &other) : SparseArray()
{
    *this += other;
}

SparseArray::SparseArray(SparseArray &&other) noexcept : SparseArray()
{
    Walk::endAll(other.walks);
    swap(other);
}

SparseArray::~SparseArray()
{
    Walk::endAll(walks);
}

SparseArray &SparseArray::operator=(const SparseArray &other)
{
    if (this != &other)
        *this = SparseArray(other);
    return *this;
}

SparseArray &SparseArray::operator=(SparseArray &&other) noexcept
{
    SparseArray taken(std::move(other));
    Walk::endAll(walks);
    swap(taken);
    return *this;
}

// Visits all items in walking order, until `visit` returns false.
template <class Visitor>
void SparseArray::visitAll(Visitor visit) const
{
    for (const std::int64_t slot : buckets)
        for (ArrayItem *item = Slots::fromSlot(slot); item != nullptr; item = item->next)
            if (!visit(*item))
                return;
}

bool SparseArray::operator==(const SparseArray &other) const
{
    if (buckets.length() != other.buckets.length())
        return false;
    for (int bucket = 0; bucket < buckets.length(); ++bucket) {
        const ArrayItem *left = firstOf(bucket);
        const ArrayItem *right = other.firstOf(bucket);
        for (; left != nullptr && right != nullptr; left = left->next, right = right->next)
            if (left->key != right->key || left->value != right->value)
                return false;
        if (left != right)
            return false;
    }
    return true;
}

SparseArray &SparseArray::operator+=(const SparseArray &other)
{
    other.visitAll([this](const ArrayItem &item) {
        set(item.key, item.value);
        return true;
    });
    return *this;
}

std::int64_t SparseArray::findKey(std::int64_t value) const
{
    std::int64_t key = -1;
    visitAll([&](const ArrayItem &item) {
        if (item.value != value)
            return true;
        key = item.key;
        return false;
    });
    return key;
}

void SparseArray::getData(SimpleArray &out) const
{
    SimpleArray values;
    visitAll([&](const ArrayItem &item) {
        if (item.value != 0 && values.indexOf(item.value) < 0)
            values.append(item.value);
        return true;
    });
    out = std::move(values);
}

void SparseArray::getKeys(SimpleArray &out) const
{
    out.setSize(count);
    if (count == 0)
        return;
    std::int64_t *slot = &out[0];
    std::int64_t *const end = slot + count;
    visitAll([&](const ArrayItem &item) {
        *slot++ = item.key;
        return true;
    });
    std::fill(slot, end, 0);
}

void SparseArray::set(std::int64_t key, std::int64_t value)
{
    if (ArrayItem *item = itemOf(key))
        item->value = value;
    else
        add(key, value);
}

// What can fail comes before what changes the table.
void SparseArray::add(std::int64_t key, std::int64_t value)
{
    if (count == std::numeric_limits<int>::max())
        detail::throwOutOfMemory();
    pool.reserve();
    if (buckets.length() == 0)
        buckets.setSize(firstBuckets);
    else if (needsGrowth())
        rehash(2 * buckets.length());
    std::int64_t &first = buckets[bucketOf(key, buckets.length())];
    auto *item = ::new (pool.take()) ArrayItem{Slots::fromSlot(first), key, value};
    first = Slots::toSlot(item);
    ++count;
}

bool SparseArray::needsGrowth() const
{
    return walks == nullptr && buckets.length() < mostBuckets &&
           isFilledTo(growFromPercent, count, buckets.length());
}

// In place: halving and doubling send the items of a bucket to buckets that are either the same one
// or not visited any more.
void SparseArray::rehash(int bucketCount)
{
    const int oldCount = buckets.length();
    if (bucketCount > oldCount)
        buckets.setSize(bucketCount);
    std::int64_t *firsts = &buckets[0];
    detail::moveChains<ArrayItem>(firsts, oldCount, [=](ArrayItem *item) {
        std::int64_t &first = firsts[bucketOf(item->key, bucketCount)];
        item->next = Slots::fromSlot(first);
        first = Slots::toSlot(item);
    });
    buckets.setSize(bucketCount);
}

std::int64_t SparseArray::remove(std::int64_t key)
{
    ArrayItem *item = itemOf(key);
    if (item == nullptr)
        return 0;
    const std::int64_t value = item->value;
    discard(item);
    --count;
    return value;
}

void SparseArray::removeData(std::int64_t value)
{
    SimpleArray keys;
    visitAll([&](const ArrayItem &item) {
        if (item.value == value)
            keys.append(item.key);
        return true;
    });
    for (const std::int64_t key : keys)
        remove(key);
}

void SparseArray::erase()
{
    Walk::endAll(walks);
    SparseArray emptied;
    swap(emptied);
}

void SparseArray::forEach(bool (*fn)(std::int64_t key, std::int64_t *value, std::int64_t arg),
                          std::int64_t arg)
{
    if (count == 0)
        return;
    Walk walk(walks);
    for (int bucket = 0; bucket < buckets.length(); ++bucket) {
        const bool goesOn = walk.visit(
            firstOf(bucket), [&](ArrayItem &item) { return fn(item.key, &item.value, arg); },
            // D-064: the item goes, and `count` stays as it is.
            [&](ArrayItem *item) { discard(item); });
        if (!goesOn)
            return;
    }
}

// Takes an item out of its chain and recycles it.
void SparseArray::discard(ArrayItem *item)
{
    Walk::leave(walks, item);
    std::int64_t &first = buckets[bucketOf(item->key, buckets.length())];
    if (Slots::fromSlot(first) == item) {
        first = Slots::toSlot(item->next);
    } else {
        ArrayItem *before = Slots::fromSlot(first);
        while (before->next != item)
            before = before->next;
        before->next = item->next;
    }
    pool.give(item);
}

void SparseArray::swap(SparseArray &other) noexcept
{
    std::swap(count, other.count);
    std::swap(buckets, other.buckets);
    pool.swap(other.pool);
}

ArrayItem *SparseArray::findItem(std::int64_t) const
{
    return nullptr;
}

void SparseArray::smartGrow() {}

void SparseArray::smartShrink()
{
    const int bucketCount = buckets.length();
    if (walks != nullptr || bucketCount == 0 || isFilledTo(shrinkBelowPercent, count, bucketCount))
        return;
    rehash(bucketCount < firstBuckets ? firstBuckets : bucketCount / 2);
}

} // namespace Tavrin
