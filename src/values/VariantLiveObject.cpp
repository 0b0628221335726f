// SPDX-License-Identifier: MIT
// Live objects as values. A value holds one reference to its object. Through a script object it
// sees the live object that the script object wraps.
// Pinned by tests/live/VariantLiveObjectTest.cpp.
#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

// Doors: this is the one source of values that knows live objects.
#include <tavrin/LiveCollection.h>

// As above.
#include "live/Guarded.h"
// As above.
#include "live/Locked.h"
// As above.
#include "live/SelfHold.h"
#include "values/LiveValue.h"

namespace Tavrin {

namespace detail {

namespace {

// Keeps an object alive and locked while it is asked.
class Held
{
public:
    explicit Held(const LiveObject &object) : reference(&object), locked(object) {}

private:
    const InterfacePtr<const LiveObject> reference;
    const Locked locked;
};

InterfacePtr<LiveObject> collectionOf(const Array &array, const char *className)
{
    return InterfacePtr<LiveObject>::adopt(new LiveArray(array, className, 0, false));
}

void *faceOf(LiveObject &object, int code)
{
    return guardedOr<void *>(nullptr, [&] { return object.getAs(code); });
}

} // namespace

void holdLiveObject(const LiveObject &object)
{
    object.addRef();
}

void dropLiveObject(const LiveObject &object)
{
    object.release();
}

bool isValidLiveObject(const LiveObject &object)
{
    return object.isValid();
}

bool areEqualLiveObjects(const LiveObject &a, const LiveObject &b)
{
    const SelfHold left(a);
    const SelfHold right(b);
    return guardedOr(false, [&] { return a == b; });
}

Root *dataOf(const LiveObject &object)
{
    return guardedOr<Root *>(nullptr, [&] { return object.getData(); });
}

void setDataOf(LiveObject &object, Root *data)
{
    guardedAlone([&] { object.setData(data); });
}

void writeLiveObject(const LiveObject &object, String &out)
{
    const Held held(object);
    out.erase();
    guardedAlone([&] { object.toString(out); });
}

void askLiveObject(const LiveObject &object, Variant &answer)
{
    const Held held(object);
    guardedAlone([&] { object.valueOf(answer); });
}

LiveObject *newLiveArray(const Array &array, const char *className) noexcept
{
    auto made =
        guardedOr(InterfacePtr<LiveObject>(), [&] { return collectionOf(array, className); });
    return made && made->isValid() ? made.detach() : nullptr;
}

} // namespace detail

LiveObject *Variant::getLiveObject() const
{
    if (type == kLiveObject)
        return value.liveObject;
    return type == kObject && jsObject != nullptr ? jsObject->wrappedObject : nullptr;
}

void *Variant::getLiveAs(int code) const
{
    LiveObject *object = getLiveObject();
    return object != nullptr ? detail::faceOf(*object, code) : nullptr;
}

LiveCollection *Variant::getLiveCollection() const
{
    return static_cast<LiveCollection *>(getLiveAs(asLiveCollection));
}

Array *Variant::getArray() const
{
    return type == kArray ? value.array : static_cast<Array *>(getLiveAs(asArray));
}

bool Variant::getArray(Array &out) const
{
    if (const Array *array = getArray()) {
        out = *array;
        return true;
    }
    if (type != kLiveObject)
        return false;
    const InterfacePtr<LiveCollection> collection = getLiveCollection();
    return collection && detail::guardedOr(false, [&] { return copyElements(*collection, out); });
}

// Fetches the elements one by one, up to the first that fails, into an array that no one else has.
bool Variant::copyElements(const LiveCollection &collection, Array &out)
{
    unsigned length = 0;
    if (collection.getLength(length) != 0)
        return false;
    Array elements(length);
    unsigned index = 0;
    for (; index < length; ++index) {
        Variant element;
        if (collection.getByIndex(index, element, nullptr) != 0)
            break;
        elements[index] = std::move(element);
    }
    out = std::move(elements);
    return index == length;
}

VariantType Variant::getDataType() const
{
    if (type != kObject && type != kLiveObject)
        return type;
    if (getRegExp() != nullptr)
        return kRegExp;
    if (getLiveAs(asArray) != nullptr)
        return kArray;
    return getLiveObject() != nullptr ? kLiveObject : type;
}

// What the caller's pointer held goes last, here and below: this value may be a part of it.
bool Variant::getAsLiveObject(InterfacePtr<LiveObject> &object) const
{
    InterfacePtr<LiveObject> found;
    if (type != kArray)
        found = getLiveObject();
    else if (value.array != nullptr)
        found = InterfacePtr<LiveObject>::adopt(detail::newLiveArray(*value.array, "Collection"));
    object.swap(found);
    return static_cast<bool>(object);
}

bool Variant::getAsLiveCollection(InterfacePtr<LiveCollection> &collection) const
{
    InterfacePtr<LiveCollection> found;
    InterfacePtr<LiveObject> object;
    if (getAsLiveObject(object))
        found = static_cast<LiveCollection *>(detail::faceOf(*object, asLiveCollection));
    collection.swap(found);
    return static_cast<bool>(collection);
}

void Variant::setLiveObject(LiveObject &object, int id)
{
    Variant fresh;
    detail::holdLiveObject(object);
    fresh.type = kLiveObject;
    fresh.value.liveObject = &object;
    objectID = id;
    adopt(fresh);
}

void Variant::setLiveObject(LiveObject *object, int id)
{
    if (object != nullptr)
        setLiveObject(*object, id);
    else
        setNull();
}

Array &Array::operator+=(LiveObject *object)
{
    return append(Variant(object));
}

} // namespace Tavrin
