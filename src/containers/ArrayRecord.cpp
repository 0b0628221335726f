// SPDX-License-Identifier: MIT
// One record per set of sharing arrays: the low elements in a block, the others in a SparseArray
// from an index to a value on the heap.
//
// Invariants: dense->used <= dense->capacity, used <= denseLimit, used <= length. Slots past `used`
// are zero bytes. Every index in `sparse` is below `length` and at or above `denseLimit`. A pinned
// record belongs to one array. The record of empty arrays says that it is shared and is never
// written or counted, so it needs no start and no lock.
//
// Elements are moved by their bytes when a block grows. The block before the growth that operator[]
// causes stays until the next one, in the link of the record, because a caller may hold a reference
// to another element: `a[9] = a[0]` reads a[0] after a[9] has made the block grow, and finds in the
// old block the same bytes.
//
// Nested arrays may be a million deep. Neither the release of a record nor the copy of a pinned one
// recurses: both keep a list of records to be worked on, through their links, which are free then.
// Pinned by tests/containers/ArrayTest.cpp and ArrayNestingTest.cpp.
#include "containers/ArrayRecord.h"

#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/OnHeap.h"
#include "values/VariantAccess.h"

namespace Tavrin::detail {

namespace {

constexpr unsigned smallestCapacity = 8;
constexpr unsigned usualDenseLimit = 1024;
constexpr unsigned mostDenseAtOnce = 4096; // a new record for more elements than this is sparse
constexpr unsigned sparseRecordCapacity = 16;

unsigned capacityFor(unsigned count)
{
    return std::max(std::bit_ceil(count), smallestCapacity);
}

constexpr std::size_t blockBytes(unsigned capacity)
{
    return sizeof(ArrayBlock) + std::size_t{capacity} * sizeof(Variant);
}

ArrayBlock *newBlock(unsigned capacity, unsigned used)
{
    void *storage = Heap::operator new(blockBytes(capacity));
    std::memset(storage, 0, blockBytes(capacity));
    return ::new (storage) ArrayBlock{used, capacity};
}

// Moves the elements to a larger block and leaves their bytes in the old one.
ArrayBlock *movedTo(unsigned capacity, ArrayBlock &from)
{
    void *storage = Heap::operator new(blockBytes(capacity));
    const std::size_t filled = blockBytes(from.used);
    std::memcpy(storage, &from, filled);
    std::memset(static_cast<std::byte *>(storage) + filled, 0, blockBytes(capacity) - filled);
    auto *block = static_cast<ArrayBlock *>(storage);
    block->capacity = capacity;
    return block;
}

struct EmptyBlock
{
    ArrayBlock head{0, smallestCapacity};
    std::uint64_t slots[smallestCapacity * sizeof(Variant) / sizeof(std::uint64_t)] = {};
};
constinit EmptyBlock emptyBlock;

constexpr unsigned neverDropped = 2;

// Puts a record that no one refers to in front of the list.
void enlist(ArrayData *&doomed, ArrayData *record) noexcept
{
    Heap::operator delete(record->link);
    record->link = doomed;
    doomed = record;
}

// Destroys an element; a record to which it has the last reference goes to the list.
void destroyElement(Variant &element, ArrayData *&doomed) noexcept
{
    if (VariantAccess::payloadArray(element) != nullptr) {
        Array *array = VariantAccess::takeArray(element);
        ArrayData *record = ArrayAccess::exchangeRecord(*array, emptyRecord());
        delete array;
        if (isLastDropped(record))
            enlist(doomed, record);
    }
    element.~Variant();
}

} // namespace

constinit const ArrayData emptyArray{&emptyBlock.head, nullptr, neverDropped, 0,
                                     usualDenseLimit,  nullptr};

ArrayData *newRecord(unsigned length)
{
    const bool isSparse = length > mostDenseAtOnce;
    const unsigned capacity = isSparse ? sparseRecordCapacity : capacityFor(length);
    const unsigned denseLimit = isSparse ? capacity : std::max(capacity, usualDenseLimit);
    auto *record =
        newOnHeap<ArrayData>(ArrayData{nullptr, nullptr, 1, length, denseLimit, nullptr});
    try {
        record->dense = newBlock(capacity, isSparse ? capacity : length);
        if (isSparse)
            record->sparse = newOnHeap<SparseArray>();
    } catch (...) {
        Heap::operator delete(record->dense);
        deleteOnHeap(record);
        throw;
    }
    return record;
}

SparseArray &sparseOf(ArrayData &record)
{
    if (record.sparse == nullptr)
        record.sparse = newOnHeap<SparseArray>();
    return *record.sparse;
}

void makeDense(ArrayData &record, unsigned count, OldBlock old)
{
    if (count <= record.dense->used)
        return;
    if (count > record.dense->capacity) {
        ArrayBlock *grown = movedTo(capacityFor(count), *record.dense);
        Heap::operator delete(std::exchange(record.link, nullptr));
        void *before = std::exchange(record.dense, grown);
        if (old == OldBlock::keep)
            record.link = before;
        else
            Heap::operator delete(before);
    }
    record.dense->used = count;
}

Variant &elementOf(ArrayData &record, unsigned index, OldBlock old)
{
    if (Variant *element = record.find(index))
        return *element;
    if (index < record.denseLimit) {
        makeDense(record, index + 1, old);
        record.length = std::max(record.length, index + 1);
        return record.dense->items()[index];
    }
    SparseArray &sparse = sparseOf(record);
    auto *element = newOnHeap<Variant>();
    try {
        sparse.set(index, slotOf(element));
    } catch (...) {
        deleteOnHeap(element);
        throw;
    }
    record.length = std::max(record.length, index + 1);
    return *element;
}

namespace {

// The copy of pinned arrays: first the record itself, whose pinned elements go on sharing. Then,
// from a list, the records of those.
class Cloning
{
public:
    Cloning() = default;
    Cloning(const Cloning &) = delete;
    Cloning &operator=(const Cloning &) = delete;

