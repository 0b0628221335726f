// SPDX-License-Identifier: MIT
// The interface of Array over its records; ArrayRecord.cpp tells what those are.
// Pinned by tests/containers/ArrayTest.cpp.
#include <tavrin/Array.h>

#include <utility>

#include "containers/ArrayRecord.h"
#include "runtime/BlockCache.h"
#include "runtime/ContextState.h"
#include "runtime/OnHeap.h"
#include "values/VariantAccess.h"

namespace Tavrin {

using detail::elementOf;
using detail::makeDense;
using detail::OldBlock;

namespace {

// What a thread reads for a missing element outside init and exit.
constinit const Variant outsideVariant{};

unsigned behindLast(unsigned length)
{
    if (length == detail::mostElements)
        detail::throwOutOfMemory();
    return length + 1;
}

} // namespace

BasicArray::~BasicArray() = default;

const Variant &BasicArray::missingElement()
{
    if (!detail::isLibraryUp())
        return outsideVariant;
    Variant &fallback = detail::currentContext().fallbackVariant;
    fallback.erase();
    return fallback;
}

Variant *ArrayData::findSparse(unsigned int index) const noexcept
{
    return detail::variantIn(sparse->find(index));
}

Array::Array(unsigned int length) : data(emptyRecord())
{
    if (length > 0)
        data = detail::newRecord(length);
}

Array::~Array()
{
    detail::dropRecord(data);
}

Array &Array::operator=(const Array &other)
{
    if (data != other.data)
        detail::dropRecord(std::exchange(data, newReference(other.data)));
    return *this;
}

Array &Array::operator=(Array &&other) noexcept
{
    ArrayData *taken = std::exchange(other.data, emptyRecord());
    detail::dropRecord(std::exchange(data, taken));
    return *this;
}

unsigned int Array::length() const
{
    return data->length;
}

bool Array::isDefined(unsigned int index) const
{
    const Variant *element = data->find(index);
    return element != nullptr && element->isDefined();
}

Variant *Array::get(unsigned int index) const
{
    return data->find(index);
}

Variant &Array::makeElement(unsigned int index)
{
    behindLast(index);
    if (data->isShared())
        unique(data->length);
    return elementOf(*data, index, OldBlock::keep);
}

// The place behind the last element, if it is at hand.
Variant *Array::placeAtEnd() const
{
    ArrayBlock &dense = *data->dense;
    const bool isAtHand = dense.used == data->length && dense.used < dense.capacity;
    return isAtHand && !data->isShared() ? dense.items() + dense.used : nullptr;
}

Array &Array::append(const Variant &element)
{
    // An element that is one of those that move is copied before.
    if (placeAtEnd() == nullptr)
        return append(Variant(element));
    ::new (static_cast<void *>(placeAtEnd())) Variant(element);
    data->length = ++data->dense->used;
    return *this;
}

Array &Array::append(Variant &&element)
{
    if (Variant *place = placeAtEnd()) {
        ::new (static_cast<void *>(place)) Variant(std::move(element));
        data->length = ++data->dense->used;
        return *this;
    }
    const unsigned end = data->length;
    behindLast(end);
    if (data->isShared())
        unique(end);
    elementOf(*data, end, OldBlock::release) = std::move(element);
    return *this;
}

// D-405: the new element is there before it becomes the array. The assignment does not fail:
// without memory it gives an array without elements.
Array &Array::operator+=(const Array &array)
{
    append(Variant());
    *data->find(data->length - 1) = array;
    return *this;
}

void Array::setLength(unsigned int newLength)
{
    // An empty array of its own record is pinned, and is so no more.
    if (newLength == 0) {
        detail::dropRecord(std::exchange(data, emptyRecord()));
    } else if (newLength == data->length) {
        return;
    } else if (data->isShared()) {
        unique(newLength);
    } else if (newLength < data->length) {
        truncate(newLength);
    } else {
        if (newLength > data->denseLimit)
            detail::sparseOf(*data);
        else
            makeDense(*data, newLength, OldBlock::release);
        data->length = newLength;
    }
}

// The elements behind the end are erased one by one while the array is whole, because what they
// hold may run code of a script that uses the array, gives it another record or shares this one.
void Array::truncate(unsigned int newLength)
{
    ArrayData *const record = data;
    const auto isOwn = [=, this] { return data == record && !record->isShared(); };
    for (unsigned index = newLength; isOwn() && index < record->dense->used; ++index)
        record->dense->items()[index].erase();
    if (isOwn() && record->sparse != nullptr)
        detail::forEachSparse(*record->sparse, [=](unsigned index, Variant *element) {
            if (index < newLength || !isOwn())
                return;
            record->sparse->remove(index);
            detail::deleteOnHeap(element);
        });
    if (!isOwn()) {
        if (data == record)
            unique(newLength);
        return;
    }
    for (; record->dense->used > newLength; --record->dense->used)
        detail::VariantAccess::reset(record->dense->items()[record->dense->used - 1]);
    record->length = newLength;
}

void Array::makeUnique()
{
    if (data->isPinned())
        return;
    // D-167: always a record of its own, although no one may share this one. So no pinned record
    // contains itself, and the copy of one comes to an end.
    unique(data->length);
    data->refWord |= ArrayData::pinnedBit;
}

ArrayData *Array::clone(const ArrayData *record)
{
    return detail::cloneRecord(*record, record->length);
}

void Array::unique(unsigned int newLength)
{
    detail::dropRecord(std::exchange(data, detail::cloneRecord(*data, newLength)));
}

} // namespace Tavrin
