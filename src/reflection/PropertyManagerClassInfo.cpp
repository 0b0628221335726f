// SPDX-License-Identifier: MIT
// Pinned by tests/reflection/PropServiceInfoTest.cpp.
#include <tavrin/Reflection.h>

#include <tavrin/SimpleArray.h>

#include "live/ErrorCodes.h"
#include "reflection/ClassListing.h"

using namespace Tavrin;

PropertyManagerClassInfo::PropertyManagerClassInfo(const LivePropertyInfo *table,
                                                   const String &className)
    : manager(table), name(className)
{}

PropertyManagerClassInfo::~PropertyManagerClassInfo() = default;

void PropertyManagerClassInfo::getName(String &out) const
{
    out = name;
}

void PropertyManagerClassInfo::getDescription(bool, String &out) const
{
    out = text;
}

ClassKind PropertyManagerClassInfo::getKind() const
{
    return kClassOfTable;
}

int PropertyManagerClassInfo::enumerate(SimpleArray &ids, int flags) const
{
    if ((flags & kListStatic) != 0)
        return 0;
    const int wanted = detail::withLanguage(flags);
    const int first = ids.length();
    const int code = manager.enumerate(ids, wanted);
    // A constructor is no service of an instance, and neither is an id that has lost its name.
    detail::dropByName(manager, ids, first, wanted, [](int nameCode, bool hasName) {
        return !hasName && nameCode != detail::errorOutOfMemory;
    });
    return code;
}

const ServiceInfo *PropertyManagerClassInfo::getServiceInfo(const String &service) const
{
    return service.length() > 0 ? manager.getServiceInfo(service, kDefaultLanguage) : nullptr;
}

const ServiceInfo *PropertyManagerClassInfo::getServiceInfo(int id) const
{
    return manager.getServiceInfo(id, kDefaultLanguage);
}

const ServiceInfo *PropertyManagerClassInfo::getStaticServiceInfo(const String &service) const
{
    return service.length() > 0 ? nullptr : manager.getConstructor(kDefaultLanguage);
}

void PropertyManagerClassInfo::setText(const String &description)
{
    text = description;
}
