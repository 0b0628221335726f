// SPDX-License-Identifier: MIT
// The life and the identity of objects. Whatever an operation lets go may run code of the host that
// looks at the object, or lets the object go: it is whole before, and not touched afterwards.
// Pinned by tests/live/LiveObjectTest.cpp and LiveObjectCloneTest.cpp.
#include <tavrin/LiveObject.h>

#include <new>
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/LiveComponent.h>

#include "live/ComponentWalk.h"
#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"
#include "runtime/OnHeap.h"

namespace Tavrin {

using detail::guarded;
using detail::guardedAlone;
using detail::guardedOr;
using detail::isUsable;
using detail::LivePropertyAccess;

namespace {

const char *const defaultClassName = "Object";

void letGo(Root *userData)
{
    if (const auto *counted = dynamic_cast<const Refcountable *>(userData))
        counted->release();
    else
        delete userData;
}

} // namespace

InterfacePtr<LiveObject> detail::newPlainObject(const String &className)
{
    auto object = InterfacePtr<LiveObject>::adopt(new LiveObject(className, true));
    if (!object->isValid())
        throw std::bad_alloc();
    return object;
}

LiveObject::LiveObject(const String &name, bool isDynamic)
{
    start(name, isDynamic);
}

LiveObject::LiveObject(const char *name, bool isDynamic)
{
    start(name, isDynamic);
}

template <class Text>
void LiveObject::start(const Text &name, bool isDynamic)
{
    guardedAlone([&] {
        className = name;
        if (className.length() == 0)
            className = defaultClassName; // D-242
        data = new LiveObjectData;
    });
    if (data == nullptr)
        LiveObject::invalidate();
    else if (isDynamic)
        flags = dynamicFlag;
}

LiveObject::~LiveObject()
{
    setValid(false);
    if (getRefCount() > 0) // on the stack of a host
        WeakRefBase::release(this);
    if (data == nullptr)
        return;
    if (Root *userData = std::exchange(data->userData, nullptr))
        letGo(userData);
    endAutostore();
    data->dropClassInfo();
    detail::deleteOnHeap(std::exchange(data->value, nullptr));
    for (LiveComponent *component : std::exchange(data->components, {}))
        component->release();
    data->dispose(data->takeAll());
    delete std::exchange(data, nullptr);
}

const void *LiveObject::getAs(int code) const
{
    return const_cast<LiveObject *>(this)->LiveObject::getAs(code);
}

void *LiveObject::getAs(int code)
{
    if (code == asLiveObject)
        return this;
    if (code != asValue)
        return LiveBase::getAs(code);
    if (data == nullptr)
        return nullptr;
    if (data->value == nullptr)
        guardedAlone([&] { data->value = detail::newOnHeap<Variant>(); });
    return data->value;
}

void LiveObject::invalidate()
{
    if (!isValid())
        return;
    LiveBase::invalidate();
    tell(becameInvalid);
}

void LiveObject::revalidate()
{
    if (isValid())
        return;
    LiveBase::revalidate();
    tell(becameValid);
}

void LiveObject::propertyDefsChanged() const
{
    tell(definitionsChanged);
}

// Listeners may drop the object during the message.
void LiveObject::tell(int messageID) const
{
    if (data == nullptr)
        return;
    const detail::SelfHold self(*this);
    guardedAlone([&] { broadcast(messageID); });
}

int LiveObject::initialize(const Array &, Error *)
{
    return 0;
}

const String &LiveObject::getClassName() const
{
    return className;
}

bool LiveObject::operator==(const LiveObject &other) const
{
    if (!isUsable(*this) || !isUsable(other))
        return false;
    return guardedOr(false, [&] {
        return getClassName() == other.getClassName() && data->objectID == other.data->objectID &&
               hasSameAutostore(other) && data->components == other.data->components;
    });
}

void LiveObject::setData(Root *newData)
{
    if (data == nullptr || data->userData == newData)
        return;
    if (const auto *counted = dynamic_cast<const Refcountable *>(newData))
        counted->addRef();
    if (Root *oldData = std::exchange(data->userData, newData))
        letGo(oldData);
}

Root *LiveObject::getData() const
{
    return data != nullptr ? data->userData : nullptr;
}

int LiveObject::getObjectID() const
{
    return data != nullptr ? data->objectID : 0;
}

void LiveObject::setObjectID(int id)
{
    if (data != nullptr)
        data->objectID = id;
}

bool LiveObject::hasOperators() const
{
    if ((flags & operatorsFlag) == 0 && getPropertyManager() != nullptr &&
        getPropertyManager()->hasOperators())
        flags |= operatorsFlag;
    return (flags & operatorsFlag) != 0;
}

void LiveObject::reset()
{
    if (!isUsable(*this))
        return;
    const detail::SelfHold self(*this);
    flags &= resetMask;
    for (detail::ComponentWalk walk(*this); LiveComponent *component = walk.next();)
        guardedAlone([&] {
            component->reset();
            if (component->hasOperators())
                flags |= operatorsFlag;
        });
    guardedAlone([&] { deleteDynamicProperties(true); });
}

int LiveObject::clone(LiveObject **out, bool isDeep) const
{
    *out = nullptr;
    if (!isUsable(*this))
        return detail::errorInvalid;
    const detail::SelfHold hold(*this);
    return guarded(nullptr, [&] {
        // The constructor of a class does not change the object that it is called on.
        Variant made;
        auto &self = const_cast<LiveObject &>(*this);
        const int code = self.call(constructorID, Array(), made, nullptr);
        InterfacePtr<LiveObject> target;
        if (code == detail::errorUndefined || code == detail::errorNoFunction)
            target = detail::newPlainObject(getClassName());
        else if (code != 0)
            return code;
        else
            target = made.getLiveObject();
        if (!target)
            return detail::errorNoConstructor;
        const int failure = cloneContent(*target, isDeep);
        if (failure == 0)
            *out = target.detach();
        return failure;
    });
}

int LiveObject::cloneContent(LiveObject &target, bool isDeep) const
{
    if (!isUsable(*this) || !isUsable(target))
        return detail::errorInvalid;
    if (&target == this)
        return 0;
    const detail::SelfHold self(*this);
    const detail::SelfHold held(target);
    return guarded(nullptr, [&] {
        target.className = className;
        target.flags = flags;
        if (auto *ownValue = std::as_const(*data).value) {
            auto *targetValue = static_cast<Variant *>(target.LiveObject::getAs(asValue));
            if (targetValue == nullptr)
                return detail::errorOutOfMemory;
            *targetValue = *ownValue;
        } else if (target.data->value != nullptr) {
            target.data->value->erase();
        }
        for (LiveComponent *component : std::exchange(target.data->components, {}))
            component->release();
        for (int at = 0; at < data->components.length(); ++at) {
            const InterfacePtr<LiveComponent> component = std::as_const(data->components)[at];
            if (const int code = target.addComponent(*component))
                return code;
        }
        return isDeep ? cloneProperties(target) : 0;
    });
}

// A property may be of a class of the host, and its value may run code of the host when it is
// released, which may change the list.
int LiveObject::cloneProperties(LiveObject &target) const
{
    const PropertyUse use(*data);
    TSimpleArray<LiveProperty> originals;
    for (LiveProperty *each = data->properties; each != nullptr; each = each->getNext())
        originals.append(each);
    target.deleteDynamicProperties(true);
    target.data->propertyCount = data->propertyCount;
    for (LiveProperty *original : originals) {
        LiveProperty *copy =
            target.createProperty(original->getName(), original->getID(), original->getFlags());
        if (copy == nullptr)
            return detail::errorOutOfMemory;
        LivePropertyAccess::flags(*copy) = original->getFlags();
        LivePropertyAccess::index(*copy) = original->getIndex();
        LivePropertyAccess::value(*copy) = LivePropertyAccess::value(*original);
        target.data->link(*copy); // D-245
    }
    return 0;
}

} // namespace Tavrin
