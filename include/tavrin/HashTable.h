// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <tavrin/Export.h>
#include <tavrin/ItemPool.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/String.h>

namespace Tavrin {

namespace detail {
struct NameGroup;
template <class Item>
class TableWalk;
} // namespace detail

// HashItem: one key and its value, in the chain of a bucket. A pointer to an item is a pointer to
// its key.
struct HashItem
{
    String key;
    HashItem *next;
    unsigned hash;     // of the first five units of the key, without regard to case
    unsigned nameHash; // of the whole key, without regard to case
    std::int64_t value;
    HashItem *previous; // null for the first of a chain
    HashItem *variant;  // the next key that differs only in case, in a circle; see NameIndex
};

namespace detail {

// NameIndex: finds an item by its whole key. Private to HashTable, which holds it by value.
// Owns:    its storage; the items are the table's.
// Cost:    O(1), and linear in the keys that differ from the one sought only in case.
// Failure: std::bad_alloc when it grows, and nothing has changed then. The other operations never
//          fail.
class NameIndex
{
public:
    NameIndex() = default;
    NameIndex(const NameIndex &) = delete;
    NameIndex &operator=(const NameIndex &) = delete;
    ~NameIndex();

    // An index that has not been built takes nothing, and finding needs a built one.
    bool isBuilt() const { return groups != nullptr; }
    bool takesOneMore() const;
    void grow();
    void shrink() noexcept;
    void swap(NameIndex &other) noexcept;

    // Of the keys that differ from the name only in case, if at all, the last in walking order.
    HashItem *findLast(const String &name, unsigned nameHash) const;
    // Of those keys the first in walking order, or the one that is equal; null if there is none.
    static HashItem *choose(HashItem *last, const String &name, bool ignoreCase);
    HashItem *find(const String &name, unsigned nameHash, bool ignoreCase) const
    {
        return choose(findLast(name, nameHash), name, ignoreCase);
    }
    // Where an item with this hash is if there is room.
    const NameGroup &homeOf(unsigned nameHash) const;
    // Of the keys that differ only in case, the added one comes first in walking order.
    void add(HashItem *item) noexcept;
    // Only if there is no key that differs only in case.
    void addAlone(HashItem *item) noexcept;
    void remove(HashItem *item) noexcept;
    // Turns the walking order of keys that differ only in case around.
    void reverseVariants() noexcept;

private:
    struct Position
    {
        unsigned at; // of the group
        unsigned place;
    };

    std::optional<Position> locate(const String &name, unsigned nameHash) const;
    void place(HashItem *item) noexcept;
    void resize(unsigned groupCount);

    void *block = nullptr;
    NameGroup *groups = nullptr;
    unsigned mask = 0; // the number of groups is a power of two
    int entries = 0;
    int items = 0; // more than the entries if keys differ only in case
};

} // namespace detail

// HashTable: a hash table from String to 64-bit values, where each call says whether it tells upper
// from lower case.
// Owns:    its items and their keys; nothing that the values refer to.
// Threads: none of its own locks; reading from several threads at once is safe.
// Order:   walking visits the buckets from 0 up and each chain from its front. A new key goes to
//          the front of its chain. D-120: the bucket of a key depends on its first five units, in
//          upper case, and on the number of buckets: 16 times a power of two.
// Cost:    set, find and remove O(1), however many units the keys share; linear in the keys that
//          differ from the one sought only in case. findKey, removeData, comparison O(n).
// Failure: a missing key answers 0, null or false. std::bad_alloc from Heap; the table is then as
//          before, and operator+= has set some of the keys. Operations that only take away never
//          fail, but for removeData.
class TAVRIN_API HashTable
{
public:
    HashTable() = default;
    // D-066: a copy is made key by key in walking order, so its own walking order may differ.
    HashTable(const HashTable &other);
    HashTable(HashTable &&other) noexcept;
    ~HashTable();
    HashTable &operator=(const HashTable &other);
    HashTable &operator=(HashTable &&other) noexcept;

    // D-065: whether both walk through the same keys and values in the same order, with the same
    // number of buckets. Tables that were filled in different orders may differ.
    bool operator==(const HashTable &other) const;
    bool operator!=(const HashTable &other) const { return !(*this == other); }

    // Sets each key of `other` exactly, in its walking order.
    HashTable &operator+=(const HashTable &other);

    // The number of items. D-064: it still counts the items that forEach removed.
    int length() const { return count; }

