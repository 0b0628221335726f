// SPDX-License-Identifier: MIT
// Elements that move to other indexes.
//
// All that can fail comes first: the dense part gets its new size, and dense elements that will be
// sparse get their place. What follows only moves values and sets keys that were taken out of the
// table before, which needs no memory. The cost is that of the elements that there are, however far
// apart they lie.
// Pinned by tests/containers/ArrayShiftTest.cpp.
#include <algorithm>
#include <utility>

#include <tavrin/Array.h>

#include "containers/ArrayRecord.h"
#include "runtime/OnHeap.h"
#include "values/VariantAccess.h"

namespace Tavrin {

using detail::deleteOnHeap;
using detail::makeDense;
using detail::OldBlock;
using detail::slotOf;
using detail::VariantAccess;
using detail::variantIn;

namespace {

// Where a dense element that is about to become sparse gets its place: behind all indexes.
std::int64_t stagedKey(std::int64_t index)
{
    return index + (std::int64_t{1} << 32);
}

void unstage(SparseArray &sparse, std::int64_t index)
{
    deleteOnHeap(variantIn(sparse.remove(stagedKey(index))));
}

// Makes places for the elements that will have the indexes from `first` up to `end`.
void stage(SparseArray &sparse, std::int64_t first, std::int64_t end)
{
    std::int64_t index = first;
    try {
        for (; index < end; ++index) {
            sparse.set(stagedKey(index), 0);
            sparse.set(stagedKey(index), slotOf(detail::newOnHeap<Variant>()));
        }
    } catch (...) {
        for (; index >= first; --index)
            unstage(sparse, index);
        throw;
    }
}

// Moves an element out of the dense part to its staged place; an undefined one needs none.
void leaveDense(SparseArray &sparse, Variant &from, std::int64_t index)
{
    if (!from.isDefined()) {
        unstage(sparse, index);
        return;
    }
    Variant *element = variantIn(sparse.remove(stagedKey(index)));
    VariantAccess::relocate(*element, from);
    sparse.set(index, slotOf(element));
}

} // namespace

void Array::insertAt(unsigned int start, unsigned int count)
{
    const unsigned oldLength = data->length;
    count = std::min({count, ~start, ~oldLength});
    if (count == 0)
        return;
    if (data->isShared())
        unique(oldLength + count);
    else
        setLength(oldLength + count);
    if (start >= oldLength)
        return;
    try {
        shiftUp(start, count, oldLength);
    } catch (...) {
        setLength(oldLength);
        throw;
    }
}

void Array::shiftUp(unsigned int start, unsigned int count, unsigned int oldLength)
{
    ArrayData &record = *data;
    const unsigned firstDense = start;
    const unsigned endDense = std::max(start, std::min(record.dense->used, oldLength));
    // Dense elements from here on become sparse.
    const unsigned firstLeaving = count < record.denseLimit
                                      ? std::clamp(record.denseLimit - count, firstDense, endDense)
                                      : firstDense;
    const SimpleArray keys = detail::sparseIndexes(record, start);
    makeDense(record, firstLeaving > firstDense ? firstLeaving + count : 0, OldBlock::release);
    if (firstLeaving < endDense)
        stage(detail::sparseOf(record), std::int64_t{firstLeaving} + count,
              std::int64_t{endDense} + count);

    for (int at = keys.length(); at-- > 0;) {
        const std::int64_t element = record.sparse->remove(keys[at]);
        record.sparse->set(keys[at] + count, element);
    }
    Variant *items = record.dense->items();
    for (unsigned index = endDense; index-- > firstLeaving;)
        leaveDense(*record.sparse, items[index], std::int64_t{index} + count);
    for (unsigned index = firstLeaving; index-- > firstDense;)
        VariantAccess::relocate(items[index + count], items[index]);
}

// What was taken out goes when the array is whole, because its release may run code of a script
// that uses the array.
struct Array::Removed
{
    Array dense;
    SimpleArray sparse; // heap variants in the first places
    int sparseCount = 0;

    Removed() = default;
    Removed(const Removed &) = delete;
    Removed &operator=(const Removed &) = delete;
    ~Removed()
    {
        for (int at = 0; at < sparseCount; ++at)
            deleteOnHeap(variantIn(std::as_const(sparse)[at]));
    }
};

void Array::removeAt(unsigned int start, unsigned int count)
{
    const unsigned oldLength = data->length;
    if (start >= oldLength)
        return;
    count = std::min(count, oldLength - start);
    if (count == 0)
        return;
    if (count == oldLength) {
        erase();
        return;
    }
    if (data->isShared())
        unique(oldLength);
    Removed removed;
    shiftDown(start, count, removed);
    setLength(oldLength - count);
}

void Array::shiftDown(unsigned int start, unsigned int count, Removed &removed)
{
    ArrayData &record = *data;
    const unsigned endDense = record.dense->used;
    const std::int64_t end = std::int64_t{start} + count;
    const auto firstKept = static_cast<unsigned>(std::min<std::int64_t>(end, endDense));
    if (start < firstKept)
        removed.dense = Array(firstKept - start);
    removed.sparse = detail::sparseIndexes(record, start);
    // Sparse elements that become dense need room there.
    for (const std::int64_t key : removed.sparse)
        if (key >= end && key - count < record.denseLimit)
            makeDense(record, static_cast<unsigned>(key - count) + 1, OldBlock::release);

    Variant *items = record.dense->items();
    for (unsigned index = start; index < firstKept; ++index)
        VariantAccess::relocate(removed.dense[index - start], items[index]);
    for (unsigned index = firstKept; index < endDense; ++index)
        VariantAccess::relocate(items[index - count], items[index]);
    for (int at = 0; at < removed.sparse.length(); ++at) {
        const std::int64_t key = removed.sparse[at];
        Variant *element = variantIn(record.sparse->remove(key));
        const std::int64_t index = key - count;
        if (key < end) {
            removed.sparse[removed.sparseCount++] = slotOf(element);
        } else if (index < record.denseLimit) {
            VariantAccess::relocate(items[index], *element);
            deleteOnHeap(element);
        } else {
            record.sparse->set(index, slotOf(element));
        }
    }
}

} // namespace Tavrin
