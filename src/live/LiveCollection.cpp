// SPDX-License-Identifier: MIT
// Elements and their number: the first indexable component has them, or else listeners are asked,
// or else there are none. Pinned by tests/live/LiveCollectionTest.cpp.
#include <tavrin/LiveCollection.h>

#include <tavrin/LiveComponent.h>
#include <tavrin/Message.h>

#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::errorInvalid;
using detail::errorNoIndex;
using detail::errorReadOnly;
using detail::guarded;
using detail::isUsable;
using detail::SelfHold;

namespace {

const char *classNameOr(const char *className, const char *defaultName)
{
    return className != nullptr && *className != '\0' ? className : defaultName;
}

bool isLengthName(const String &name, int flags)
{
    if ((flags & kCaselessLanguage) == 0)
        return name == "length";
    return name.length() == 6 && name.ucmp("length") == 0;
}

} // namespace

LiveCollection::LiveCollection(const char *className, int lengthPropertyID, bool isReadOnly)
    : LiveObject(classNameOr(className, "Collection"), !isReadOnly),
      lengthID(lengthPropertyID != 0 ? lengthPropertyID : getNextID()),
      readOnly(isReadOnly)
{}

LiveCollection::~LiveCollection() = default;

const void *LiveCollection::getAs(int code) const
{
    return code == asLiveCollection ? this : LiveObject::getAs(code);
}

void *LiveCollection::getAs(int code)
{
    return code == asLiveCollection ? this : LiveObject::getAs(code);
}

int LiveCollection::getIDForName(const String &name, int &id, InfoType &type, int flags) const
{
    if (!isUsable(*this) || !isLengthName(name, flags))
        return LiveObject::getIDForName(name, id, type, flags);
    id = lengthID;
    type = readOnly ? kInfoReadOnly : kInfoReadWrite;
    return 0;
}

int LiveCollection::getNameForID(int id, String &name, int flags) const
{
    if (!isUsable(*this) || id != lengthID)
        return LiveObject::getNameForID(id, name, kDefaultLanguage);
    return guarded(nullptr, [&] {
        name = flags == kCaselessLanguage ? "Length" : "length";
        return 0;
    });
}

InfoType LiveCollection::getType(int id)
{
    if (!isUsable(*this) || id != lengthID)
        return LiveObject::getType(id);
    return readOnly ? kInfoReadOnly : kInfoReadWrite;
}

int LiveCollection::enumerate(SimpleArray &ids, int flags) const
{
    if (const int code = LiveObject::enumerate(ids, flags))
        return code;
    return guarded(nullptr, [&] {
        const int wanted = readOnly ? kListReadOnly : kListReadWrite;
        if ((flags & wanted) != 0 && ids.indexOf(lengthID) < 0)
            ids.append(lengthID);
        return 0;
    });
}

int LiveCollection::get(int id, Variant &out, Error *error) const
{
    if (!isUsable(*this) || id != lengthID)
        return LiveObject::get(id, out, error);
    const SelfHold hold(*this);
    out.erase();
    const int code = guarded(error, [&] {
        unsigned int number = 0;
        const int failure = getLength(number);
        out.setInteger(number);
        return failure;
    });
    return setError(code, id, error, false);
}

int LiveCollection::put(int id, const Variant &value, Error *error)
{
    if (!isUsable(*this) || id != lengthID)
        return LiveObject::put(id, value, error);
    const SelfHold hold(*this);
    const int code = guarded(error, [&] { return putLength(value.getUInteger()); });
    return setError(code, id, error, false);
}

int LiveCollection::getLength(unsigned int &number) const
{
    number = 0;
    if (!isUsable(*this))
        return errorInvalid;
    const SelfHold hold(*this);
    return guarded(nullptr, [&] {
        if (const auto component = detail::indexableComponent(*this))
            return component->getLength(*this, number);
        if (!isListening(askGetLength))
            return 0;
        LiveMessage message(*this, askGetLength, 0, nullptr);
        if (!broadcast(message))
            return 0;
        if (message.getError() == 0)
            number = message.getData()->getUInteger();
        return message.getError();
    });
}

int LiveCollection::putLength(unsigned int number)
{
    if (!isUsable(*this))
        return errorInvalid;
    if (readOnly)
        return errorReadOnly;
    const SelfHold hold(*this);
    return guarded(nullptr, [&] {
        int code = 0;
        if (const auto component = detail::indexableComponent(*this))
            code = component->putLength(*this, number);
        if (isListening(askPutLength)) { // D-271
            Variant value;
            value.setInteger(number);
            LiveMessage message(*this, askPutLength, 0, value, nullptr);
            if (broadcast(message))
                code = message.getError();
        }
        return code == 0 ? invokeAutostore(nullptr) : code;
    });
}

int LiveCollection::getByIndex(unsigned int index, Variant &out, Error *error) const
{
    const SelfHold hold(*this);
    out.erase();
    const auto place = static_cast<int>(index);
    const int code = guarded(error, [&] {
        if (!isUsable(*this))
            return errorInvalid;
        if (const auto component = detail::indexableComponent(*this))
            return component->getByIndex(*this, index, out, error);
        if (!isListening(askGetIndex))
            return errorNoIndex;
        LiveMessage message(*this, askGetIndex, place, error);
        if (!broadcast(message))
            return errorNoIndex;
        if (message.getError() == 0)
            out = *message.getData();
        return message.getError();
    });
    return setError(code, place, error, true);
}

int LiveCollection::putByIndex(unsigned int index, const Variant &value, Error *error)
{
    const SelfHold hold(*this);
    const auto place = static_cast<int>(index);
    const int code = guarded(error, [&] {
        if (!isUsable(*this))
            return errorInvalid;
        if (readOnly)
            return errorReadOnly;
        int result = errorNoIndex;
        if (const auto component = detail::indexableComponent(*this)) {
            result = component->putByIndex(*this, index, value, error);
        } else if (isListening(askPutIndex)) {
            LiveMessage message(*this, askPutIndex, place, value, error);
            if (broadcast(message))
                result = message.getError();
        }
        return result == 0 ? invokeAutostore(nullptr) : result;
    });
    return setError(code, place, error, true);
}

int LiveCollection::deleteByIndex(unsigned int index)
{
    if (!isUsable(*this))
        return errorInvalid;
    if (readOnly)
        return errorReadOnly;
    const SelfHold hold(*this);
    return guarded(nullptr, [&] {
        int code = errorNoIndex;
        if (const auto component = detail::indexableComponent(*this)) {
            code = component->deleteByIndex(*this, index);
        } else if (isListening(askPutIndex)) { // D-272
            LiveMessage message(*this, askDeleteIndex, static_cast<int>(index), nullptr);
            if (broadcast(message))
                code = message.getError();
        }
        return code == 0 ? invokeAutostore(nullptr) : code;
    });
}

unsigned int LiveCollection::length() const
{
    return detail::guardedOr(0U, [&] {
        unsigned int number = 0;
        return getLength(number) == 0 ? number : 0;
    });
}

} // namespace Tavrin
