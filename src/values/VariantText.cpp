// SPDX-License-Identifier: MIT
// The text of values, and numbers in text.
// Pinned by tests/values/VariantTextTest.cpp.
#include <algorithm>

#include <tavrin/Array.h>
#include <tavrin/Geometry.h>
#include <tavrin/Variant.h>

#include "text/NumberText.h"
#include "values/LiveValue.h"
#include "values/RegExpValue.h"
#include "values/ScriptObject.h"
#include "values/Truncation.h"
#include "values/VariantAccess.h"

namespace Tavrin {

using detail::NumberForm;
using detail::VariantAccess;

namespace {

constexpr int usualPrecision = 15;
constexpr int mostPrecision = 100;

bool isDecimal(int radix)
{
    return radix == 10 || radix == 0;
}

void writeNumber(double number, int radix, String &out)
{
    const int whole = detail::truncateTo32(number);
    if (isDecimal(radix) && whole == number)
        detail::formatInteger(whole, out);
    else
        detail::formatNumber(number, radix, usualPrecision, NumberForm::shortest, out);
}

void appendTruncated(double number, String &out)
{
    String digits;
    detail::formatInteger(detail::truncateTo32(number), digits);
    out += digits;
}

void writePoint(const Point &point, String &out)
{
    out.clear();
    appendTruncated(point.x, out);
    out += ':';
    appendTruncated(point.y, out);
}

void writeRect(const Rect &rect, String &out)
{
    String bottomRight;
    writePoint({rect.right, rect.bottom}, bottomRight);
    writePoint({rect.left, rect.top}, out);
    out += '-';
    out += bottomRight;
}

void writeArray(const Array *array, String &out)
{
    out = '[';
    if (array != nullptr)
        array->toString(out);
    out += ']';
}

} // namespace

void VariantAccess::writeText(const Variant &variant, int radix, String &out)
{
    switch (variant.type) {
    case kUndefined:
        out = "undefined";
        break;
    case kNull:
        out = "null";
        break;
    case kBoolean:
        out = variant.value.bits != 0 ? "true" : "false";
        break;
    case kNumber:
        if ((variant.attrs & Variant::TEXT_VALID) != 0)
            out = variant.textSlot();
        else
            writeNumber(variant.value.number, radix, out);
        break;
    case kObject:
        if (variant.jsObject != nullptr)
            out = detail::textOf(*variant.jsObject);
        else
            out = variant.ownText();
        break;
    case kLiveObject:
        detail::writeLiveObject(*variant.value.liveObject, out);
        break;
    case kRegExp:
        out = detail::patternOf(variant.value.regExp);
        break;
    case kPoint:
        writePoint(variant.value.point != nullptr ? *variant.value.point : Point(), out);
        break;
    case kRect:
        writeRect(variant.value.rect != nullptr ? *variant.value.rect : Rect(), out);
        break;
    case kArray:
        writeArray(variant.value.array, out);
        break;
    default:
        out = variant.ownText();
        break;
    }
}

const String &Variant::ownText() const noexcept
{
    return hasText() ? textSlot() : String::emptyString();
}

void Variant::assignText(const String &string) const noexcept
{
    try {
        textSlot() = string;
    } catch (const std::bad_alloc &) { // a pinned text is copied
        textSlot().erase();
    }
}

void Variant::dropText() const noexcept
{
    if (hasText())
        textSlot().erase();
}

// Whether the text slot holds the text form already.
bool Variant::hasCurrentText() const noexcept
{
    if (type == kObject)
        return jsObject == nullptr;
    return type == kString || (type == kNumber && (attrs & TEXT_VALID) != 0);
}

void Variant::doToString(int radix) const
{
    if (hasCurrentText())
        return;
    if (!hasText())
        ::new (static_cast<void *>(textStorage)) String();
    setNumAttrs();
    try {
        // Not into the slot: an object that is asked for its text may use this value, and even give
        // it another one.
        String text = std::move(textSlot());
        VariantAccess::writeText(*this, radix, text);
        if (hasCurrentText())
            return;
        textSlot() = std::move(text);
        if (type == kNumber)
            attrs |= TEXT_VALID;
    } catch (const std::bad_alloc &) {
        dropText();
    }
}

const String &Variant::getString() const
{
    return getString(10);
}

const String &Variant::getString(int radix) const
{
    if (type != kString)
        doToString(radix);
    return ownText();
}

const String &Variant::getString(int mode, int precision) const
{
    if (type != kNumber)
        return getString();
    if (!hasText())
        ::new (static_cast<void *>(textStorage)) String();
    attrs &= static_cast<unsigned short>(~TEXT_VALID);
    try {
        detail::formatNumber(value.number, 10, std::clamp(precision, 0, mostPrecision),
                             static_cast<NumberForm>(std::clamp(mode, 0, 2)), textSlot());
    } catch (const std::bad_alloc &) {
        dropText();
    }
    return ownText();
}

String Variant::toString() const
{
    if (type == kObject && jsObject != nullptr)
        return detail::primitiveOf(*this, detail::Wanted::text).getString();
    return getString();
}

void Variant::toString(String &out) const
{
    out = toString();
}

double Variant::scanDouble(const String &text, int flags, String *rest)
{
    return detail::scanDouble(text, flags, rest);
}

double Variant::scanInteger(const String &text, int radix, int flags, String *rest)
{
    return detail::scanInteger(text, radix, flags, rest);
}

} // namespace Tavrin
