// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <tavrin/Export.h>
#include <tavrin/ItemPool.h>
#include <tavrin/SimpleArray.h>

namespace Tavrin {

namespace detail {
template <class Item>
class TableWalk;
} // namespace detail

// ArrayItem: one key and its value, in the chain of a bucket.
struct ArrayItem
{
    ArrayItem *next;
    std::int64_t key;
    std::int64_t value;
};

// SparseArray: a hash table from 64-bit keys to 64-bit values.
// Owns:    its items; nothing that the values refer to.
// Threads: none of its own locks; reading from several threads at once is safe.
// Cost:    set, find and remove O(1) for keys that differ in their low bits; findKey, removeData,
//          comparison O(n); getData O(n * m) for m different values.
// Order:   walking visits the buckets from 0 up and each chain from its front. A new key goes to
//          the front of its chain. The bucket of a key is its low 31 bits modulo the number of
//          buckets, which is a power of two.
// Failure: a missing key answers 0, -1 or false. std::bad_alloc from Heap; the table is then as
//          before, and operator+= has set some of the keys. remove, erase and forEach never fail.
class TAVRIN_API SparseArray
{
public:
    SparseArray() = default;
    // D-066: a copy is made key by key in walking order, so its own walking order may differ.
    SparseArray(const SparseArray &other);
    SparseArray(SparseArray &&other) noexcept;
    ~SparseArray();
    SparseArray &operator=(const SparseArray &other);
    SparseArray &operator=(SparseArray &&other) noexcept;

    // D-065: whether both walk through the same keys and values in the same order, with the same
    // number of buckets. Tables that were filled in different orders may differ.
    bool operator==(const SparseArray &other) const;
    bool operator!=(const SparseArray &other) const { return !(*this == other); }

    // Sets each key of `other`, in its walking order.
    SparseArray &operator+=(const SparseArray &other);

    // The number of items. D-064: it still counts the items that forEach removed.
    int length() const { return count; }

    // The value of a key, or 0.
    std::int64_t find(std::int64_t key) const
    {
        const ArrayItem *item = itemOf(key);
        return item == nullptr ? 0 : item->value;
    }
    std::int64_t operator[](std::int64_t key) const { return find(key); }
    bool hasKey(std::int64_t key) const { return itemOf(key) != nullptr; }
    // The first key in walking order that has this value, or -1.
    std::int64_t findKey(std::int64_t value) const;
    // Replaces `out` by the values, each once and without 0, in walking order.
    void getData(SimpleArray &out) const;
    // Gives `out` length() slots: the keys in walking order, then zeros.
    void getKeys(SimpleArray &out) const;

    // Adds the key, or replaces its value.
    void set(std::int64_t key, std::int64_t value);
    // Removes the key and returns its value, or 0. The number of buckets stays.
    std::int64_t remove(std::int64_t key);
    // Removes all keys that have this value.
    void removeData(std::int64_t value);
    void erase();

    // Calls `fn` for each item in walking order, and removes those for which it returns false;
    // length() does not change by that. `fn` may write to the value. It may also change the table:
    // what it removes is not visited any more, what it adds is visited only in buckets that are
    // still to come, and erase or assignment ends the walk. D-069: no buckets are added meanwhile.
    void forEach(bool (*fn)(std::int64_t key, std::int64_t *value, std::int64_t arg),
                 std::int64_t arg);

protected:
    // D-068: for subclasses of earlier days. findItem always answers null, smartGrow does nothing,
    // and smartShrink halves the buckets of a table that is filled by less than 30 per cent.
    ArrayItem *findItem(std::int64_t key) const;
    void smartGrow();
    void smartShrink();

private:
    using Walk = detail::TableWalk<ArrayItem>;
    using Slots = TSimpleArray<ArrayItem>;

    static int bucketOf(std::int64_t key, int bucketCount)
    {
        return static_cast<int>(key & (bucketCount - 1));
    }

    ArrayItem *firstOf(int bucket) const { return Slots::fromSlot(buckets.getData()[bucket]); }
    ArrayItem *itemOf(std::int64_t key) const
    {
        const int bucketCount = buckets.length();
        if (bucketCount == 0)
            return nullptr;
        ArrayItem *item = firstOf(bucketOf(key, bucketCount));
        while (item != nullptr && item->key != key)
            item = item->next;
        return item;
    }

    template <class Visitor>
    void visitAll(Visitor visit) const;
    void add(std::int64_t key, std::int64_t value);
    bool needsGrowth() const;
    void rehash(int bucketCount);
    void discard(ArrayItem *item);
    void swap(SparseArray &other) noexcept;

    int count = 0;
    SimpleArray buckets; // each the first ArrayItem of a chain, or 0
    detail::ItemPool<ArrayItem> pool;
    Walk *walks = nullptr; // the calls of forEach that are under way, the innermost first
};

} // namespace Tavrin
