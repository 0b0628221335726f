// SPDX-License-Identifier: MIT
// Script objects as values: made ones, which the interpreter counts by the value, and unassigned
// ones, which are an id, a class name and a data pointer until the interpreter makes them.
// Pinned by tests/values/VariantObjectTest.cpp.
#include <tavrin/Variant.h>

#include <tavrin/Error.h>
#include <tvscript/Object.h>

#include "values/ErrorCodes.h"
#include "values/ScriptObject.h"

namespace Tavrin {

namespace {

// D-160
constexpr int firstReservedID = -10;
constexpr int lastReservedID = -1;

int refuseAsNoObject(const Variant &value, Error *error)
{
    if (error != nullptr)
        error->push(detail::errorNotAnObject, value.getString(), nullptr, true);
    return detail::errorNotAnObject;
}

} // namespace

VariantType Variant::getDataType() const
{
    return type;
}

bool Variant::isValidObject() const
{
    return type == kObject && jsObject != nullptr && jsObject->isValid();
}

Root *Variant::getObjectData() const
{
    if (type != kObject)
        return nullptr;
    return jsObject != nullptr ? jsObject->data : value.data;
}

TvScript::Engine *Variant::getTavrinscriptEngine() const
{
    return type == kObject && jsObject != nullptr ? jsObject->getEngine() : nullptr;
}

void Variant::setJSObject(TvScript::Object &object)
{
    if (type == kObject && jsObject == &object)
        return;
    Variant fresh;
    detail::addObject(object);
    fresh.type = kObject;
    fresh.jsObject = &object;
    adopt(fresh);
}

void Variant::setJSObject(TvScript::Object *object)
{
    if (object != nullptr)
        setJSObject(*object);
    else
        setNull();
}

void Variant::setObject(int id, const String &className, Root *data)
{
    Variant fresh;
    fresh.makeText(className); // which may be part of what this value holds
    fresh.type = kObject;
    fresh.value.data = data;
    fresh.objectID = id;
    adopt(fresh);
}

void Variant::setObjectData(Root *data)
{
    if (type != kObject)
        return;
    if (jsObject != nullptr)
        jsObject->setData(data);
    else
        value.data = data;
}

void Variant::setObjectID(int id)
{
    if (type != kObject || (id >= firstReservedID && id <= lastReservedID))
        return;
    if (jsObject != nullptr)
        jsObject->setObjectID(id);
    else
        objectID = id;
}

int Variant::getObjectProperties(THashTable<Variant> &properties, int flags, Error *error) const
{
    const Variant holder(*this); // the object may let this value go
    TvScript::Object *object = holder.getJSObject();
    return object != nullptr ? object->getProperties(properties, flags, error)
                             : refuseAsNoObject(*this, error);
}

int Variant::setObjectProperties(const THashTable<Variant> &properties, Error *error)
{
    const Variant holder(*this);
    TvScript::Object *object = holder.getJSObject();
    return object != nullptr ? object->setProperties(properties, error)
                             : refuseAsNoObject(*this, error);
}

void Variant::setHardRef(bool hard)
{
    if (hard == isHardRef())
        return;
    attrs ^= HARD_REF;
    if (type != kObject || jsObject == nullptr)
        return;
    if (hard)
        detail::addHardHolder(*jsObject);
    else
        detail::dropHardHolder(*jsObject);
}

} // namespace Tavrin