    ArrayData *run(const ArrayData &source, unsigned length)
    {
        ArrayData *result = copyRecord(source, length);
        while (pending != nullptr) {
            ArrayData *record = pending;
            pending = static_cast<ArrayData *>(std::exchange(record->link, nullptr));
            completeElements(*record);
        }
        return result;
    }

private:
    static bool isPinnedArray(const Variant &element)
    {
        const Array *array = VariantAccess::payloadArray(element);
        return array != nullptr && ArrayAccess::record(*array)->isPinned();
    }

    ArrayData *copyRecord(const ArrayData &source, unsigned length)
    {
        ArrayData *copy = newRecord(length);
        sharesPinned = false;
        try {
            copyElements(source, *copy);
        } catch (...) {
            dropRecord(copy);
            throw;
        }
        if (source.isPinned())
            copy->refWord |= ArrayData::pinnedBit;
        if (sharesPinned) {
            copy->link = pending;
            pending = copy;
        }
        return copy;
    }

    // What does not fit the dense part of the copy goes to its sparse part, and the other way
    // round.
    void copyElements(const ArrayData &source, ArrayData &copy)
    {
        const unsigned dense = std::min(source.dense->used, copy.length);
        const unsigned kept = std::min(dense, copy.dense->used);
        for (unsigned index = 0; index < kept; ++index)
            copyElement(source.dense->items()[index], copy.dense->items()[index]);
        for (unsigned index = kept; index < dense; ++index) {
            const Variant &element = source.dense->items()[index];
            if (element.isDefined())
                copyElement(element, elementOf(copy, index, OldBlock::release));
        }
        for (const std::int64_t key : sparseIndexes(source, 0)) {
            const auto index = static_cast<unsigned>(key);
            if (index < copy.length)
                copyElement(*source.find(index), elementOf(copy, index, OldBlock::release));
        }
    }

    void copyElement(const Variant &from, Variant &to)
    {
        if (isPinnedArray(from))
            shareElement(*VariantAccess::payloadArray(from), to);
        else
            to = from;
    }

    // The element shares a record for the moment, although that is pinned.
    void shareElement(const Array &pinned, Variant &to)
    {
        Array *array = copyOrNull(Array());
        VariantAccess::giveArray(to, array);
        if (array == nullptr)
            return;
        ArrayData *record = ArrayAccess::record(pinned);
        holdRecord(record);
        ArrayAccess::exchangeRecord(*array, record);
        sharesPinned = true;
    }

    void completeElements(ArrayData &record)
    {
        for (unsigned index = 0; index < record.dense->used; ++index)
            completeElement(record.dense->items()[index]);
        if (record.sparse != nullptr)
            forEachSparse(*record.sparse,
                          [this](unsigned, Variant *element) { completeElement(*element); });
    }

    // Without memory for its record, the element is an array value without an array.
    void completeElement(Variant &element)
    {
        if (!isPinnedArray(element))
            return;
        Array *array = VariantAccess::payloadArray(element);
        try {
            const ArrayData &shared = *ArrayAccess::record(*array);
            dropRecord(ArrayAccess::exchangeRecord(*array, copyRecord(shared, shared.length)));
        } catch (const std::bad_alloc &) {
            delete VariantAccess::takeArray(element);
            VariantAccess::giveArray(element, nullptr);
        }
    }

    ArrayData *pending = nullptr;
    bool sharesPinned = false;
};

} // namespace

ArrayData *cloneRecord(const ArrayData &record, unsigned length)
{
    return Cloning().run(record, length);
}

void destroyRecord(ArrayData *record) noexcept
{
    ArrayData *doomed = nullptr;
    enlist(doomed, record);
    while (doomed != nullptr) {
        record = doomed;
        doomed = static_cast<ArrayData *>(record->link);
        for (unsigned index = 0; index < record->dense->used; ++index)
            destroyElement(record->dense->items()[index], doomed);
        if (record->sparse != nullptr)
            forEachSparse(*record->sparse, [&doomed](unsigned, Variant *element) {
                destroyElement(*element, doomed);
                Heap::operator delete(element);
            });
        deleteOnHeap(record->sparse);
        Heap::operator delete(record->dense);
        deleteOnHeap(record);
    }
}

} // namespace Tavrin::detail
