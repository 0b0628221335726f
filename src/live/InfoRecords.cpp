// SPDX-License-Identifier: MIT
#include "live/InfoRecords.h"

#include <memory>
#include <new>

// The records of reflection are made of what properties and objects know, and handed out by them.
#include <tavrin/Reflection.h>

#include "live/Guarded.h"
// As above.
#include "reflection/LiveObjectInfo.h"

namespace Tavrin::detail {

namespace {

const ClassInfo *makeClassRecord(LiveObject &object)
{
    return new LiveObjectClassInfo(object);
}

} // namespace

const ServiceInfo *newServiceRecord(int id, const String &name, InfoType type,
                                    const String &description) noexcept
try {
    return new PropServiceInfo(id, name, type, description);
} catch (const std::bad_alloc &) {
    return nullptr;
}

const ServiceInfo *newConstructorRecord(const String &description) noexcept
try {
    String name;
    const std::unique_ptr<TypeInfo> type(
        TypeInfo::parse(description, -1, &name, nullptr, nullptr, nullptr));
    if (type == nullptr)
        return nullptr;
    if (name.length() == 0) // D-280: whatever the type is
        type->getDataTypeAsString(name);
    return new PropServiceInfo(0, name, kInfoMethod, description);
} catch (const std::bad_alloc &) {
    return nullptr;
}

// The object tells its class name, which a host may have overridden.
const ClassInfo *newClassRecord(LiveObject &object) noexcept
{
    return guardedOr<const ClassInfo *>(nullptr, [&] { return makeClassRecord(object); });
}

} // namespace Tavrin::detail