    // The value of a key, or 0. Of keys that differ only in case the first in walking order counts.
    std::int64_t find(const String &key, bool ignoreCase) const
    {
        const HashItem *item = findItem(key, ignoreCase);
        return item == nullptr ? 0 : item->value;
    }
    std::int64_t operator[](const String &key) const { return find(key, false); }
    bool hasKey(const String &key, bool ignoreCase) const
    {
        return findItem(key, ignoreCase) != nullptr;
    }
    // The first key in walking order that has this value, or null. It stays in place until the item
    // goes.
    const String *findKey(std::int64_t value) const;
    // Append the values, or pointers to the keys, in walking order. A key stays in place until its
    // item goes.
    void getData(SimpleArray &out) const;
    void getKeys(TSimpleArray<const String> &out) const;

    // Adds the key, or replaces the value of the one that is found. D-121: without regard to case,
    // the key that is found takes on the new spelling. Returns the key in the table.
    const String &set(const String &key, std::int64_t value, bool ignoreCase);
    // Removes the key and returns its value, or 0. Where less than 30 per cent of the buckets are
    // needed, their number halves.
    std::int64_t remove(const String &key, bool ignoreCase);
    // Removes all items that have this value.
    void removeData(std::int64_t value);
    void erase();

    // Calls `fn` for each item in walking order, and removes those for which it returns false;
    // length() does not change by that. `fn` may write to the value. It may also change the table:
    // what it removes is not visited any more, what it adds is visited only in buckets that are
    // still to come, and erase or assignment ends the walk. D-069: the number of buckets stays
    // meanwhile.
    void forEach(bool (*fn)(const String &key, std::int64_t *value, std::int64_t arg),
                 std::int64_t arg);

protected:
    HashItem *findItem(const String &key, bool ignoreCase) const;
    // Make the buckets ready for one item more, and for the present number of items.
    void smartGrow();
    void smartShrink() noexcept;

private:
    using Walk = detail::TableWalk<HashItem>;

    HashItem *firstOf(int bucket) const;
    template <class Visitor>
    void visitAll(Visitor visit) const;
    template <class Form>
    HashItem *findAs(const String &key, std::size_t length, bool ignoreCase) const;
    HashItem *findInChain(const String &key, bool ignoreCase) const;
    [[gnu::noinline]] HashItem *findAnyItem(const String &key, bool ignoreCase) const;
    HashItem &add(const String &key, unsigned nameHash, std::int64_t value, bool isAlone);
    void growIndex();
    void rehash(int bucketCount);
    bool shrink() noexcept;
    void settle() noexcept;
    void discard(HashItem *item) noexcept;
    void removeItem(HashItem *item) noexcept;
    void destroyItems() noexcept;
    void swap(HashTable &other) noexcept;

    int count = 0;
    int owedShrinks = 0;     // the calls of smartShrink that wait for the end of a walk
    SimpleArray buckets;     // each the first HashItem of a chain, or 0
    detail::NameIndex index; // not built while there are few items
    detail::ItemPool<HashItem> pool;
    Walk *walks = nullptr; // the calls of forEach that are under way, the innermost first
};

// THashTable: a HashTable whose values are read as T *. It does not own what they point to. What is
// not redeclared here is HashTable's.
template <class T>
class THashTable : public HashTable
{
public:
    T *find(const String &key, bool ignoreCase) const
    {
        return fromValue(HashTable::find(key, ignoreCase));
    }
    T *operator[](const String &key) const { return find(key, false); }
    const String *findKey(const T *pointer) const { return HashTable::findKey(toValue(pointer)); }
    void getData(TSimpleArray<T> &out) const { HashTable::getData(out); }

    const String &set(const String &key, T *pointer, bool ignoreCase)
    {
        return HashTable::set(key, toValue(pointer), ignoreCase);
    }
    T *remove(const String &key, bool ignoreCase)
    {
        return fromValue(HashTable::remove(key, ignoreCase));
    }
    void removeData(const T *pointer) { HashTable::removeData(toValue(pointer)); }

    THashTable &operator+=(const THashTable &other)
    {
        HashTable::operator+=(other);
        return *this;
    }

    // Between a pointer and the integer that stands for it as a value.
    static std::int64_t toValue(const T *pointer) { return TSimpleArray<T>::toSlot(pointer); }
    static T *fromValue(std::int64_t value) { return TSimpleArray<T>::fromSlot(value); }
};

} // namespace Tavrin
