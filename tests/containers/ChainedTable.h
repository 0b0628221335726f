// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <list>
#include <utility>
#include <vector>

namespace Tavrin::test {

// The plain form of a SparseArray: buckets of lists, with the rules that decide the walking order
// written down one by one.
class ChainedTable
{
public:
    using Item = std::pair<std::int64_t, std::int64_t>; // key, value
    using Chain = std::list<Item>;

    int count = 0; // what length() reports; removal by a walk does not touch it
    std::vector<Chain> buckets;

    ChainedTable() = default;
    ChainedTable(const ChainedTable &other) { *this += other; }
    ChainedTable &operator=(const ChainedTable &other)
    {
        if (this == &other)
            return *this;
        erase();
        return *this += other;
    }
    ChainedTable &operator+=(const ChainedTable &other)
    {
        for (const Item &item : other.walk())
            set(item.first, item.second);
        return *this;
    }
    bool operator==(const ChainedTable &other) const { return buckets == other.buckets; }

    // All items in walking order.
    std::vector<Item> walk() const
    {
        std::vector<Item> items;
        for (const Chain &chain : buckets)
            items.insert(items.end(), chain.begin(), chain.end());
        return items;
    }

    void set(std::int64_t key, std::int64_t value)
    {
        if (buckets.empty())
            buckets.resize(32);
        for (Item &item : chainOf(key)) {
            if (item.first == key) {
                item.second = value;
                return;
            }
        }
        const auto size = static_cast<std::int64_t>(buckets.size());
        if (std::int64_t{count} * 100 / size > 50)
            rehash(buckets.size() * 2);
        chainOf(key).emplace_front(key, value);
        ++count;
    }
    std::int64_t remove(std::int64_t key)
    {
        if (buckets.empty())
            return 0;
        Chain &chain = chainOf(key);
        for (auto item = chain.begin(); item != chain.end(); ++item) {
            if (item->first == key) {
                const std::int64_t value = item->second;
                chain.erase(item);
                --count;
                return value;
            }
        }
        return 0;
    }
    void erase()
    {
        buckets.clear();
        count = 0;
    }
    void rehash(std::size_t size)
    {
        std::vector<Chain> old(size);
        old.swap(buckets);
        for (const Chain &chain : old)
            for (const Item &item : chain)
                chainOf(item.first).push_front(item);
    }

private:
    Chain &chainOf(std::int64_t key)
    {
        const auto low = static_cast<std::uint32_t>(key) & 0x7FFFFFFFu;
        return buckets[low % buckets.size()];
    }
};

} // namespace Tavrin::test
