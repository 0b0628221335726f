// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>

// What the sources of Array share.
namespace Tavrin::detail {

inline constexpr unsigned mostElements = std::numeric_limits<unsigned>::max();

// The way of this library's own sources into an Array.
struct ArrayAccess
{
    static ArrayData *record(const Array &array) { return array.data; }
    // Replaces the record; the caller takes over the reference to the old one.
    static ArrayData *exchangeRecord(Array &array, ArrayData *record)
    {
        return std::exchange(array.data, record);
    }
};

inline ArrayData *emptyRecord()
{
    return const_cast<ArrayData *>(&emptyArray);
}

inline int *countOf(ArrayData *record)
{
    return reinterpret_cast<int *>(&record->refWord);
}

// Take and give up one reference, also to a pinned record.
inline void holdRecord(ArrayData *record)
{
    if (record != emptyRecord())
        addReference(countOf(record));
}
// True if it was the last one. A sole owner needs no atomic operation.
inline bool isLastDropped(ArrayData *record) noexcept
{
    if (record == emptyRecord())
        return false;
    if (!record->isShared())
        return true;
    return (static_cast<unsigned>(dropReference(countOf(record))) & ArrayData::countMask) == 0;
}
// Destroys the elements and the record.
void destroyRecord(ArrayData *record) noexcept;
inline void dropRecord(ArrayData *record) noexcept
{
    if (isLastDropped(record))
        destroyRecord(record);
}

// A record with one reference for `length` elements, none of which is there yet.
ArrayData *newRecord(unsigned length);
// The same with the elements of another record below `length`.
ArrayData *cloneRecord(const ArrayData &record, unsigned length);

// What becomes of a block that is too small.
enum class OldBlock
{
    release,
    keep, // until the next growth, for the sake of references to its elements
};

// Make the elements up to `count` present in a record that no one shares.
void makeDense(ArrayData &record, unsigned count, OldBlock old);
// An element of such a record, made if it is missing.
Variant &elementOf(ArrayData &record, unsigned index, OldBlock old);
// Its sparse part, made if it is missing.
SparseArray &sparseOf(ArrayData &record);

inline Variant *variantIn(std::int64_t slot)
{
    return reinterpret_cast<Variant *>(static_cast<std::intptr_t>(slot));
}

inline std::int64_t slotOf(const Variant *variant)
{
    return reinterpret_cast<std::intptr_t>(variant);
}

// The indexes in the sparse part from `first` on, ascending. It only reads the record, which other
// arrays may share.
inline SimpleArray sparseIndexes(const ArrayData &record, unsigned first)
{
    SimpleArray indexes;
    if (record.sparse == nullptr)
        return indexes;
    record.sparse->getKeys(indexes);
    int kept = 0; // the array is written from its front while it is read
    for (const std::int64_t index : indexes)
        if (index >= first)
            indexes[kept++] = index;
    indexes.setSize(kept);
    if (kept != 0)
        std::sort(&indexes[0], &indexes[0] + kept);
    return indexes;
}

// Calls `visit(index, element)` for each element of a sparse part that no one shares.
template <class Visitor>
void forEachSparse(SparseArray &sparse, Visitor visit)
{
    sparse.forEach(
        [](std::int64_t index, std::int64_t *slot, std::int64_t argument) {
            (*reinterpret_cast<Visitor *>(argument))(static_cast<unsigned>(index),
                                                     variantIn(*slot));
            return true;
        },
        reinterpret_cast<std::intptr_t>(&visit));
}

} // namespace Tavrin::detail
