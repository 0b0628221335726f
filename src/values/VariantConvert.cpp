// SPDX-License-Identifier: MIT
// From one kind of value to another.
// Pinned by tests/values/VariantConvertTest.cpp, which runs every kind against every other one.
#include <cmath>
#include <initializer_list>
#include <limits>
#include <new>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/Variant.h>

#include "containers/ArrayRecord.h"
#include "text/NumberText.h"
#include "values/LiveValue.h"
#include "values/RegExpValue.h"
#include "values/ScriptObject.h"
#include "values/Truncation.h"
#include "values/VariantAccess.h"

namespace Tavrin {

using detail::VariantAccess;
using detail::Wanted;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// The language that literals in the text of a value are in.
constexpr int defaultLanguage = 0x10000;

// Of what primitiveOf gives. A script object without a primitive value counts as its id.
double numberOf(const Variant &primitive)
{
    if (const TvScript::Object *script = primitive.getJSObject())
        return detail::idOf(*script);
    return primitive.getType() == kLiveObject ? notANumber : primitive.getDouble();
}

// As getInteger, but without a note in the element, which other threads may share.
int integerOf(const Variant &element)
{
    if (element.getType() == kObject || element.getType() == kLiveObject)
        return element.getInteger();
    return static_cast<int>(detail::wrapTo32(element.getDouble()));
}

// The elements at the front of an array as integers, 0 where there are none. The record is held,
// because an element that is asked may run code of a script.
class Coordinates
{
public:
    explicit Coordinates(const Array *array)
        : record(array != nullptr ? detail::ArrayAccess::record(*array) : detail::emptyRecord())
    {
        detail::holdRecord(record);
    }
    Coordinates(const Coordinates &) = delete;
    Coordinates &operator=(const Coordinates &) = delete;
    ~Coordinates() { detail::dropRecord(record); }

    double operator[](unsigned index) const
    {
        const Variant *element = record->find(index);
        return element != nullptr ? integerOf(*element) : 0;
    }

private:
    ArrayData *record;
};

Point pointFrom(const Array *array)
{
    const Coordinates at(array);
    return {at[0], at[1]};
}

Rect rectFrom(const Array *array)
{
    const Coordinates at(array);
    return {at[0], at[1], at[2], at[3]};
}

Array arrayFrom(std::initializer_list<double> numbers)
{
    Array array;
    for (const double number : numbers)
        array += number;
    return array;
}

// The elements that the value falls into, or those that its text lists.
Array elementsOf(const Variant &variant)
{
    Array elements;
    if (const Array *array = VariantAccess::payloadArray(variant))
        elements = *array;
    else if (const Point *point = variant.getPoint())
        elements = arrayFrom({point->x, point->y});
    else if (const Rect *rect = variant.getRect())
        elements = arrayFrom({rect->left, rect->top, rect->right, rect->bottom});
    else if (variant.isDefined())
        elements.parse(variant.getString(), defaultLanguage);
    return elements;
}

} // namespace

bool Variant::getBool() const
{
    switch (type) {
    case kBoolean:
        return value.bits != 0;
    case kNumber:
        return value.number != 0 && !std::isnan(value.number);
    case kString:
        return ownText().length() > 0;
    case kObject:
    case kLiveObject:
        return true;
    case kRegExp:
        return detail::patternOf(value.regExp) == "true";
    default: // whether the text form is "true", which it never is
        return false;
    }
}

double Variant::doGetDouble() const
{
    switch (type) {
    case kNull:
        return 0;
    case kBoolean:
        return value.bits != 0 ? 1 : 0;
    case kNumber:
        return value.number;
    case kString:
        return scanDouble(ownText(), detail::conversionFlags, nullptr);
    case kObject:
        return jsObject != nullptr ? numberOf(detail::primitiveOf(*this, Wanted::number))
                                   : objectID;
    case kLiveObject:
        return numberOf(detail::primitiveOf(*this, Wanted::number));
    case kRegExp:
        return scanDouble(detail::patternOf(value.regExp), detail::conversionFlags, nullptr);
    default:
        return notANumber;
    }
}

unsigned int Variant::getUInteger() const
{
    if (type == kObject)
        return static_cast<unsigned>(jsObject != nullptr ? detail::idOf(*jsObject) : objectID);
    if (type == kLiveObject) {
        const Variant primitive = detail::primitiveOf(*this, Wanted::integer);
        return primitive.type == kLiveObject ? 0 : primitive.getUInteger();
    }
    setNumAttrs();
    return detail::wrapTo32(getDouble());
}

int Variant::getInteger(int lo, int hi) const
{
    if (type == kObject)
        return getInteger();
    if (type == kLiveObject)
        return objectID;
    const double number = getDouble();
    int whole = 0;
    if (std::isinf(number))
        whole = number > 0 ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min();
    else if (!std::isnan(number))
        whole = detail::truncateTo32(number);
    if (whole < lo)
        return lo;
    return whole > hi ? hi : whole;
}

void Variant::convertToArray(Variant &converted) const
{
    try {
        if (type != kLiveObject)
            converted.setArray(elementsOf(*this));
        else if (const Array *array = getArray())
            converted.setArray(*array);
        else
            converted.setNull();
    } catch (const std::bad_alloc &) { // as a copy without memory
        converted.become(kArray, {});
    }
}

// What falls into elements becomes a collection of them; nothing else has an object.
void Variant::convertToLiveObject(Variant &converted) const
{
    converted.setNull();
    if (type != kArray && type != kPoint && type != kRect)
        return;
    LiveObject *made = nullptr;
    try {
        made = detail::newLiveArray(elementsOf(*this), nullptr);
    } catch (const std::bad_alloc &) {
        return;
    }
    if (made == nullptr)
        return;
    converted.type = kLiveObject; // takes over the reference
    converted.value.liveObject = made;
}

void Variant::convert(VariantType to)
{
    if (to == type)
        return;
    Variant converted;
    switch (to) {
    case kUndefined:
        break;
    case kBoolean:
        converted.setBool(getBool());
        break;
    case kNumber:
        converted.setDouble(doGetDouble());
        break;
    case kString:
        converted.setString(getString());
        break;
    case kPoint:
        converted.setPoint(pointFrom(VariantAccess::payloadArray(*this)));
        break;
    case kRect:
        converted.setRect(rectFrom(VariantAccess::payloadArray(*this)));
        break;
    case kArray:
        convertToArray(converted);
        break;
    case kLiveObject:
        convertToLiveObject(converted);
        break;
    case kRegExp:
        convertToRegExp(converted);
        break;
    default: // no other kind can be made from a value
        converted.setNull();
        break;
    }
    adopt(converted);
}

} // namespace Tavrin
