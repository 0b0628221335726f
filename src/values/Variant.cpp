// SPDX-License-Identifier: MIT
// Storage, ownership and what is known about a value.
//
// A value has a slot for its payload, one for its script object and one for its text. A slot that
// the kind does not use is zero, but for the text, which stays as a cache. Whatever releases a
// payload has made the value whole before: the release may run code of a script that looks at it,
// and what is assigned may be part of what is released. So a new payload is complete before the old
// one goes.
// Pinned by tests/values/VariantTest.cpp, VariantAssignmentTest.cpp and VariantNumberTest.cpp.
#include <tavrin/Variant.h>

#include <cmath>
#include <iterator>
#include <limits>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tvscript/Object.h>

#include "containers/ArrayRecord.h"
#include "runtime/HeapInline.h"
#include "runtime/OnHeap.h"
#include "values/ErrorCodes.h"
#include "values/LiveValue.h"
#include "values/RegExpValue.h"
#include "values/ScriptObject.h"
#include "values/VariantAccess.h"
#include "values/VariantTypeNames.h"

namespace Tavrin {

using detail::copyOrNull;

namespace detail {

const char *const variantTypeNames[] = {
    "undefined", "null", "boolean", "number",   "string", "Object",    "Object",
    "point",     "rect", "array",   "filespec", "regexp", "unitvalue", nullptr,
};
static_assert(std::size(variantTypeNames) == kUnitValue + 2);

} // namespace detail

namespace {

// The one class of a double.
unsigned classify(double number) noexcept
{
    if (std::isnan(number))
        return Variant::NUM_NAN;
    if (std::isinf(number))
        return number < 0 ? Variant::NUM_NEGINF : Variant::NUM_POSINF;
    if (number == 0 && std::signbit(number))
        return Variant::NUM_MINUS0;
    return Variant::NUM_FINITE;
}

constexpr unsigned finiteMask =
    Variant::NUM_FINITE | Variant::NUM_INTEGER | Variant::NUM_UINTEGER | Variant::NUM_MINUS0;
constexpr unsigned knownMask = Variant::NUM_ATTRS_SET - 1U;
constexpr unsigned minus0Attrs = finiteMask | Variant::NUM_ATTRS_SET;

// All that is known about a double.
unsigned describe(double number) noexcept
{
    constexpr unsigned finite = Variant::NUM_ATTRS_SET | Variant::NUM_FINITE;
    if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
        const int whole = static_cast<int>(number);
        if (whole != number)
            return finite;
        if (whole == 0 && std::signbit(number))
            return minus0Attrs;
        return finite | Variant::NUM_INTEGER | (whole >= 0 ? Variant::NUM_UINTEGER : 0U);
    }
    const bool isUnsigned = number > 0 && number <= std::numeric_limits<unsigned>::max() &&
                            static_cast<unsigned>(number) == number;
    return isUnsigned ? finite | Variant::NUM_UINTEGER : classify(number) | Variant::NUM_ATTRS_SET;
}

// The payload of array values, which are copied all the time.
Array *newArray(const Array &source) noexcept
{
    void *storage = nullptr;
    try {
        storage = detail::allocate(sizeof(Array));
        return ::new (storage) Array(source);
    } catch (const std::bad_alloc &) {
        detail::release(storage);
        return nullptr;
    }
}

void deleteArray(Array *array) noexcept
{
    if (array == nullptr)
        return;
    detail::dropRecord(detail::ArrayAccess::record(*array));
    detail::release(array); // there is nothing else to destroy
}

// How a value lies with respect to an inclusive range.
template <class Number>
int checkRange(Number value, Number lo, Number hi)
{
    return value >= lo && value <= hi ? 0 : detail::errorOutOfRange;
}

} // namespace

