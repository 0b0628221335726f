// SPDX-License-Identifier: MIT
// A script of operations on two SparseArrays beside ordered maps, with callbacks of forEach that
// change the array while it is walked.
#include <tavrin/SparseArray.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

using Model = std::map<std::int64_t, std::int64_t>;

// What a subclass can reach.
class OpenTable : public SparseArray
{
public:
    using SparseArray::smartGrow;
    using SparseArray::smartShrink;
};

struct Pair
{
    OpenTable table;
    Model model;
    int removedByWalks = 0; // length() still counts these

    int expectedLength() const { return static_cast<int>(model.size()) + removedByWalks; }
    void set(std::int64_t key, std::int64_t value)
    {
        table.set(key, value);
        model[key] = value;
    }
    void remove(std::int64_t key)
    {
        const auto item = model.find(key);
        const std::int64_t value = item == model.end() ? 0 : item->second;
        fuzz::require(table.remove(key) == value, "remove returns the value, or 0");
        model.erase(key);
    }
    void erase()
    {
        table.erase();
        model.clear();
        removedByWalks = 0;
    }
    void assign(const Pair &other)
    {
        if (this == &other)
            return;
        table = other.table;
        model = other.model;
        removedByWalks = 0;
    }
};

class Script
{
public:
    Script(const std::uint8_t *data, std::size_t size) : bytes(data, size) {}

    void run()
    {
        while (!bytes.isOver()) {
            Pair &pair = pairs[bytes.below(2)];
            step(pair);
            compare(pair);
        }
        for (Pair &pair : pairs)
            compare(pair);
    }

private:
    static constexpr int deepest = 3; // walks within walks
    static constexpr std::size_t largest = 200;

    // One forEach, with what has to be true of its visits.
    struct Walk
    {
        Script &script;
        Pair &pair;
        std::set<std::int64_t> seen;    // visited, and not removed since then
        std::set<std::int64_t> pending; // there from the start, and to be visited
        bool hasEnded = false;
        Walk *outer;
    };

    // Keys that meet in a bucket, and keys that look like addresses.
    std::int64_t key()
    {
        const std::int64_t low = bytes.below(64);
        switch (bytes.below(6)) {
        case 0:
            return low + (std::int64_t{1} << 32);
        case 1:
            return low * 32;
        case 2:
            return -low;
        case 3:
            return 0x7F00'1234'5008 + low * 48;
        default:
            return low;
        }
    }
    std::int64_t value() { return bytes.below(6); }

    void step(Pair &pair)
    {
        Pair &other = pairs[bytes.below(2)];
        switch (bytes.below(16)) {
        case 0:
            assign(pair, other);
            break;
        case 1:
            pair.table += other.table;
            for (const auto &[key, value] : Model(other.model))
                pair.model[key] = value;
            break;
        case 2:
            removeData(pair, value());
            break;
        case 3:
            erase(pair);
            break;
        case 4:
        case 5:
            walk(pair);
            break;
        case 6:
            pair.table.smartShrink();
            pair.table.smartGrow();
            break;
        case 7: {
            OpenTable moved(std::move(pair.table));
            endWalks(pair);
            pair.table = std::move(moved);
            break;
        }
        case 8: // many at once, so that the table grows
            for (std::int64_t added = bytes.below(64), first = key(); added >= 0; --added)
                pair.set(first + added, added);
            break;
        case 9:
        case 10:
        case 11:
            remove(pair, key());
            break;
        default: {
            const std::int64_t where = key();
            pair.set(where, value());
        }
        }
        if (pair.model.size() > largest)
            erase(pair);
    }

    void remove(Pair &pair, std::int64_t key)
    {
        pair.remove(key);
        forget(pair, key);
    }
    void removeData(Pair &pair, std::int64_t value)
    {
        pair.table.removeData(value);
        for (const auto &item : Model(pair.model)) {
            if (item.second != value)
                continue;
            pair.model.erase(item.first);
            forget(pair, item.first);
        }
    }
    void assign(Pair &pair, const Pair &other)
    {
        if (&pair != &other)
            endWalks(pair);
        pair.assign(other);
    }
    void erase(Pair &pair)
    {
        endWalks(pair);
        pair.erase();
    }
    // A removed key may come in again, and is then visited again or not.
    void forget(const Pair &pair, std::int64_t key)
    {
        for (Walk *walk = walks; walk != nullptr; walk = walk->outer) {
            if (&walk->pair != &pair)
                continue;
            walk->seen.erase(key);
            walk->pending.erase(key);
        }
    }
    void endWalks(const Pair &pair)
    {
        for (Walk *walk = walks; walk != nullptr; walk = walk->outer)
            walk->hasEnded |= &walk->pair == &pair;
    }

