// SPDX-License-Identifier: MIT
// Types, and how they are read from the description of a service: Description.h cuts it into
// fields, and here a field becomes a type. Pinned by tests/reflection/TypeInfoTest.cpp.
#include <tavrin/Reflection.h>

#include <charconv>
#include <iterator>
#include <memory>
#include <new>

#include <tavrin/UnicodeUtils.h>

#include "reflection/Description.h"
#include "reflection/PropServiceInfo.h"
#include "reflection/TextAnswers.h"
#include "values/VariantTypeNames.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

struct Word
{
    const char *word;
    VariantType type;
};

// D-282: words for other kinds of value are names of classes.
constexpr Word words[] = {
    {"undefined", kUndefined}, {"boolean", kBoolean}, {"bool", kBoolean},  {"number", kNumber},
    {"int", kNumber},          {"uint", kNumber},     {"string", kString}, {"object", kObject},
    {"Object", kObject},       {"any", kAnyType},
};

constexpr const char *anyWord = "any";

struct ConstantValue
{
    const char *word;
    Variant (*make)();
};

constexpr ConstantValue constantValues[] = {
    {"undefined", [] { return Variant(); }},
    {"null",
     [] {
         Variant null;
         null.setNull();
         return null;
     }},
    {"false", [] { return Variant(false); }},
    {"true", [] { return Variant(true); }},
};

double numberOf(UnitView text)
{
    return Variant::scanDouble(StringAccess::make(text), 0, nullptr);
}

// D-283: not a point.
bool beginsNumber(unsigned short unit)
{
    return (unit >= '0' && unit <= '9') || unit == '-' || unit == '+';
}

Variant defaultOf(UnitView text)
{
    for (const ConstantValue &constant : constantValues)
        if (detail::isText(text, constant.word))
            return constant.make();
    if (beginsNumber(*text.units))
        return numberOf(text);
    return StringAccess::make(text);
}

} // namespace

TypeInfo::~TypeInfo() = default;

const char *TypeInfo::convertDataTypeToString(VariantType type)
{
    return type <= kUnitValue ? detail::variantTypeNames[type] : anyWord;
}

void TypeInfo::getDataTypeAsString(String &out) const
{
    detail::answer(out, convertDataTypeToString(getDataType()));
}

void TypeInfo::getDataClass(String &out) const
{
    out.erase();
}

bool TypeInfo::isCollection() const
{
    return false;
}

bool TypeInfo::getValidRange(double &min, double &max) const
{
    min = -std::numeric_limits<double>::infinity();
    max = std::numeric_limits<double>::infinity();
    return false;
}

bool TypeInfo::getDefaultValue(Variant &out) const
{
    out.erase();
    return false;
}

void TypeInfo::getDescription(String &out) const
{
    out.erase();
}

SimpleTypeInfo::SimpleTypeInfo() = default;
SimpleTypeInfo::~SimpleTypeInfo() = default;

VariantType SimpleTypeInfo::getDataType() const
{
    return dataType;
}

void SimpleTypeInfo::getDataTypeAsString(String &out) const
{
    if (dataClass.length() > 0)
        out = dataClass;
    else
        TypeInfo::getDataTypeAsString(out);
}

void SimpleTypeInfo::getDataClass(String &out) const
{
    out = dataClass;
}

bool SimpleTypeInfo::isCollection() const
{
    return isCollection_;
}

bool SimpleTypeInfo::getValidRange(double &min, double &max) const
{
    min = minValue;
    max = maxValue;
    return hasRange;
}

bool SimpleTypeInfo::getDefaultValue(Variant &out) const
{
    out = defaultValue;
    return hasDefault;
}

void SimpleTypeInfo::getDescription(String &out) const
{
    out = shortDescription;
}

void SimpleTypeInfo::setWord(UnitView word)
{
    for (const Word &known : words) {
        if (detail::isText(word, known.word)) {
            dataType = known.type;
            return;
        }
    }
    dataType = kAnyType;
    if (word.length > 0 && UnicodeUtils::iswalpha(*word.units)) {
        dataType = kObject;
        dataClass = StringAccess::make(word);
    }
}

// word;min;max;default;collection
void SimpleTypeInfo::read(UnitView text)
{
    setWord(detail::stripped(detail::cutAt(text, ';')));
    const UnitView min = detail::cutAt(text, ';');
    const UnitView max = detail::cutAt(text, ';');
    const UnitView standard = detail::cutAt(text, ';');
    if (min.length > 0)
        minValue = numberOf(min);
    if (max.length > 0)
        maxValue = numberOf(max);
    hasRange = min.length > 0 || max.length > 0;
    hasDefault = standard.length > 0;
    if (hasDefault)
        defaultValue = defaultOf(standard);
    isCollection_ = text.length > 0;
}

String detail::nameOfArgument(int index)
{
    char digits[16];
    const auto end = std::to_chars(digits, std::end(digits) - 1, std::int64_t{index} + 1);
    *end.ptr = 0;
    return String("arg") + digits;
}

SimpleTypeInfo::SimpleTypeInfo(UnitView type, const String &shortText, const String &longText)
    : shortDescription(shortText), longDescription(longText)
{
    read(type);
}

SimpleTypeInfo *TypeInfo::parse(const String &text, int index, String *name, String *shortText,
                                String *longText, TypeInfo **setterType)
try {
    const UnitView description = StringAccess::view(text);
    const bool isParam = index >= 0;
    const detail::DescriptionSegment segment = detail::segmentOf(description, isParam ? index : -1);
    String newName = isParam ? detail::nameOfArgument(index) : String();
    String newShortText = StringAccess::make(segment.shortText);
    String newLongText = StringAccess::make(segment.longText);
    UnitView type = segment.head;
    UnitView front;
    if (detail::cutIfAt(type, ':', front))
        newName = StringAccess::make(detail::stripped(front));
    std::unique_ptr<SimpleTypeInfo> setter;
    if (!isParam && detail::cutIfAt(type, '/', front)) {
        if (setterType != nullptr && type.length > 0)
            setter = std::make_unique<SimpleTypeInfo>(type, newShortText, newLongText);
        type = front;
    }
    auto result = segment.isEmpty
                      ? std::make_unique<SimpleTypeInfo>()
                      : std::make_unique<SimpleTypeInfo>(type, newShortText, newLongText);
    detail::answer(name, std::move(newName));
    detail::answer(shortText, std::move(newShortText));
    detail::answer(longText, std::move(newLongText));
    if (setterType != nullptr)
        *setterType = setter.release();
    return result.release();
} catch (const std::bad_alloc &) {
    return nullptr;
}

} // namespace Tavrin