// What a value held, once it does not hold it any more: the end of it releases.
class Variant::Released
{
public:
    explicit Released(Variant &from) noexcept
        : type(from.type), value(from.value), jsObject(from.jsObject)
    {
        from.type = kUndefined;
        from.value.bits = 0;
        from.jsObject = nullptr;
        if (jsObject != nullptr && from.isHardRef())
            detail::dropHardHolder(*jsObject);
    }
    Released(const Released &) = delete;
    Released &operator=(const Released &) = delete;
    ~Released()
    {
        switch (type) {
        case kObject:
            if (jsObject != nullptr)
                detail::dropObject(*jsObject);
            break;
        case kLiveObject:
            detail::dropLiveObject(*value.liveObject);
            break;
        case kPoint:
            detail::deleteOnHeap(value.point);
            break;
        case kRect:
            detail::deleteOnHeap(value.rect);
            break;
        case kArray:
            deleteArray(value.array);
            break;
        case kRegExp:
            detail::deleteRegExp(value.regExp);
            break;
        default:
            break;
        }
    }

private:
    VariantType type;
    Payload value;
    TvScript::Object *jsObject;
};

void Variant::doErase() noexcept
{
    attrs &= holderMask;
    const Released released(*this);
}

void Variant::replace(VariantType kind, Payload payload, unsigned bits)
{
    const Released released(*this);
    value = payload;
    type = kind;
    attrs = static_cast<std::uint16_t>((attrs & holderMask) | bits);
}

// A string, from a kind below kObject.
void Variant::takeString(const Variant &other) noexcept
{
    takePlain(other);
    if (!other.hasText())
        dropText();
    else if (hasText())
        assignText(other.textSlot());
    else
        makeText(other.textSlot());
}

Variant::Variant(const Array &array) noexcept : Variant(kArray, 0)
{
    value.array = newArray(array);
}

void Variant::copyPayload(const Variant &other) noexcept
{
    switch (type) {
    case kString:
        if (other.hasText())
            makeText(other.textSlot());
        break;
    case kObject:
        jsObject = other.jsObject;
        if (jsObject != nullptr) {
            detail::addObject(*jsObject);
        } else {
            objectID = other.objectID;
            if (other.hasText())
                makeText(other.textSlot());
        }
        break;
    case kLiveObject: // whose number stays behind
        value = other.value;
        detail::holdLiveObject(*value.liveObject);
        break;
    case kPoint:
        value.point = other.value.point != nullptr ? copyOrNull(*other.value.point) : nullptr;
        break;
    case kRect:
        value.rect = other.value.rect != nullptr ? copyOrNull(*other.value.rect) : nullptr;
        break;
    case kArray:
        value.array = other.value.array != nullptr ? newArray(*other.value.array) : nullptr;
        break;
    default: // D-153: the kind of a regular expression is copied, the expression is not
        value.bits = 0;
        break;
    }
}

void Variant::movePayload(Variant &other) noexcept
{
    type = kUndefined;
    adopt(other);
}

void Variant::destroyPayload() noexcept
{
    if (type == kArray)
        deleteArray(value.array);
    else if (type >= kObject)
        doErase();
    if (hasText())
        textSlot().~String();
}

void Variant::assign(const Variant &other)
{
    if (type < kObject && other.type < kObject) {
        if (other.type == kString)
            takeString(other);
        else
            takePlain(other);
    } else if (this != &other) {
        Variant fresh(other); // which may be part of what this value holds
        adopt(fresh);
    }
}

void Variant::moveFrom(Variant &other) noexcept
{
    if (type < kObject && other.type < kObject) {
        takePlain(other);
        if (type == kString && this != &other) {
            std::swap(textStorage, other.textStorage);
            other.type = kUndefined;
        }
    } else if (this != &other) {
        Variant fresh(std::move(other)); // which may be part of what this value holds
        adopt(fresh);
    }
}

// Takes over what `fresh` holds, which becomes undefined.
void Variant::adopt(Variant &fresh)
{
    const Released released(*this);
    const bool isUnassigned = fresh.type == kObject && fresh.jsObject == nullptr;
    if (fresh.jsObject != nullptr) {
        if (fresh.isHardRef())
            detail::dropHardHolder(*fresh.jsObject);
        if (isHardRef())
            detail::addHardHolder(*fresh.jsObject);
    }
    takePlain(fresh);
    if (isUnassigned)
        objectID = fresh.objectID;
    jsObject = std::exchange(fresh.jsObject, nullptr);
    fresh.type = kUndefined;
    fresh.value.bits = 0;
    if (isUnassigned || type == kString)
        std::swap(textStorage, fresh.textStorage);
}

void Variant::setNaN()
{
    become(kNumber, {.number = std::numeric_limits<double>::quiet_NaN()}, NUM_ATTRS_SET | NUM_NAN);
}

