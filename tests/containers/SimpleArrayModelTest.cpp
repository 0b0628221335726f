// SPDX-License-Identifier: MIT
// SimpleArray against a plain model: random operations on a few arrays that share records with each
// other, compared after each step.
#include <tavrin/SimpleArray.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"

using namespace Tavrin;

namespace {

using SimpleArrayModelTest = test::LibraryTest;

// What an array is, without any cleverness. No record is the empty one.
class Model
{
public:
    Model() = default;
    Model(const Model &other) : record(other.record) { unshareIfPinned(); }
    Model &operator=(const Model &other)
    {
        record = other.record;
        unshareIfPinned();
        return *this;
    }

    std::vector<std::int64_t> items() const
    {
        return record == nullptr ? std::vector<std::int64_t>() : record->items;
    }
    int length() const { return static_cast<int>(items().size()); }
    int increment() const { return record == nullptr ? 8 : record->increment; }

    std::int64_t &at(int index)
    {
        own();
        return index >= 0 && index < length() ? record->items[static_cast<unsigned>(index)]
                                              : record->fallback;
    }
    void setSize(int size)
    {
        if (size <= 0) {
            record.reset();
        } else if (size != length()) {
            own();
            record->items.resize(static_cast<unsigned>(size));
        }
    }
    void insert(int position, int count, std::int64_t value)
    {
        own();
        position = std::clamp(position, 0, length());
        record->items.insert(record->items.begin() + position, static_cast<unsigned>(count), value);
    }
    void append(const Model &other)
    {
        const std::vector<std::int64_t> added = other.items();
        setSize(length() + other.length());
        if (!added.empty())
            std::copy(added.begin(), added.end(), record->items.end() - std::ssize(added));
    }
    std::int64_t removeAt(int index)
    {
        if (length() == 0)
            return 0;
        own();
        index = std::clamp(index, 0, length());
        const bool isItem = index < length();
        const std::int64_t value = isItem ? record->items[static_cast<unsigned>(index)] : 0;
        record->items.erase(record->items.begin() + (isItem ? index : index - 1));
        if (length() == 0)
            record.reset();
        return value;
    }
    void removeGap(int position, int count)
    {
        position = std::clamp(position, 0, length());
        count = std::min(count, length() - position);
        if (count <= 0)
            return;
        own();
        const auto first = record->items.begin() + position;
        record->items.erase(first, first + count);
        if (length() == 0)
            record.reset();
    }
    void merge(const Model &other, bool withNull)
    {
        for (std::int64_t value : other.items())
            if ((value != 0 || withNull) && indexOf(value) < 0)
                insert(length(), 1, value);
    }
    int indexOf(std::int64_t value) const
    {
        const std::vector<std::int64_t> all = items();
        const auto found = std::find(all.begin(), all.end(), value);
        return found == all.end() ? -1 : static_cast<int>(found - all.begin());
    }
    Model copy(int start, int count) const
    {
        start = std::clamp(start, 0, length());
        if (count < 0 || count > length() - start)
            count = length() - start;
        Model result;
        for (int index = start; index < start + count; ++index)
            result.insert(index, 1, record->items[static_cast<unsigned>(index)]);
        return result;
    }
    void clear()
    {
        if (length() == 0)
            return;
        own();
        record->items.clear();
    }
    void setIncrement(int increment)
    {
        own();
        record->increment = std::max(increment, 1);
    }
    void makeUnique()
    {
        own();
        record->isPinned = true;
    }
    void writeThrough(std::int64_t added)
    {
        if (record != nullptr)
            for (std::int64_t &item : record->items)
                item += item == 0 ? 0 : added;
    }

private:
    struct Record
    {
        std::vector<std::int64_t> items;
        std::int64_t fallback = 0;
        int increment = 8;
        bool isPinned = false;
    };

