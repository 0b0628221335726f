// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/Lock.h>

namespace Tavrin {

// SimpleArrayData: the record that copies of a SimpleArray share, and ahead of its slots. Private
// to SimpleArray; it stands here for the inline operations.
struct SimpleArrayData
{
    static constexpr unsigned pinnedBit = 0x80000000u;

    int refCount;
    int length;
    unsigned capacityWord; // the slots behind the record; the top bit: may not stay shared
    int increment;         // allocation granule, at least 1
    std::int64_t fallback; // what writing access out of range lands on

    int capacity() const { return static_cast<int>(capacityWord & ~pinnedBit); }
    bool isPinned() const { return (capacityWord & pinnedBit) != 0; }
    bool holdsIndex(int index) const
    {
        return static_cast<unsigned>(index) < static_cast<unsigned>(length);
    }
    // Acquire: whoever finds itself alone writes where others have read.
    bool isShared() const { return __atomic_load_n(&refCount, __ATOMIC_ACQUIRE) > 1; }
    std::int64_t *items() { return reinterpret_cast<std::int64_t *>(this + 1); }
    const std::int64_t *items() const { return reinterpret_cast<const std::int64_t *>(this + 1); }
};
static_assert(sizeof(SimpleArrayData) == 24, "the slots begin right behind the record");

namespace detail {
// The record of every new or emptied array. It is never written, not even its count, and that count
// says "shared", so that every writer makes a record of its own first.
TAVRIN_API extern const SimpleArrayData emptyArrayData;
} // namespace detail

// SimpleArray: a shared, copy-on-write array of 64-bit slots whose indexing never fails.
// Owns:    nothing that its slots hold.
// Threads: copies may live on different threads after InitTerm::setMT; one object is one thread's.
// Cost:    copy O(1); append O(1) within the capacity; indexOf, insert and removeAt O(n);
//          merge O(n * m). D-067: the capacity grows by getIncrement() slots at a time, not by a
//          factor; callers that expect many slots set it.
// Units:   slots.
// Failure: bad positions are clamped or land on the spare slot. std::bad_alloc from Heap, also for
//          a length that an int does not hold; the array is then as before, and merge has appended
//          some of the values. Operations that only take away never fail on an unshared array.
class TAVRIN_API SimpleArray
{
public:
    SimpleArray() noexcept : data(emptyRecord()) {}
    SimpleArray(const SimpleArray &other) : data(newReference(other.data)) {}
    SimpleArray(SimpleArray &&other) noexcept : data(std::exchange(other.data, emptyRecord())) {}
    ~SimpleArray() { dropRecord(data); }

    SimpleArray &operator=(const SimpleArray &other)
    {
        if (data != other.data)
            dropRecord(std::exchange(data, newReference(other.data)));
        return *this;
    }
    SimpleArray &operator=(SimpleArray &&other) noexcept
    {
        dropRecord(std::exchange(data, std::exchange(other.data, emptyRecord())));
        return *this;
    }

    bool operator==(const SimpleArray &other) const
    {
        return data == other.data ||
               (data->length == other.data->length &&
                std::memcmp(data->items(), other.data->items(), bytes(data->length)) == 0);
    }
    bool operator!=(const SimpleArray &other) const { return !(*this == other); }

    int length() const { return data->length; }
    int getIncrement() const { return data->increment; }

    // The slot, or 0 when `index` is out of range.
    std::int64_t operator[](int index) const
    {
        return data->holdsIndex(index) ? data->items()[index] : 0;
    }
    // The slot, for writing. D-060: out of range it is the spare slot of the record, which keeps
    // what is written to it for the next such access; no item and not the length change.
    std::int64_t &operator[](int index)
    {
        unique();
        return data->holdsIndex(index) ? data->items()[index] : data->fallback;
    }

    // The slots in one block, until the next change of this array.
    const std::int64_t *getData() const { return data->items(); }
    const std::int64_t *begin() const { return data->items(); }
    const std::int64_t *end() const { return data->items() + data->length; }

