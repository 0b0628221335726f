// SPDX-License-Identifier: MIT
// One record per set of sharing arrays: a head of 24 bytes, then the slots.
//
// Invariants: 0 <= length <= capacity, increment >= 1. A pinned record is referred to by one array.
// The record of empty arrays says that it is shared and is never written or counted, so it needs no
// start and no lock. Slots are plain values: moving them is memmove, and growth is a resize of the
// block. Capacities are multiples of the increment and grow by no more than what is needed, because
// callers choose the increment for that.
// Pinned by tests/containers/SimpleArrayTest.cpp.
#include <tavrin/SimpleArray.h>

#include <algorithm>
#include <limits>
#include <new>

#include "runtime/BlockCache.h"

namespace Tavrin {

namespace {

constexpr int defaultIncrement = 8;
constexpr std::int64_t mostSlots = std::numeric_limits<int>::max();

std::size_t recordBytes(int capacity)
{
    return sizeof(SimpleArrayData) + sizeof(std::int64_t) * static_cast<unsigned>(capacity);
}

int roundUp(int count, int increment)
{
    const std::int64_t granules = (std::int64_t{count} - 1 + increment) / increment;
    const std::int64_t capacity = granules * increment;
    if (capacity > mostSlots)
        detail::throwOutOfMemory();
    return static_cast<int>(capacity);
}

// A record of one reference with `like`'s increment and the first `copied` of its slots.
SimpleArrayData *makeRecord(const SimpleArrayData &like, unsigned capacityWord, int copied)
{
    const int capacity = static_cast<int>(capacityWord & ~SimpleArrayData::pinnedBit);
    void *storage = Heap::operator new(recordBytes(capacity));
    auto *record = ::new (storage) SimpleArrayData{1, copied, capacityWord, like.increment, 0};
    std::copy_n(like.items(), copied, record->items());
    return record;
}

} // namespace

namespace detail {

constinit const SimpleArrayData emptyArrayData{2, 0, 0, defaultIncrement, 0};

} // namespace detail

int SimpleArray::indexOf(std::int64_t value) const
{
    const std::int64_t *found = std::find(begin(), end(), value);
    return found == end() ? -1 : static_cast<int>(found - begin());
}

void SimpleArray::forEach(void (*fn)(int index, std::int64_t *slot, std::int64_t arg),
                          std::int64_t arg) const
{
    // The record is read afresh each round: `fn` may have replaced it.
    for (int index = 0; index < data->length; ++index) {
        std::int64_t *slot = data->items() + index;
        if (*slot != 0)
            fn(index, slot, arg);
    }
}

SimpleArray SimpleArray::copy(int start, int count) const
{
    start = std::clamp(start, 0, length());
    const int available = length() - start;
    if (count < 0 || count > available)
        count = available;
    SimpleArray result;
    result.setSize(count);
    std::copy_n(data->items() + start, count, result.data->items());
    return result;
}

void SimpleArray::append(const SimpleArray &other)
{
    const int oldLength = length();
    const int added = other.length();
    setLength(std::int64_t{oldLength} + added);
    // Read only now: when an array is appended to itself, its slots may have moved.
    std::copy_n(other.data->items(), added, data->items() + oldLength);
}

void SimpleArray::merge(const SimpleArray &other, bool withNull)
{
    for (int index = 0; index < other.length(); ++index) {
        const std::int64_t value = other.data->items()[index];
        if ((value != 0 || withNull) && indexOf(value) < 0)
            append(value);
    }
}

void SimpleArray::insert(std::int64_t value, int pos)
{
    const int oldLength = length();
    pos = std::clamp(pos, 0, oldLength);
    growByOne();
    moveSlots(pos + 1, pos, oldLength - pos);
    data->items()[pos] = value;
}

void SimpleArray::insertGap(int pos, int count)
{
    if (count <= 0)
        return;
    const int oldLength = length();
    pos = std::clamp(pos, 0, oldLength);
    setLength(std::int64_t{oldLength} + count);
    moveSlots(pos + count, pos, oldLength - pos);
    std::fill_n(data->items() + pos, count, 0);
}

void SimpleArray::remove(std::int64_t value)
{
    const int index = indexOf(value);
    if (index >= 0)
        removeAt(index);
}

std::int64_t SimpleArray::removeAt(int index)
{
    const int oldLength = length();
    index = std::clamp(index, 0, oldLength);
    // D-061: at the end there is no item to give, and the last one goes all the same.
    const std::int64_t removed = std::as_const(*this)[index];
    if (oldLength <= 1) {
        if (oldLength == 1)
            erase();
        return removed;
    }
    unique();
    data->length = oldLength - 1;
    if (index < data->length)
        moveSlots(index, index + 1, data->length - index);
    return removed;
}

void SimpleArray::removeGap(int pos, int count)
{
    const int oldLength = length();
    pos = std::clamp(pos, 0, oldLength);
    count = std::min(count, oldLength - pos);
    if (count <= 0)
        return;
    unique();
    moveSlots(pos, pos + count, oldLength - pos - count);
    setLength(oldLength - count);
}

void SimpleArray::setSize(int count)
{
    setLength(count);
}

void SimpleArray::setIncrement(int granule)
{
    unique();
    data->increment = std::max(granule, 1);
}

void SimpleArray::clear()
{
    if (length() == 0)
        return;
    unique();
    data->length = 0;
    std::fill_n(data->items(), data->capacity(), 0);
}

void SimpleArray::makeUnique()
{
    if (data->isPinned())
        return;
    unique();
    data->capacityWord |= SimpleArrayData::pinnedBit;
}

void SimpleArray::unshare()
{
    dropRecord(std::exchange(data, clone(data)));
}

SimpleArrayData *SimpleArray::clone(const SimpleArrayData *record)
{
    return makeRecord(*record, record->capacityWord, record->length);
}

void SimpleArray::appendSlowly(std::int64_t value)
{
    growByOne();
    data->items()[data->length - 1] = value;
}

// Within the capacity, the capacity stays; setLength would fit it to the length.
void SimpleArray::growByOne()
{
    if (data->length < data->capacity()) {
        unique();
        ++data->length;
    } else {
        setLength(std::int64_t{data->length} + 1);
    }
}

void SimpleArray::setLength(std::int64_t count)
{
    if (count <= 0) {
        erase();
        return;
    }
    if (count > mostSlots)
        detail::throwOutOfMemory();
    const int oldLength = data->length;
    const int newLength = static_cast<int>(count);
    if (newLength == oldLength)
        return;
    const int capacity = roundUp(newLength, data->increment);
    if (capacity == data->capacity())
        unique();
    else
        changeCapacity(capacity);
    if (newLength > oldLength)
        std::fill_n(data->items() + oldLength, newLength - oldLength, 0);
    data->length = newLength;
}

void SimpleArray::changeCapacity(int capacity)
{
    const auto word = static_cast<unsigned>(capacity);
    if (data->isShared()) {
        SimpleArrayData *own = makeRecord(*data, word, std::min(data->length, capacity));
        dropRecord(std::exchange(data, own));
        return;
    }
    try {
        const unsigned pinned = data->capacityWord & SimpleArrayData::pinnedBit;
        data = static_cast<SimpleArrayData *>(detail::resizeBlock(data, recordBytes(capacity)));
        data->capacityWord = word | pinned;
    } catch (const std::bad_alloc &) {
        // A smaller block that cannot be had leaves the larger one in use.
        if (capacity > data->capacity())
            throw;
    }
}

void SimpleArray::moveSlots(int to, int from, int count)
{
    std::memmove(data->items() + to, data->items() + from, bytes(count));
}

} // namespace Tavrin
