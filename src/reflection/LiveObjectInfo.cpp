// SPDX-License-Identifier: MIT
// A service is described by whoever provides it: a dynamic property by itself, a row by the
// property manager, the rest by a component or by what the overrides of the object tell. Objects
// and their records do not keep each other alive: the object counts a reference to its class
// record, and the record hears the object's farewell. Pinned by
// tests/reflection/LiveObjectInfoTest.cpp.
#include "reflection/LiveObjectInfo.h"

#include <utility>

#include <tavrin/LiveComponent.h>
#include <tavrin/LiveObject.h>

#include "live/Guarded.h"
#include "live/InfoRecords.h"
#include "live/LiveObjectData.h"
#include "live/Locked.h"
#include "live/SelfHold.h"
#include "reflection/ClassListing.h"
#include "reflection/PropServiceInfo.h"

namespace Tavrin {

using detail::guardedOr;
using detail::Locked;

namespace {

// Keeps the object alive and locked while its code runs.
class InUse
{
public:
    explicit InUse(const LiveObject &object) : held(object), locked(object) {}

private:
    const detail::SelfHold held;
    const Locked locked;
};

// Stores what the record of a host says. It may throw, and says nothing then.
template <class Question>
void tellInto(String &out, Question question)
{
    const int code = detail::guarded(nullptr, [&] {
        question();
        return 0;
    });
    if (code != 0)
        out.erase();
}

} // namespace

LiveObjectClassInfo::LiveObjectClassInfo(LiveObject &ofObject)
    : object(&ofObject), name(ofObject.getClassName())
{
    object->addListener(*this, Broadcaster::firstFarewell);
}

LiveObjectClassInfo::~LiveObjectClassInfo()
{
    if (object != nullptr)
        object->removeListener(*this, Broadcaster::firstFarewell);
}

bool LiveObjectClassInfo::notify(Message &)
{
    object = nullptr;
    return false;
}

void LiveObjectClassInfo::getName(String &out) const
{
    out = name;
    if (object != nullptr) {
        const InUse use(*object);
        detail::guardedAlone([&] { out = object->getClassName(); });
    }
}

ClassKind LiveObjectClassInfo::getKind() const
{
    return kClassOfObject;
}

int LiveObjectClassInfo::enumerate(SimpleArray &ids, int flags) const
{
    if (object == nullptr)
        return detail::errorInvalid;
    if ((flags & kListStatic) != 0)
        return 0;
    const InUse use(*object);
    return detail::guarded(nullptr, [&] {
        const int wanted = detail::withLanguage(flags);
        const int first = ids.length();
        const int code = object->enumerate(ids, wanted);
        if (const LivePropertyManager *manager = object->getPropertyManager()) {
            const Locked managerLock(*manager);
            // A constructor is no service of an instance.
            detail::dropByName(*manager, ids, first, wanted, [](int nameCode, bool hasName) {
                return nameCode == 0 && !hasName;
            });
        }
        return code;
    });
}

const ServiceInfo *LiveObjectClassInfo::getServiceInfo(const String &service) const
{
    if (object == nullptr)
        return nullptr;
    const InUse use(*object);
    return guardedOr<const ServiceInfo *>(nullptr, [&] {
        int id = 0;
        InfoType type = kInfoNone;
        const int code = object->getIDForName(service, id, type, kDefaultLanguage);
        return code == 0 ? newService(id) : nullptr;
    });
}

const ServiceInfo *LiveObjectClassInfo::getServiceInfo(int id) const
{
    if (object == nullptr)
        return nullptr;
    const InUse use(*object);
    return guardedOr<const ServiceInfo *>(nullptr, [&] { return newService(id); });
}

const ServiceInfo *LiveObjectClassInfo::getStaticServiceInfo(const String &service) const
{
    const LivePropertyManager *manager = object != nullptr ? object->getPropertyManager() : nullptr;
    if (service.length() > 0 || manager == nullptr)
        return nullptr;
    const Locked lock(*manager);
    return guardedOr<const ServiceInfo *>(
        nullptr, [&] { return manager->getConstructor(kDefaultLanguage); });
}

// The record of whoever answers first for the id, or null.
const ServiceInfo *LiveObjectClassInfo::newService(int id) const
{
    if (!object->isValid())
        return nullptr;
    if (const LiveProperty *property = object->findProperty(id))
        return newPropertyService(*property);
    const ServiceInfo *record = newRowService(id);
    return record != nullptr ? record : newOverrideService(id);
}

// A property whose value lives with listeners may hold anything.
const ServiceInfo *LiveObjectClassInfo::newPropertyService(const LiveProperty &property) const
{
    const bool isMethod = (property.getFlags() & kPropertyShownAsMethod) != 0;
    const PropertyUse use(*detail::LiveObjectAccess::data(*object));
    Variant value;
    if ((property.getFlags() & kPropertyByMessage) == 0)
        property.get(value);
    const VariantType kind = value.isDefined() ? value.getType() : kAnyType;
    auto record = InterfacePtr<const ServiceInfo>::adopt(
        detail::newServiceRecord(property.getID(), property.getName(),
                                 isMethod ? kInfoMethod : property.getType(), String()));
    if (!record)
        return nullptr;
    return new LiveObjectServiceInfo(*this, std::move(record), kind);
}

const ServiceInfo *LiveObjectClassInfo::newRowService(int id) const
{
    InterfacePtr<const ServiceInfo> record;
    if (const LivePropertyManager *manager = object->getPropertyManager()) {
        const Locked lock(*manager);
        record =
            InterfacePtr<const ServiceInfo>::adopt(manager->getServiceInfo(id, kDefaultLanguage));
    }
    if (!record) {
        if (const InterfacePtr<LiveComponent> component = object->getComponent(id, nullptr)) {
            const Locked lock(*component);
            record = InterfacePtr<const ServiceInfo>::adopt(
                component->getServiceInfo(*object, id, kDefaultLanguage));
        }
    }
    if (!record)
        return nullptr;
    return new LiveObjectServiceInfo(*this, std::move(record), kNoType);
}

// What only the overrides of a class know, as the length of a collection.
const ServiceInfo *LiveObjectClassInfo::newOverrideService(int id) const
{
    String service;
    if (object->getNameForID(id, service, kDefaultLanguage) != 0)
        return nullptr;
    const InfoType type = object->getType(id);
    if (type == kInfoNone)
        return nullptr;
    auto record = InterfacePtr<const ServiceInfo>::adopt(
        detail::newServiceRecord(id, service, type, String()));
    if (!record)
        return nullptr;
    return new LiveObjectServiceInfo(*this, std::move(record), kAnyType);
}

LiveObjectServiceInfo::LiveObjectServiceInfo(const ClassInfo &ofClass,
                                             InterfacePtr<const ServiceInfo> record,
                                             VariantType kind)
    : owner(&ofClass), service(std::move(record)), valueType(kind)
{}

LiveObjectServiceInfo::~LiveObjectServiceInfo() = default;

int LiveObjectServiceInfo::getLanguage() const
{
    return guardedOr(0, [&] { return service->getLanguage(); });
}

// Records are handed out as constant ones, and this operation is none of a constant.
InfoState LiveObjectServiceInfo::getState()
{
    return guardedOr(kStateDynamic,
                     [&] { return const_cast<ServiceInfo *>(service.get())->getState(); });
}

void LiveObjectServiceInfo::getName(String &out) const
{
    tellInto(out, [&] { service->getName(out); });
}

void LiveObjectServiceInfo::getDescription(bool longForm, String &out) const
{
    tellInto(out, [&] { service->getDescription(longForm, out); });
}

int LiveObjectServiceInfo::getID() const
{
    return guardedOr(0, [&] { return service->getID(); });
}

InfoType LiveObjectServiceInfo::getType() const
{
    return guardedOr(kInfoNone, [&] { return service->getType(); });
}

const TypeInfo &LiveObjectServiceInfo::getTypeInfo() const
{
    if (valueType.getDataType() != kNoType)
        return valueType;
    return *guardedOr<const TypeInfo *>(&valueType, [&] { return &service->getTypeInfo(); });
}

const TypeInfo &LiveObjectServiceInfo::getTypeInfo2() const
{
    if (valueType.getDataType() != kNoType)
        return valueType;
    return *guardedOr<const TypeInfo *>(&valueType, [&] { return &service->getTypeInfo2(); });
}

int LiveObjectServiceInfo::getParamCount() const
{
    return guardedOr(0, [&] { return service->getParamCount(); });
}

const ParamInfo *LiveObjectServiceInfo::getParamInfo(int index) const
{
    return guardedOr<const ParamInfo *>(nullptr, [&]() -> const ParamInfo * {
        auto record = InterfacePtr<const ParamInfo>::adopt(service->getParamInfo(index));
        if (!record)
            return nullptr;
        return new LiveObjectParamInfo(*this, std::move(record), index);
    });
}

// A class that is only declared cannot be tried as a text, so the overload is chosen by its type.
bool LiveObjectServiceInfo::getSampleCode(FileSpec &out) const
{
    bool (ServiceInfo::*const toFile)(FileSpec &) const = &ServiceInfo::getSampleCode;
    return guardedOr(false, [&] { return (*service.*toFile)(out); });
}

bool LiveObjectServiceInfo::getSampleCode(String &out) const
{
    return guardedOr(false, [&] { return service->getSampleCode(out); });
}

LiveObjectParamInfo::LiveObjectParamInfo(const ServiceInfo &ofService,
                                         InterfacePtr<const ParamInfo> record, int atIndex)
    : owner(&ofService), param(std::move(record)), index(atIndex)
{}

LiveObjectParamInfo::~LiveObjectParamInfo() = default;

int LiveObjectParamInfo::getLanguage() const
{
    return guardedOr(0, [&] { return param->getLanguage(); });
}

InfoState LiveObjectParamInfo::getState()
{
    return guardedOr(kStateDynamic,
                     [&] { return const_cast<ParamInfo *>(param.get())->getState(); });
}

void LiveObjectParamInfo::getName(String &out) const
{
    tellInto(out, [&] { param->getName(out); });
    if (out.length() == 0)
        detail::guardedAlone([&] { out = detail::nameOfArgument(index); });
}

void LiveObjectParamInfo::getDescription(bool longForm, String &out) const
{
    tellInto(out, [&] { param->getDescription(longForm, out); });
}

const TypeInfo &LiveObjectParamInfo::getTypeInfo() const
{
    return *guardedOr<const TypeInfo *>(&noType, [&] { return &param->getTypeInfo(); });
}

} // namespace Tavrin