    void walk(Pair &pair)
    {
        if (depth == deepest)
            return;
        Walk walk{*this, pair, {}, {}, false, walks};
        for (const auto &item : pair.model)
            walk.pending.insert(item.first);
        walks = &walk;
        ++depth;
        pair.table.forEach(visit, reinterpret_cast<std::intptr_t>(&walk));
        --depth;
        walks = walk.outer;
        fuzz::require(walk.hasEnded || walk.pending.empty(), "a walk visits every item");
    }

    static bool visit(std::int64_t key, std::int64_t *value, std::int64_t arg)
    {
        Walk &walk = *reinterpret_cast<Walk *>(static_cast<std::intptr_t>(arg));
        return walk.script.visit(walk, key, *value);
    }
    bool visit(Walk &walk, std::int64_t key, std::int64_t &value)
    {
        Pair &pair = walk.pair;
        fuzz::require(!walk.hasEnded, "a walk ends with its table");
        fuzz::require(pair.model.count(key) == 1 && pair.model[key] == value,
                      "a walk visits what the table holds");
        fuzz::require(walk.seen.insert(key).second, "a walk visits an item once");
        walk.pending.erase(key);
        switch (bytes.below(6)) {
        case 0:
            step(pair);
            break;
        case 1:
            step(pairs[bytes.below(2)]);
            break;
        case 2:
            value = bytes.below(6);
            pair.model[key] = value;
            break;
        default:
            break;
        }
        if (bytes.below(4) != 3)
            return true;
        // The item may be gone by now, or the walk over, or the key may be a new item's.
        if (!walk.hasEnded && walk.seen.count(key) == 1) {
            pair.model.erase(key);
            ++pair.removedByWalks;
            forget(pair, key);
        }
        return false;
    }

    void compare(Pair &pair)
    {
        const SparseArray &table = pair.table;
        fuzz::require(table.length() == pair.expectedLength(), "length() counts the items");
        SimpleArray keys;
        table.getKeys(keys);
        const auto count = static_cast<std::ptrdiff_t>(pair.model.size());
        Model listed;
        for (auto key = keys.begin(); key != keys.begin() + count; ++key)
            listed[*key] = table.find(*key);
        fuzz::require(listed == pair.model, "getKeys lists the keys");
        fuzz::require(std::all_of(keys.begin() + count, keys.end(), [](auto key) { return !key; }),
                      "getKeys ends with zeros");
        compareValues(pair);
        const std::int64_t some = key();
        fuzz::require(table.hasKey(some) == (pair.model.count(some) == 1), "hasKey knows the keys");
        SparseArray copy(table);
        fuzz::require(copy.length() == count, "a copy counts afresh");
    }
    void compareValues(const Pair &pair)
    {
        SimpleArray data;
        pair.table.getData(data);
        std::set<std::int64_t> values;
        for (const auto &item : pair.model)
            if (item.second != 0)
                values.insert(item.second);
        fuzz::require(std::set<std::int64_t>(data.begin(), data.end()) == values &&
                          data.length() == static_cast<int>(values.size()),
                      "getData lists each value once");
        const std::int64_t wanted = value();
        const std::int64_t found = pair.table.findKey(wanted);
        const bool isThere = std::any_of(pair.model.begin(), pair.model.end(),
                                         [&](const auto &item) { return item.second == wanted; });
        fuzz::require(isThere ? pair.table.hasKey(found) && pair.table.find(found) == wanted
                              : found == -1,
                      "findKey finds a key of the value");
    }

    fuzz::ByteScript bytes;
    Pair pairs[2];
    Walk *walks = nullptr;
    int depth = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    Script(data, size).run();
    return 0;
}
