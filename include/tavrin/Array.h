// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>

#include <tavrin/Export.h>
#include <tavrin/Geometry.h>
#include <tavrin/Heap.h>
#include <tavrin/Lock.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

namespace Tavrin {

class SparseArray;

namespace detail {
struct ArrayAccess;
}

// BasicArray: the read-only face of a list of values.
// Owns:    nothing.
// Failure: reading a missing element gives an undefined value. Without memory toString throws
//          std::bad_alloc.
class TAVRIN_API BasicArray : public Root
{
public:
    virtual unsigned int length() const = 0;
    // Whether there is an element, and it is not undefined.
    virtual bool isDefined(unsigned int index) const = 0;
    // The element, or null if none is stored.
    virtual Variant *get(unsigned int index) const = 0;

    // The element. For a missing one, an undefined value that the calling thread keeps; it is the
    // same object for every miss.
    const Variant &operator[](unsigned int index) const
    {
        const Variant *element = get(index);
        return element != nullptr ? *element : missingElement();
    }

    // Appends the texts of the elements with commas in between, or "[too many elements]" if there
    // are more than 1000. D-161: an array that contains itself, at any depth, gives "[this]" there.
    // D-162: an undefined element gives "undefined".
    void toString(String &out) const;

protected:
    BasicArray() = default;
    ~BasicArray() override;

    static const Variant &missingElement();
};

// ArrayBlock: the low elements of an array, one block of Heap with the elements behind the head.
struct ArrayBlock
{
    unsigned int used;     // elements that count as present
    unsigned int capacity; // elements that there is room for; those past `used` are zero bytes

    Variant *items() noexcept { return reinterpret_cast<Variant *>(this + 1); }
};

// ArrayData: the record behind an Array.
struct ArrayData
{
    ArrayBlock *dense;
    SparseArray *sparse;     // from an index to its heap Variant; null if there is none yet
    unsigned int refWord;    // how many Array objects refer to it, and whether it is pinned
    unsigned int length;     // logical length
    unsigned int denseLimit; // lower indexes are in `dense`, others in `sparse`
    void *link;              // see ArrayRecord.cpp

    static constexpr unsigned int countMask = 0x3FFF'FFFF;
    static constexpr unsigned int pinnedBit = 0x4000'0000;

    Variant *find(unsigned int index) const noexcept
    {
        if (index < dense->used) [[likely]]
            return dense->items() + index;
        return index < length && sparse != nullptr ? findSparse(index) : nullptr;
    }
    TAVRIN_API Variant *findSparse(unsigned int index) const noexcept;

    bool isPinned() const noexcept
    {
        return (__atomic_load_n(&refWord, __ATOMIC_RELAXED) & pinnedBit) != 0;
    }
    bool isShared() const noexcept
    {
        return (__atomic_load_n(&refWord, __ATOMIC_ACQUIRE) & countMask) > 1;
    }
};

namespace detail {

// The record of all empty arrays. Nothing is counted on it; it reads as shared, so that every
// writer leaves it alone.
TAVRIN_API extern const ArrayData emptyArray;

} // namespace detail

// Array: a shared, copy-on-write list of values, long and mostly empty if need be.
// Owns:    one reference on its record, which owns the elements.
// Threads: copies may live on different threads after InitTerm::setMT; one object is one thread's.
// Cost:    copy O(1); element access O(1); append amortised O(1). The first 1024 elements or so
//          stand in one block, higher ones cost a block each, and missing ones nothing.
// Units:   elements, as unsigned 32-bit counts.
// Failure: reading a missing element gives an undefined value; std::bad_alloc from Heap, and for an
//          element behind the last index of 32 bits. The array has its old elements then.
class TAVRIN_API Array : public BasicArray
{
public:
    Array() noexcept : data(emptyRecord()) {}
    // `length` missing elements.
    explicit Array(unsigned int length);
    Array(const Array &other) : BasicArray(), data(newReference(other.data)) {}
    Array(Array &&other) noexcept : data(std::exchange(other.data, emptyRecord())) {}
    ~Array() override;

