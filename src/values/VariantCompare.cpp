// SPDX-License-Identifier: MIT
// Equality and order of values.
// Pinned by tests/values/VariantCompareTest.cpp, which runs every kind against every other one.
#include <cmath>
#include <new>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/Variant.h>

#include "values/LiveValue.h"

namespace Tavrin {

namespace {

// Whether two payloads are equal; null, which is what is there without memory, equals only itself.
template <class T>
bool areEqual(const T *a, const T *b)
{
    return a != nullptr && b != nullptr ? *a == *b : a == b;
}

template <class T>
int comparePayloads(const T *a, const T *b)
{
    return (a != nullptr ? *a : T()).cmp(b != nullptr ? *b : T());
}

// The sign of a minus b, or `unordered`.
int compareNumbers(double a, double b)
{
    if (std::isnan(a) || std::isnan(b))
        return Variant::unordered;
    return (a > b ? 1 : 0) - (a < b ? 1 : 0);
}

} // namespace

bool Variant::operator==(const Variant &other) const
{
    if (type != other.type)
        return false;
    switch (type) {
    case kBoolean:
        return value.bits == other.value.bits;
    case kNumber:
        return value.number == other.value.number;
    case kString:
        return ownText() == other.ownText();
    case kObject:
        return isSameObject(other);
    case kLiveObject:
        return detail::areEqualLiveObjects(*value.liveObject, *other.value.liveObject);
    case kPoint:
        return areEqual(value.point, other.value.point);
    case kRect:
        return areEqual(value.rect, other.value.rect);
    case kArray:
        return hasEqualArray(other);
    default: // undefined, null and, D-158, any two regular expressions
        return true;
    }
}

// Two made objects have to be the same one. Otherwise the ids have to be equal, and what the object
// says about itself has to be the text of the other side, which is empty without an object.
bool Variant::isSameObject(const Variant &other) const
{
    if (jsObject != nullptr && other.jsObject != nullptr)
        return jsObject == other.jsObject;
    if (getInteger() != other.getInteger())
        return false;
    const Variant &made = jsObject != nullptr ? *this : other;
    return made.jsObject == nullptr || made.getString().length() == 0;
}

// An array that cannot be compared for want of memory equals nothing.
bool Variant::hasEqualArray(const Variant &other) const
{
    try {
        return areEqual(value.array, other.value.array);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

int Variant::compare(const Variant &other) const
{
    if (type == other.type) {
        switch (type) {
        case kUndefined:
        case kNull:
            return 0;
        case kBoolean:
            return static_cast<int>(value.bits) - static_cast<int>(other.value.bits);
        case kString:
            return ownText().cmp(other.ownText());
        case kPoint:
            return comparePayloads(value.point, other.value.point);
        case kRect:
            return comparePayloads(value.rect, other.value.rect);
        default:
            break;
        }
    }
    if (type == kUndefined)
        return other.type == kUndefined ? 0 : -1;
    if (other.type == kUndefined)
        return 1;
    if (type > kNumber && other.type > kNumber)
        return getString().cmp(other.getString());
    return compareNumbers(getDouble(), other.getDouble());
}

} // namespace Tavrin
