// SPDX-License-Identifier: MIT
// Whole objects as tables of values. Pinned by tests/live/VariantPropertiesTest.cpp.
#include <tavrin/Error.h>
#include <tavrin/HashTable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

// A door: the properties are asked for one by one.
#include <tavrin/LiveObject.h>

// As above.
#include "live/Guarded.h"
// As above.
#include "live/Locked.h"
#include "runtime/OnHeap.h"
#include "values/ErrorCodes.h"

namespace Tavrin {

using detail::guarded;

namespace {

void store(const String &name, const Variant &value, THashTable<Variant> &properties)
{
    Variant *stored = properties.find(name, false);
    if (stored == nullptr) {
        stored = detail::newOnHeap<Variant>();
        try {
            properties.set(name, stored, false);
        } catch (...) {
            detail::deleteOnHeap(stored);
            throw;
        }
    }
    *stored = value;
}

int getAll(const LiveObject &object, THashTable<Variant> &properties, int flags)
{
    SimpleArray ids;
    if (const int code = object.enumerate(ids, flags))
        return code;
    for (const std::int64_t slot : std::as_const(ids)) {
        const auto id = static_cast<int>(slot);
        String name;
        Variant value;
        int code = object.getNameForID(id, name, flags);
        if (code == 0)
            code = object.get(id, value, nullptr);
        if (code != 0)
            return code;
        store(name, value, properties);
    }
    return 0;
}

// One write after the other, up to the first that fails.
struct Writing
{
    LiveObject &object;
    Error *error;
    int code = 0;

    static bool writeOne(const String &name, std::int64_t *slot, std::int64_t argument)
    {
        auto &writing = *reinterpret_cast<Writing *>(static_cast<std::intptr_t>(argument));
        if (writing.code != 0)
            return true;
        const Variant undefined;
        const Variant *value = THashTable<Variant>::fromValue(*slot);
        writing.code = writing.object.put(name, value != nullptr ? *value : undefined,
                                          kInfoReadWrite, writing.error);
        return true;
    }
};

int putAll(LiveObject &object, const THashTable<Variant> &properties, Error *error)
{
    THashTable<Variant> copy = properties;
    Writing writing{object, error};
    copy.forEach(Writing::writeOne, reinterpret_cast<std::intptr_t>(&writing));
    return writing.code;
}

int failNoObject(const Variant &value, Error *error)
{
    if (error != nullptr)
        error->push(detail::errorNotAnObject, value.getString(), nullptr, true);
    return detail::errorNotAnObject;
}

} // namespace

int Variant::getObjectProperties(THashTable<Variant> &properties, int flags, Error *error) const
{
    const Variant holder(*this); // the object may let this value go
    if (TvScript::Object *script = holder.getJSObject())
        return script->getProperties(properties, flags, error);
    if (type != kLiveObject)
        return failNoObject(*this, error);
    return guarded(error, [&] {
        LiveObject *object = holder.value.liveObject;
        const detail::Locked locked(*object);
        const int code = getAll(*object, properties, flags);
        if (code != 0 && error != nullptr)
            error->push(code, nullptr);
        return code;
    });
}

int Variant::setObjectProperties(const THashTable<Variant> &properties, Error *error)
{
    const Variant holder(*this);
    if (TvScript::Object *script = holder.getJSObject())
        return script->setProperties(properties, error);
    if (type != kLiveObject)
        return failNoObject(*this, error);
    return guarded(error, [&] {
        LiveObject *object = holder.value.liveObject;
        const detail::Locked locked(*object);
        return putAll(*object, properties, error);
    });
}

void Variant::eraseProperties(THashTable<Variant> &properties)
{
    properties.forEach(
        [](const String &, std::int64_t *slot, std::int64_t) {
            detail::deleteOnHeap(THashTable<Variant>::fromValue(*slot));
            return true;
        },
        0);
    properties.erase();
}

} // namespace Tavrin