    // The first position of `value`, or -1.
    int indexOf(std::int64_t value) const;
    // Calls `fn` for each slot that is not 0. `fn` may write to the slot, and may change the array;
    // D-063: it writes through to every array that shares the record.
    void forEach(void (*fn)(int index, std::int64_t *slot, std::int64_t arg),
                 std::int64_t arg) const;
    // A new array of the `count` slots from `start` on, cut at the end; a negative count means all
    // up to the end. It shares nothing, and has the default increment.
    SimpleArray copy(int start, int count) const;

    void append(std::int64_t value)
    {
        SimpleArrayData *record = data;
        if (record->length < record->capacity() && !record->isShared()) [[likely]]
            record->items()[record->length++] = value;
        else
            appendSlowly(value);
    }
    void append(const SimpleArray &other);
    SimpleArray &operator+=(std::int64_t value)
    {
        append(value);
        return *this;
    }
    SimpleArray &operator+=(const SimpleArray &other)
    {
        append(other);
        return *this;
    }
    // Appends each value of `other` that is not present yet; zeros only when `withNull`.
    void merge(const SimpleArray &other, bool withNull);

    // `pos` is clamped to 0 .. length(). The slots of a gap are 0; a count below 1 changes nothing.
    void insert(std::int64_t value, int pos);
    void insertGap(int pos, int count);

    // The first occurrence of `value`, if there is one.
    void remove(std::int64_t value);
    SimpleArray &operator-=(std::int64_t value)
    {
        remove(value);
        return *this;
    }
    // Removes a slot and returns what it held; 0 on an empty array. A negative index means the
    // first slot. D-061: an index at or past the end still shortens the array by one, and gives 0.
    std::int64_t removeAt(int index);
    // `pos` is clamped to 0 .. length(), and `count` cut at the end.
    void removeGap(int pos, int count);

    // Sets the length; new slots are 0. The capacity follows in both directions. D-062: a size of 0
    // or below gives up the record, and a custom increment with it.
    void setSize(int count);
    // The allocation granule; values below 1 become 1. In force from the next growth on.
    void setIncrement(int granule);
    // Empties the array and keeps its storage and increment; erase is setSize(0).
    void clear();
    void erase() { dropRecord(std::exchange(data, emptyRecord())); }
    // From now on, copies of this array do not share with it; it stays so with their copies too.
    void makeUnique();

private:
    static SimpleArrayData *emptyRecord() noexcept
    {
        return const_cast<SimpleArrayData *>(&detail::emptyArrayData);
    }
    static std::size_t bytes(int count)
    {
        return sizeof(std::int64_t) * static_cast<unsigned>(count);
    }

    static SimpleArrayData *newReference(SimpleArrayData *record)
    {
        if (record->isPinned()) [[unlikely]]
            return clone(record);
        if (record != emptyRecord())
            detail::addReference(&record->refCount);
        return record;
    }
    static void dropRecord(SimpleArrayData *record) noexcept
    {
        if (record != emptyRecord() && detail::dropReference(&record->refCount) == 0)
            Heap::operator delete(record);
    }

    // The one place that ends sharing.
    void unique()
    {
        if (data->isShared()) [[unlikely]]
            unshare();
    }
    void unshare();

    static SimpleArrayData *clone(const SimpleArrayData *record);
    void appendSlowly(std::int64_t value);
    void growByOne();
    void setLength(std::int64_t count);
    void changeCapacity(int capacity);
    void moveSlots(int to, int from, int count);

    SimpleArrayData *data;
};
static_assert(sizeof(SimpleArray) == sizeof(void *), "arrays are members of packed records");

// TSimpleArray: a SimpleArray whose slots are read as T *. It does not own what they point to.
// What is not redeclared here is SimpleArray's.
template <class T>
class TSimpleArray : public SimpleArray
{
public:
    // A slot for writing.
    class Slot
    {
    public:
        operator T *() const { return fromSlot(value); }
        T *operator->() const { return fromSlot(value); }
        Slot &operator=(T *pointer)
        {
            value = toSlot(pointer);
            return *this;
        }
        Slot &operator=(const Slot &other)
        {
            value = other.value;
            return *this;
        }
        Slot(const Slot &) = default;

