// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include <tavrin/UnicodeUtils.h>

namespace Tavrin::test {

// The plain form of a HashTable: buckets of lists, with the rules that decide the walking order
// written down one by one.
class ChainedNames
{
public:
    struct Item
    {
        std::u16string key;
        std::int64_t value;
        bool operator==(const Item &) const = default;
    };
    using Chain = std::list<Item>;

    int count = 0; // what length() reports; removal by a walk does not touch it
    std::vector<Chain> buckets;

    ChainedNames() = default;
    ChainedNames(const ChainedNames &other) { *this += other; }
    ChainedNames &operator=(const ChainedNames &other)
    {
        if (this == &other)
            return *this;
        erase();
        return *this += other;
    }
    ChainedNames &operator+=(const ChainedNames &other)
    {
        for (const Item &item : other.walk())
            set(item.key, item.value, false);
        return *this;
    }
    bool operator==(const ChainedNames &other) const { return buckets == other.buckets; }

    // All items in walking order.
    std::vector<Item> walk() const
    {
        std::vector<Item> items;
        for (const Chain &chain : buckets)
            items.insert(items.end(), chain.begin(), chain.end());
        return items;
    }

    const Item *find(const std::u16string &key, bool ignoreCase)
    {
        if (buckets.empty())
            return nullptr;
        Chain &chain = chainOf(key);
        const auto found = placeOf(chain, key, ignoreCase);
        return found == chain.end() ? nullptr : &*found;
    }
    void set(const std::u16string &key, std::int64_t value, bool ignoreCase)
    {
        if (!buckets.empty()) {
            Chain &chain = chainOf(key);
            const auto found = placeOf(chain, key, ignoreCase);
            if (found != chain.end()) {
                found->value = value;
                if (ignoreCase)
                    found->key = key;
                return;
            }
        }
        if (buckets.empty())
            buckets.resize(16);
        else if (loadInPercent() > 50)
            rehash(buckets.size() * 2);
        chainOf(key).push_front({key, value});
        ++count;
    }
    std::int64_t remove(const std::u16string &key, bool ignoreCase)
    {
        if (buckets.empty())
            return 0;
        Chain &chain = chainOf(key);
        const auto found = placeOf(chain, key, ignoreCase);
        if (found == chain.end())
            return 0;
        const std::int64_t value = found->value;
        chain.erase(found);
        --count;
        shrink();
        return value;
    }
    // Removes each of the items that have the value now.
    void removeData(std::int64_t value)
    {
        while (true) {
            Chain *chain = nullptr;
            Chain::iterator place;
            for (Chain &candidate : buckets) {
                place = std::find_if(candidate.begin(), candidate.end(),
                                     [&](const Item &item) { return item.value == value; });
                if (place != candidate.end()) {
                    chain = &candidate;
                    break;
                }
            }
            if (chain == nullptr)
                return;
            chain->erase(place);
            --count;
            shrink();
        }
    }
    // Removes, as a walk does, the items that `keeps` refuses.
    template <class Keeps>
    void filter(Keeps keeps)
    {
        if (count == 0)
            return;
        std::size_t removed = 0;
        for (Chain &chain : buckets)
            removed += chain.remove_if([&](const Item &item) { return !keeps(item); });
        if (removed != 0)
            shrink();
    }
    void erase()
    {
        buckets.clear();
        count = 0;
    }
    void shrink()
    {
        if (buckets.size() <= 16) {
            if (count == 0)
                buckets.clear();
        } else if (loadInPercent() < 30) {
            rehash(buckets.size() / 2);
        }
    }
    void rehash(std::size_t size)
    {
        std::vector<Chain> old(size);
        old.swap(buckets);
        for (const Chain &chain : old)
            for (const Item &item : chain)
                chainOf(item.key).push_front(item);
    }

    // The first five units in upper case, each counted twice as much as the one behind it.
    static unsigned hashOf(const std::u16string &key)
    {
        unsigned hash = 0;
        for (std::size_t at = 0; at < key.size() && at < 5 && key[at] != 0; ++at)
            hash = upper(key[at]) + 2 * hash;
        return hash;
    }
    static bool areAlike(const std::u16string &a, const std::u16string &b)
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](char16_t x, char16_t y) { return upper(x) == upper(y); });
    }

private:
    static unsigned short upper(char16_t unit) { return UnicodeUtils::towupper(unit); }
    std::int64_t loadInPercent() const
    {
        return std::int64_t{count} * 100 / static_cast<std::int64_t>(buckets.size());
    }
    Chain &chainOf(const std::u16string &key) { return buckets[hashOf(key) % buckets.size()]; }
    static Chain::iterator placeOf(Chain &chain, const std::u16string &key, bool ignoreCase)
    {
        return std::find_if(chain.begin(), chain.end(), [&](const Item &item) {
            return ignoreCase ? areAlike(item.key, key) : item.key == key;
        });
    }
};

} // namespace Tavrin::test