    void own()
    {
        if (record == nullptr) {
            record = std::make_shared<Record>();
        } else if (record.use_count() > 1) {
            record = std::make_shared<Record>(*record);
            record->fallback = 0;
        }
    }
    void unshareIfPinned()
    {
        if (record != nullptr && record->isPinned)
            own();
    }

    std::shared_ptr<Record> record;
};

struct Pair
{
    SimpleArray array;
    Model model;
};

class Random
{
public:
    explicit Random(unsigned seed) : engine(seed) {}
    int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(engine); }
    // A position around an array of this length, sometimes far off.
    int position(int length)
    {
        return upTo(19) == 0 ? upTo(1) * 2000000000 - 1000000000 : upTo(length + 2) - 1;
    }
    std::int64_t value() { return upTo(9); }

private:
    std::mt19937 engine;
};

// One random operation on both sides; returns its name.
const char *step(Pair &target, Pair &other, Random &random)
{
    SimpleArray &array = target.array;
    Model &model = target.model;
    const int position = random.position(array.length());
    const int count = random.upTo(12) - 1;
    const std::int64_t value = random.value();
    switch (random.upTo(22)) {
    case 0:
        array = other.array;
        model = other.model;
        return "assign";
    case 1:
        array = SimpleArray(other.array);
        model = other.model;
        return "assign a moved copy";
    case 2:
    case 3:
        array[position] = value;
        model.at(position) = value;
        return "write";
    case 4:
        EXPECT_EQ(array[position], model.at(position));
        return "writing access";
    case 5:
    case 6:
    case 7:
        array.append(value);
        model.insert(model.length(), 1, value);
        return "append";
    case 8:
        array.append(other.array);
        model.append(other.model);
        return "append array";
    case 9:
        array.insert(value, position);
        model.insert(position, 1, value);
        return "insert";
    case 10:
        array.insertGap(position, count);
        if (count > 0)
            model.insert(position, count, 0);
        return "insertGap";
    case 11:
        array.remove(value);
        if (model.indexOf(value) >= 0)
            model.removeAt(model.indexOf(value));
        return "remove";
    case 12:
        EXPECT_EQ(array.removeAt(position), model.removeAt(position));
        return "removeAt";
    case 13:
        array.removeGap(position, count);
        model.removeGap(position, count);
        return "removeGap";
    case 14:
        array.merge(other.array, value < 5);
        model.merge(other.model, value < 5);
        return "merge";
    case 15:
        array.setSize(array.length() + count - 5);
        model.setSize(model.length() + count - 5);
        return "setSize";
    case 16:
        if (array.length() > 60) {
            array.erase();
            model.setSize(0);
        }
        return "erase";
    case 17:
        array.clear();
        model.clear();
        return "clear";
    case 18:
        array.setIncrement(count);
        model.setIncrement(count);
        return "setIncrement";
    case 19:
        if (random.upTo(9) == 0) {
            array.makeUnique();
            model.makeUnique();
        }
        return "makeUnique";
    case 20:
        array = other.array.copy(position, count);
        model = other.model.copy(position, count);
        return "copy";
    case 21:
        array.forEach([](int, std::int64_t *slot, std::int64_t arg) { *slot += arg; }, value);
        model.writeThrough(value);
        return "forEach";
    default:
        array = SimpleArray();
        model = Model();
        return "assign empty";
    }
}

} // namespace

TEST_F(SimpleArrayModelTest, RandomOperationsGiveWhatThePlainModelGives)
{
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        std::array<Pair, 4> pairs;
        for (int round = 0; round < 500; ++round) {
            Pair &target = pairs[static_cast<unsigned>(random.upTo(3))];
            Pair &other = pairs[static_cast<unsigned>(random.upTo(3))];
            const std::string name = step(target, other, random);
            for (const Pair &pair : pairs) {
                ASSERT_EQ(test::valuesOf(pair.array), pair.model.items())
                    << name << " in round " << round << " of seed " << seed;
                ASSERT_EQ(pair.array.getIncrement(), pair.model.increment()) << name;
            }
        }
    }
}
