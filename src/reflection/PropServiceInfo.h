// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <tavrin/Reflection.h>

namespace Tavrin {

// PropParamInfo: a parameter that the description of a property row has.
// Owns:    copies of its texts.
// Failure: std::bad_alloc from the constructor.
class PropParamInfo final : public ParamInfo
{
public:
    PropParamInfo(const String &description, int index);

    void getName(String &out) const override;
    void getDescription(bool longForm, String &out) const override;
    const TypeInfo &getTypeInfo() const override;

private:
    ~PropParamInfo() override;

    String name;
    String shortText;
    String longText;
    std::unique_ptr<const TypeInfo> type;
};

namespace detail {

// The type that TypeInfo::parse gives; std::bad_alloc without memory.
std::unique_ptr<TypeInfo> parsedType(const String &description, int index, String *name,
                                     String *shortText, String *longText, TypeInfo **setterType);

// How a parameter without a name is called, by its index from 0 on.
String nameOfArgument(int index);

} // namespace detail
} // namespace Tavrin
