// SPDX-License-Identifier: MIT
// Script objects as values: made ones, which the interpreter counts by the value, and unassigned
// ones, which are an id, a class name and a data pointer until the interpreter makes them.
// Pinned by tests/values/VariantObjectTest.cpp.
#include <tavrin/Variant.h>

#include <tvscript/Object.h>

#include "values/LiveValue.h"
#include "values/ScriptObject.h"

namespace Tavrin {

namespace {

// D-160
constexpr int firstReservedID = -10;
constexpr int lastReservedID = -1;

} // namespace

bool Variant::isValidObject() const
{
    if (type == kLiveObject)
        return detail::isValidLiveObject(*value.liveObject);
    return type == kObject && jsObject != nullptr && jsObject->isValid();
}

Root *Variant::getObjectData() const
{
    if (type == kLiveObject)
        return detail::dataOf(*value.liveObject);
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
    if (type == kLiveObject)
        detail::setDataOf(*value.liveObject, data);
    else if (type == kObject && jsObject != nullptr)
        jsObject->setData(data);
    else if (type == kObject)
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