void Variant::setPosInfinity()
{
    become(kNumber, {.number = std::numeric_limits<double>::infinity()},
           NUM_ATTRS_SET | NUM_POSINF);
}

void Variant::setNegInfinity()
{
    become(kNumber, {.number = -std::numeric_limits<double>::infinity()},
           NUM_ATTRS_SET | NUM_NEGINF);
}

void Variant::setMinus0()
{
    become(kNumber, {.number = -0.0}, minus0Attrs);
}

// The text may be that of this value, or of a part of its payload.
template <class Text>
void Variant::setText(const Text &text)
{
    if (type >= kObject) {
        Variant fresh(kString, 0);
        fresh.setText(text);
        adopt(fresh);
        return;
    }
    try {
        if (hasText()) {
            textSlot() = text;
        } else {
            String fresh(text);
            ::new (static_cast<void *>(textStorage)) String(std::move(fresh));
        }
    } catch (const std::bad_alloc &) {
        dropText();
    }
    become(kString, {});
}

void Variant::setString(const String &string)
{
    setText(string);
}

void Variant::setString(const char *bytes)
{
    setText(bytes);
}

void Variant::setString(const char *bytes, const Encoder *encoder)
{
    try {
        setText(String(bytes, encoder));
    } catch (const std::bad_alloc &) {
        setText(String());
    }
}

void Variant::setString(const unsigned short *units)
{
    setText(units);
}

void Variant::setPoint(const Point &point)
{
    become(kPoint, {.point = copyOrNull(point)});
}

void Variant::setRect(const Rect &rect)
{
    become(kRect, {.rect = copyOrNull(rect)});
}

void Variant::setArray(const Array &array)
{
    become(kArray, {.array = newArray(array)});
}

void Variant::setNumAttrs() const
{
    if (type == kNumber && (attrs & NUM_ATTRS_SET) == 0)
        attrs = static_cast<unsigned short>((attrs & (holderMask | TEXT_VALID)) |
                                            describe(value.number));
}

void Variant::doSetNumAttrs() const noexcept
{
    attrs = static_cast<unsigned short>((attrs & holderMask) | classify(value.number));
}

// The bits of a number, classified at least.
unsigned Variant::knownAttrs() const noexcept
{
    if ((attrs & knownMask) == 0)
        doSetNumAttrs();
    return attrs;
}

bool Variant::isNaN() const
{
    return type == kNumber ? (knownAttrs() & NUM_NAN) != 0 : doIsNaN();
}

bool Variant::isFinite() const
{
    return type == kNumber ? (knownAttrs() & finiteMask) != 0 : doIsFinite();
}

bool Variant::isMinus0() const
{
    return type == kNumber ? (knownAttrs() & NUM_MINUS0) != 0 : doIsMinus0();
}

bool Variant::doIsNaN() const
{
    return classify(doGetDouble()) == NUM_NAN;
}

bool Variant::doIsFinite() const
{
    return (classify(doGetDouble()) & finiteMask) != 0;
}

bool Variant::doIsMinus0() const
{
    return classify(doGetDouble()) == NUM_MINUS0;
}

// D-154: the bit of a hard holder stands in the same word, and looks like knowledge of the number.
bool Variant::hasNumAttr(unsigned bit) const
{
    if (type != kNumber)
        return false;
    if (attrs < NUM_ATTRS_SET)
        setNumAttrs();
    return (attrs & bit) != 0;
}

bool Variant::isInteger() const
{
    return hasNumAttr(NUM_INTEGER);
}

bool Variant::isUInteger() const
{
    return hasNumAttr(NUM_UINTEGER);
}

int Variant::validateSlowly(int lo, int hi) const
{
    return isInteger() ? checkRange<double>(value.number, lo, hi) : detail::errorTypeMismatch;
}

int Variant::validate(unsigned int lo, unsigned int hi) const
{
    return isUInteger() ? checkRange<double>(value.number, lo, hi) : detail::errorTypeMismatch;
}

int Variant::validate(double lo, double hi) const
{
    return type == kNumber ? checkRange(value.number, lo, hi) : detail::errorTypeMismatch;
}

int Variant::validate(VariantType kind) const
{
    return getDataType() == kind ? 0 : detail::errorTypeMismatch;
}

} // namespace Tavrin