    private:
        friend class TSimpleArray;
        explicit Slot(std::int64_t &slot) : value(slot) {}

        std::int64_t &value;
    };

    // Reads the slots from first to last.
    class Iterator
    {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T *;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = T *;

        Iterator() = default;
        explicit Iterator(const std::int64_t *slot) : place(slot) {}

        T *operator*() const { return fromSlot(*place); }
        T *operator[](difference_type offset) const { return fromSlot(place[offset]); }
        Iterator &operator++()
        {
            ++place;
            return *this;
        }
        Iterator operator++(int) { return Iterator(place++); }
        Iterator &operator--()
        {
            --place;
            return *this;
        }
        Iterator operator--(int) { return Iterator(place--); }
        Iterator &operator+=(difference_type offset)
        {
            place += offset;
            return *this;
        }
        Iterator &operator-=(difference_type offset) { return *this += -offset; }
        friend Iterator operator+(Iterator left, difference_type offset) { return left += offset; }
        friend Iterator operator+(difference_type offset, Iterator right)
        {
            return right += offset;
        }
        friend Iterator operator-(Iterator left, difference_type offset) { return left -= offset; }
        friend difference_type operator-(Iterator left, Iterator right)
        {
            return left.place - right.place;
        }
        friend bool operator==(Iterator left, Iterator right) { return left.place == right.place; }
        friend auto operator<=>(Iterator left, Iterator right)
        {
            return left.place <=> right.place;
        }

    private:
        const std::int64_t *place = nullptr;
    };

    TSimpleArray() = default;
    // The same slots, read as pointers.
    explicit TSimpleArray(const SimpleArray &array) : SimpleArray(array) {}

    T *operator[](int index) const { return fromSlot(SimpleArray::operator[](index)); }
    Slot operator[](int index) { return Slot(SimpleArray::operator[](index)); }
    Iterator begin() const { return Iterator(SimpleArray::begin()); }
    Iterator end() const { return Iterator(SimpleArray::end()); }
    int indexOf(const T *pointer) const { return SimpleArray::indexOf(toSlot(pointer)); }
    TSimpleArray copy(int start, int count) const
    {
        return TSimpleArray(SimpleArray::copy(start, count));
    }

    void append(T *pointer) { SimpleArray::append(toSlot(pointer)); }
    void append(const TSimpleArray &other) { SimpleArray::append(other); }
    TSimpleArray &operator+=(T *pointer)
    {
        append(pointer);
        return *this;
    }
    TSimpleArray &operator+=(const TSimpleArray &other)
    {
        append(other);
        return *this;
    }
    TSimpleArray &operator-=(const T *pointer)
    {
        remove(pointer);
        return *this;
    }
    void merge(const TSimpleArray &other, bool withNull) { SimpleArray::merge(other, withNull); }
    void insert(T *pointer, int pos) { SimpleArray::insert(toSlot(pointer), pos); }
    void remove(const T *pointer) { SimpleArray::remove(toSlot(pointer)); }
    T *removeAt(int index) { return fromSlot(SimpleArray::removeAt(index)); }

    // Between a pointer and the integer that stands for it in a slot.
    static std::int64_t toSlot(const T *pointer)
    {
        return reinterpret_cast<std::intptr_t>(pointer);
    }
    static T *fromSlot(std::int64_t slot)
    {
        return reinterpret_cast<T *>(static_cast<std::intptr_t>(slot));
    }
};

// TISimpleArray: the same face under the name by which lists of script-visible objects use it.
template <class T>
class TISimpleArray : public TSimpleArray<T>
{
public:
    using TSimpleArray<T>::TSimpleArray;

    TISimpleArray copy(int start, int count) const
    {
        return TISimpleArray(SimpleArray::copy(start, count));
    }
};

} // namespace Tavrin
