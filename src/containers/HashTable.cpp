// SPDX-License-Identifier: MIT
// A chained hash table over a power of two of buckets.
//
// The order of walking is part of the interface, so everything that decides it is fixed: the hash
// of a key, 16 buckets at first, doubling when the load in whole per cent is above 50 before a new
// key comes in, halving when it is below 30 after a removal, new and moved items at the front of
// their chains, the old table walked in order.
//
// Once there are more than a few items, an index beside the chains finds a key by its whole name,
// see NameIndex.h; the chains, where keys that begin alike meet, are for walking only. Each item
// knows the one in front of it, so that a removal does not walk its chain either.
//
// Items are carved from slabs and recycled. How forEach stays safe while its callback changes the
// table is told in TableWalk.h.
// Pinned by tests/containers/HashTableTest.cpp.
#include <tavrin/HashTable.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "containers/ChainedBuckets.h"
#include "containers/NameIndex.h"
#include "containers/TableWalk.h"
#include "runtime/BlockCache.h"

namespace Tavrin {

using detail::growFromPercent;
using detail::isFilledTo;
using detail::mostBuckets;
using detail::shrinkBelowPercent;

namespace {

using Slots = TSimpleArray<HashItem>;

constexpr int firstBuckets = 16;
constexpr int mostHalvings = 26; // from mostBuckets down to firstBuckets

// A table that has no more items than this searches its chains: with 16 buckets that is the rule.
constexpr int mostWithoutIndex = 9;

bool matches(const String &key, const String &wanted, bool ignoreCase)
{
    return ignoreCase ? detail::areAlikeNames(key, wanted) : detail::areEqualNames(key, wanted);
}

int bucketOf(unsigned hash, int bucketCount)
{
    return static_cast<int>(hash & static_cast<unsigned>(bucketCount - 1));
}

// Links an item in at the front of a chain.
void linkInto(std::int64_t &first, HashItem *item)
{
    item->previous = nullptr;
    item->next = Slots::fromSlot(first);
    if (item->next != nullptr)
        item->next->previous = item;
    first = Slots::toSlot(item);
}

} // namespace

// The delegation makes the destructor run when memory runs out half-way.
HashTable::HashTable(const HashTable &other) : HashTable()
{
    *this += other;
}

HashTable::HashTable(HashTable &&other) noexcept : HashTable()
{
    Walk::endAll(other.walks);
    swap(other);
}

HashTable::~HashTable()
{
    Walk::endAll(walks);
    destroyItems();
}

HashTable &HashTable::operator=(const HashTable &other)
{
    if (this != &other)
        *this = HashTable(other);
    return *this;
}

HashTable &HashTable::operator=(HashTable &&other) noexcept
{
    HashTable taken(std::move(other));
    Walk::endAll(walks);
    swap(taken);
    return *this;
}

HashItem *HashTable::firstOf(int bucket) const
{
    return Slots::fromSlot(buckets.getData()[bucket]);
}

// Visits all items in walking order, until `visit` returns false.
template <class Visitor>
void HashTable::visitAll(Visitor visit) const
{
    for (const std::int64_t slot : buckets)
        for (HashItem *item = Slots::fromSlot(slot); item != nullptr; item = item->next)
            if (!visit(*item))
                return;
}

bool HashTable::operator==(const HashTable &other) const
{
    if (buckets.length() != other.buckets.length())
        return false;
    for (int bucket = 0; bucket < buckets.length(); ++bucket) {
        const HashItem *left = firstOf(bucket);
        const HashItem *right = other.firstOf(bucket);
        for (; left != nullptr && right != nullptr; left = left->next, right = right->next)
            if (left->value != right->value || left->key != right->key)
                return false;
        if (left != right)
            return false;
    }
    return true;
}

HashTable &HashTable::operator+=(const HashTable &other)
{
    other.visitAll([this](const HashItem &item) {
        set(item.key, item.value, false);
        return true;
    });
    return *this;
}

const String *HashTable::findKey(std::int64_t value) const
{
    const String *key = nullptr;
    visitAll([&](const HashItem &item) {
        if (item.value != value)
            return true;
        key = &item.key;
        return false;
    });
    return key;
}

void HashTable::getData(SimpleArray &out) const
{
    if (pool.size() == 0)
        return;
    const int oldLength = out.length();
    out.insertGap(oldLength, pool.size());
    std::int64_t *slot = &out[oldLength];
    visitAll([&](const HashItem &item) {
        *slot++ = item.value;
        return true;
    });
}

void HashTable::getKeys(TSimpleArray<const String> &out) const
{
    if (pool.size() == 0)
        return;
    SimpleArray &slots = out;
    const int oldLength = slots.length();
    slots.insertGap(oldLength, pool.size());
    std::int64_t *slot = &slots[oldLength];
    visitAll([&](const HashItem &item) {
        *slot++ = TSimpleArray<const String>::toSlot(&item.key);
        return true;
    });
}

// The common cases have no call in them, so that they need no frame.
HashItem *HashTable::findItem(const String &key, bool ignoreCase) const
{
    const std::size_t length = detail::lengthOf(key);
    if (index.isBuilt()) [[likely]] {
        detail::clearWideRegisters();
        if (detail::NameRun::fits(length)) [[likely]]
            return findAs<detail::NameRun>(key, length, ignoreCase);
        if (detail::ShortName::fits(length))
            return findAs<detail::ShortName>(key, length, ignoreCase);
    }
    return findAnyItem(key, ignoreCase);
}

// Of a name of ASCII units, decides the two common cases: it is missing, or the first candidate and
// there is no other key that differs from it only in case. The hash of a name with other units is
// wrong here, and whatever is found all the same is right.
template <class Form>
inline HashItem *HashTable::findAs(const String &key, std::size_t length, bool ignoreCase) const
{
    const detail::NamePlaces places(length);
    const Form name(key.wstr(), places);
    const unsigned nameHash = detail::nameHashOfAscii(name, length);
    const detail::NameGroup &home = index.homeOf(nameHash);
    const unsigned found = home.matches(detail::NameGroup::tagOf(nameHash));
    if (found != 0) [[likely]] {
        HashItem *item = home.items[detail::NameGroup::lowestOf(found)];
        if (detail::lengthOf(item->key) == length && Form(item->key.wstr(), places) == name &&
            item->variant == item) [[likely]]
            return item;
    } else if (!home.sendsOn() && name.isAscii()) [[likely]] {
        return nullptr;
    }
    return findAnyItem(key, ignoreCase);
}

HashItem *HashTable::findAnyItem(const String &key, bool ignoreCase) const
{
    if (!index.isBuilt())
        return findInChain(key, ignoreCase);
    return index.find(key, detail::nameHashOf(key), ignoreCase);
}

HashItem *HashTable::findInChain(const String &key, bool ignoreCase) const
{
    if (buckets.length() == 0)
        return nullptr;
    HashItem *item = firstOf(bucketOf(detail::chainHashOf(key), buckets.length()));
    while (item != nullptr && !matches(item->key, key, ignoreCase))
        item = item->next;
    return item;
}

const String &HashTable::set(const String &key, std::int64_t value, bool ignoreCase)
{
    const unsigned nameHash = detail::nameHashOf(key);
    HashItem *item = nullptr;
    bool isAlone = false;
    if (index.isBuilt()) {
        HashItem *last = index.findLast(key, nameHash);
        item = detail::NameIndex::choose(last, key, ignoreCase);
        isAlone = last == nullptr;
    } else {
        item = findInChain(key, ignoreCase);
    }
    if (item == nullptr)
        return add(key, nameHash, value, isAlone).key;
    // D-121: the last spelling stays.
    if (ignoreCase)
        item->key = key;
    item->value = value;
    return item->key;
}

// `isAlone` if it is known that no key differs only in case. What can fail comes before what
// changes the table.
HashItem &HashTable::add(const String &key, unsigned nameHash, std::int64_t value, bool isAlone)
{
    if (count == std::numeric_limits<int>::max())
        detail::throwOutOfMemory();
    String copy = key;
    pool.reserve();
    growIndex();
    smartGrow();
    const unsigned hash = detail::chainHashOf(copy);
    auto *item = ::new (pool.take())
        HashItem{std::move(copy), nullptr, hash, nameHash, value, nullptr, nullptr};
    linkInto(buckets[bucketOf(hash, buckets.length())], item);
    if (isAlone)
        index.addAlone(item);
    else if (index.isBuilt())
        index.add(item);
    ++count;
    return *item;
}

void HashTable::smartGrow()
{
    const int bucketCount = buckets.length();
    if (bucketCount == 0) {
        buckets.setSize(firstBuckets);
    } else if (walks == nullptr && bucketCount < mostBuckets &&
               isFilledTo(growFromPercent, count, bucketCount)) {
        rehash(2 * bucketCount);
    }
}

// Makes room in the index for one item more, once there are so many that it is worth it.
void HashTable::growIndex()
{
    const bool isNew = !index.isBuilt();
    if (isNew ? pool.size() < mostWithoutIndex : index.takesOneMore())
        return;
    index.grow();
    if (!isNew)
        return;
    // Keys that differ only in case are added in the opposite of their walking order.
    for (const std::int64_t slot : buckets) {
        HashItem *item = Slots::fromSlot(slot);
        while (item != nullptr && item->next != nullptr)
            item = item->next;
        for (; item != nullptr; item = item->previous)
            index.add(item);
    }
}

void HashTable::smartShrink() noexcept
{
    owedShrinks = std::min(owedShrinks + 1, mostHalvings);
    settle();
}

// Halves the buckets as often as is owed, unless a walk is under way.
void HashTable::settle() noexcept
{
    if (walks != nullptr)
        return;
    int owed = std::exchange(owedShrinks, 0);
    while (owed > 0 && shrink())
        --owed;
}

// False when the number of buckets is right.
bool HashTable::shrink() noexcept
{
    const int bucketCount = buckets.length();
    if (bucketCount <= firstBuckets) {
        if (count == 0)
            buckets.erase();
        return false;
    }
    if (isFilledTo(shrinkBelowPercent, count, bucketCount))
        return false;
    rehash(bucketCount / 2);
    if (pool.size() <= mostWithoutIndex)
        detail::NameIndex().swap(index);
    else
        index.shrink();
    return true;
}

// In place: halving and doubling send the items of a bucket to buckets that are either the same one
// or not visited any more.
void HashTable::rehash(int bucketCount)
{
    const int oldCount = buckets.length();
    if (bucketCount > oldCount)
        buckets.setSize(bucketCount);
    std::int64_t *firsts = &buckets[0];
    detail::moveChains<HashItem>(firsts, oldCount, [=](HashItem *item) {
        linkInto(firsts[bucketOf(item->hash, bucketCount)], item);
    });
    buckets.setSize(bucketCount);
    // Items that stay together change their order, and keys that differ only in case stay so.
    index.reverseVariants();
}

std::int64_t HashTable::remove(const String &key, bool ignoreCase)
{
    HashItem *item = findItem(key, ignoreCase);
    if (item == nullptr)
        return 0;
    const std::int64_t value = item->value;
    removeItem(item);
    return value;
}

void HashTable::removeItem(HashItem *item) noexcept
{
    discard(item);
    --count;
    smartShrink();
}

void HashTable::removeData(std::int64_t value)
{
    int matching = 0;
    visitAll([&](const HashItem &item) {
        matching += item.value == value;
        return true;
    });
    if (matching == 0)
        return;
    SimpleArray items;
    items.setSize(matching);
    std::int64_t *slot = &items[0];
    visitAll([&](const HashItem &item) {
        if (item.value == value)
            *slot++ = Slots::toSlot(&item);
        return true;
    });
    for (const std::int64_t item : items)
        removeItem(Slots::fromSlot(item));
}

void HashTable::erase()
{
    Walk::endAll(walks);
    HashTable emptied;
    swap(emptied);
}

void HashTable::forEach(bool (*fn)(const String &key, std::int64_t *value, std::int64_t arg),
                        std::int64_t arg)
{
    if (count == 0)
        return;
    bool hasRemoved = false;
    {
        Walk walk(walks);
        for (int bucket = 0; bucket < buckets.length(); ++bucket) {
            const bool goesOn = walk.visit(
                firstOf(bucket), [&](HashItem &item) { return fn(item.key, &item.value, arg); },
                [&](HashItem *item) {
                    // D-064: the item goes, and `count` stays as it is.
                    discard(item);
                    hasRemoved = true;
                });
            if (!goesOn)
                return;
        }
    }
    if (hasRemoved)
        smartShrink();
    else
        settle();
}

// Takes an item out of its chain and recycles it.
void HashTable::discard(HashItem *item) noexcept
{
    Walk::leave(walks, item);
    if (item->next != nullptr)
        item->next->previous = item->previous;
    if (item->previous != nullptr)
        item->previous->next = item->next;
    else
        buckets[bucketOf(item->hash, buckets.length())] = Slots::toSlot(item->next);
    if (index.isBuilt())
        index.remove(item);
    item->~HashItem();
    pool.give(item);
}

// In the order in which the items were made, if that is known: their keys were often made so, too.
void HashTable::destroyItems() noexcept
{
    if (pool.isContiguous()) {
        pool.visitAll([](HashItem &item) { item.~HashItem(); });
        return;
    }
    for (const std::int64_t slot : buckets) {
        HashItem *next = nullptr;
        for (HashItem *item = Slots::fromSlot(slot); item != nullptr; item = next) {
            next = item->next;
            item->~HashItem();
        }
    }
}

void HashTable::swap(HashTable &other) noexcept
{
    std::swap(count, other.count);
    std::swap(owedShrinks, other.owedShrinks);
    std::swap(buckets, other.buckets);
    index.swap(other.index);
    pool.swap(other.pool);
}

} // namespace Tavrin
