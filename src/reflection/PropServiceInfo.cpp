// SPDX-License-Identifier: MIT
// Services and parameters of property tables. Pinned by tests/reflection/PropServiceInfoTest.cpp.
#include "reflection/PropServiceInfo.h"

#include <new>

#include "reflection/Description.h"
#include "runtime/BlockCache.h"

namespace Tavrin {

std::unique_ptr<TypeInfo> detail::parsedType(const String &description, int index, String *name,
                                             String *shortText, String *longText,
                                             TypeInfo **setterType)
{
    std::unique_ptr<TypeInfo> type(
        TypeInfo::parse(description, index, name, shortText, longText, setterType));
    if (type == nullptr)
        throwOutOfMemory();
    return type;
}

PropServiceInfo::PropServiceInfo(int withID, const String &withName, InfoType ofType,
                                 const String &withDescription)
    : name(withName),
      description(withDescription),
      id(withID),
      type(ofType),
      typeInfo(detail::parsedType(description, -1, nullptr, &shortText, &longText, &setterTypeInfo)
                   .release())
{}

PropServiceInfo::~PropServiceInfo()
{
    delete setterTypeInfo;
    delete typeInfo;
}

void PropServiceInfo::getName(String &out) const
{
    out = name;
}

void PropServiceInfo::getDescription(bool longForm, String &out) const
{
    out = longForm ? longText : shortText;
}

int PropServiceInfo::getID() const
{
    return id;
}

InfoType PropServiceInfo::getType() const
{
    return type;
}

const TypeInfo &PropServiceInfo::getTypeInfo() const
{
    return *typeInfo;
}

const TypeInfo &PropServiceInfo::getTypeInfo2() const
{
    return setterTypeInfo != nullptr ? *setterTypeInfo : *typeInfo;
}

int PropServiceInfo::getParamCount() const
{
    return detail::countParams(detail::StringAccess::view(description));
}

const ParamInfo *PropServiceInfo::getParamInfo(int index) const
try {
    if (index < 0 || index >= getParamCount())
        return nullptr;
    return new PropParamInfo(description, index);
} catch (const std::bad_alloc &) {
    return nullptr;
}

PropParamInfo::PropParamInfo(const String &description, int index)
    : type(detail::parsedType(description, index, &name, &shortText, &longText, nullptr))
{
    if (name.length() == 0)
        name = detail::nameOfArgument(index);
}

PropParamInfo::~PropParamInfo() = default;

void PropParamInfo::getName(String &out) const
{
    out = name;
}

void PropParamInfo::getDescription(bool longForm, String &out) const
{
    out = longForm ? longText : shortText;
}

const TypeInfo &PropParamInfo::getTypeInfo() const
{
    return *type;
}

} // namespace Tavrin
