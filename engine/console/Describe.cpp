// SPDX-License-Identifier: MIT
#include <tavrin/LiveObject.h>
#include <tavrin/Refcountable.h>
#include <tavrin/Reflection.h>
#include <tavrin/SimpleArray.h>

#include "console/Console.h"

using Tavrin::ClassInfo;
using Tavrin::InterfacePtr;
using Tavrin::LiveObject;
using Tavrin::ParamInfo;
using Tavrin::ServiceInfo;
using Tavrin::String;
using Tavrin::TypeInfo;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int textColumn = 40;

String typeOf(const TypeInfo &type)
{
    String text;
    type.getDataTypeAsString(text);
    if (type.isCollection())
        text += "[]";
    return text;
}

String rangeOf(const TypeInfo &type)
{
    double min = 0;
    double max = 0;
    if (!type.getValidRange(min, max))
        return {};
    return String(" ") + Variant(min).getString() + " to " + Variant(max).getString();
}

String parameterOf(const ParamInfo &parameter)
{
    String text;
    parameter.getName(text);
    text += ": ";
    text += typeOf(parameter.getTypeInfo()) + rangeOf(parameter.getTypeInfo());
    Variant value;
    if (parameter.getTypeInfo().getDefaultValue(value))
        text += String(" = ") + value.toString();
    return text;
}

String parametersOf(const ServiceInfo &service)
{
    String text("(");
    for (int at = 0; at < service.getParamCount(); ++at) {
        const auto parameter = InterfacePtr<const ParamInfo>::adopt(service.getParamInfo(at));
        if (!parameter)
            continue;
        if (at != 0)
            text += ", ";
        text += parameterOf(*parameter);
    }
    text += ")";
    return text;
}

bool isMethod(const ServiceInfo &service)
{
    return service.getType() == Tavrin::kInfoMethod;
}

String headOf(const ServiceInfo &service, const String &name)
{
    String head = name;
    if (isMethod(service))
        head += parametersOf(service);
    head += ": ";
    head += typeOf(service.getTypeInfo()) + rangeOf(service.getTypeInfo());
    if (service.getType() == Tavrin::kInfoReadOnly ||
        service.getType() == Tavrin::kInfoReadOnlyMethod)
        head += ", read only";
    return head;
}

void addLine(String &out, const char *indent, const String &head, const String &description)
{
    String line(indent);
    line += head;
    if (description.length() != 0) {
        do
            line += ' ';
        while (line.length() < textColumn);
        line += description;
    }
    out += line;
    out += '\n';
}

void addService(String &out, const ServiceInfo &service)
{
    String name;
    String description;
    service.getName(name);
    service.getDescription(false, description);
    addLine(out, "  ", headOf(service, name), description);
}

void addServices(String &out, const ClassInfo &info, bool wantsMethods)
{
    Tavrin::SimpleArray ids;
    info.enumerate(ids, wantsMethods ? Tavrin::kListMethods
                                     : Tavrin::kListReadOnly | Tavrin::kListReadWrite);
    for (const std::int64_t id : ids) {
        const auto service =
            InterfacePtr<const ServiceInfo>::adopt(info.getServiceInfo(static_cast<int>(id)));
        String name;
        if (service)
            service->getName(name);
        if (service && isMethod(*service) == wantsMethods && name.length() != 0)
            addService(out, *service);
    }
}

String describe(const LiveObject &object)
{
    const auto info = InterfacePtr<const ClassInfo>::adopt(object.getClassInfo(0));
    if (!info)
        return {};
    String name;
    String description;
    info->getName(name);
    info->getDescription(false, description);
    String out;
    addLine(out, "", String("class ") + name, description);
    const auto constructor =
        InterfacePtr<const ServiceInfo>::adopt(info->getStaticServiceInfo(String()));
    if (constructor) {
        constructor->getDescription(false, description);
        addLine(out, "  ", String("new ") + name + parametersOf(*constructor), description);
    }
    addServices(out, *info, false);
    addServices(out, *info, true);
    return out;
}

} // namespace

String descriptionOf(const Variant &value)
{
    LiveObject *object = value.getLiveObject();
    if (object == nullptr && value.getType() == Tavrin::kString)
        object = LiveObject::getFactory(value.getString(), -1);
    return object != nullptr ? describe(*object) : String();
}

} // namespace TvScript