    Array &operator=(const Array &other);
    Array &operator=(Array &&other) noexcept;

    // Whether both have equal elements, a missing one being as good as an undefined one. Arrays
    // that contain themselves are equal if no difference can be found.
    bool operator==(const Array &other) const;

    unsigned int length() const override;
    bool isDefined(unsigned int index) const override;
    Variant *get(unsigned int index) const override;

    const Variant &operator[](unsigned int index) const
    {
        const Variant *element = data->find(index);
        return element != nullptr ? *element : missingElement();
    }
    // The element; a missing one is made, and the length grows as needed. A reference to another
    // element may still be read then, as `a[9] = a[0]` does. D-163: an element that exists is not
    // copied first, so writing to it shows in all arrays that share the record, and a reference to
    // it lasts until the last of them lets go. makeUnique prevents both; an array that is written
    // through `[]` while other threads hold copies of it needs that.
    Variant &operator[](unsigned int index)
    {
        Variant *element = data->find(index);
        return element != nullptr ? *element : makeElement(index);
    }
    Variant &safeGet(unsigned int index) { return (*this)[index]; }
    // All elements in a row, as long as none of them is kept apart; else null.
    Variant *getData() const noexcept
    {
        return data->length == data->dense->used ? data->dense->items() : nullptr;
    }

    void setLength(unsigned int length);
    void erase() { setLength(0); }
    // Makes room for, or removes, `count` elements from `start` on; the others move.
    void insertAt(unsigned int start, unsigned int count);
    void removeAt(unsigned int start, unsigned int count);
    void deleteAt(unsigned int index) { removeAt(index, 1); }
    // From now on, copies of this array do not share with it; it stays so with their copies too.
    void makeUnique();

    // Appends the values of a literal such as `1,"two",[3]`; false if it is empty or malformed, and
    // the values before the fault stay.
    bool parse(const String &text, int flags);

    // Append one element.
    Array &operator+=(const Variant &element) { return append(element); }
    Array &operator+=(const String &string) { return append(Variant(string)); }
    Array &operator+=(const char *bytes) { return append(Variant(bytes)); }
    Array &operator+=(double number) { return append(Variant(number)); }
    Array &operator+=(int number) { return append(Variant(number)); }
    Array &operator+=(bool flag) { return append(Variant(flag)); }
    template <std::integral Integer>
    Array &operator+=(Integer number)
    {
        return append(Variant(number));
    }
    Array &operator+=(const Point &point) { return append(Variant(point)); }
    Array &operator+=(const Rect &rect) { return append(Variant(rect)); }
    // D-405: an array that is appended to itself contains itself.
    Array &operator+=(const Array &array);
    Array &operator+=(LiveObject &object) { return *this += &object; }
    Array &operator+=(LiveObject *object);
    Array &operator+=(const volatile void *) = delete;
    // D-164: appends, too.
    Array &operator=(int number) { return *this += number; }

private:
    friend struct detail::ArrayAccess;

    static ArrayData *emptyRecord() noexcept
    {
        return const_cast<ArrayData *>(&detail::emptyArray);
    }
    static ArrayData *newReference(ArrayData *record)
    {
        if (record->isPinned()) [[unlikely]]
            return clone(record);
        if (record != emptyRecord())
            detail::addReference(reinterpret_cast<int *>(&record->refWord));
        return record;
    }

    Variant &makeElement(unsigned int index);
    Variant *placeAtEnd() const;
    Array &append(const Variant &element);
    Array &append(Variant &&element);

    static ArrayData *clone(const ArrayData *record);
    // The two places that end sharing; `part` lets references to elements stand.
    void unique(unsigned int newLength);
    void part();
    void truncate(unsigned int newLength);
    void shiftUp(unsigned int start, unsigned int count, unsigned int oldLength);
    struct Removed;
    void shiftDown(unsigned int start, unsigned int count, Removed &removed);

    ArrayData *data;
};

} // namespace Tavrin
