// SPDX-License-Identifier: MIT
// Reading, writing and calling by id.
//
// The overrides of a class have tested their ids already. The dynamic properties are asked first,
// then the components from the last one to the first; those properties whose values live with
// listeners are asked for by messages. The code of every answer ends in the error, worded, unless
// whoever failed has worded it.
// Pinned by tests/live/LiveObjectDispatchTest.cpp and LiveObjectMessageTest.cpp.
#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/LiveComponent.h>
#include <tavrin/Message.h>

#include "live/ComponentWalk.h"
#include "live/Guarded.h"
#include "live/InfoTypes.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::ComponentWalk;
using detail::guarded;
using detail::isCallable;
using detail::isReadable;
using detail::isUsable;
using detail::isWritable;
using detail::LivePropertyAccess;

namespace {

bool isByMessage(const LiveProperty &property)
{
    return (property.getFlags() & kPropertyByMessage) != 0;
}

// The code of the operation, worded. The object may be let go meanwhile.
template <class Operation>
int answer(const LiveObject &object, int id, Error *error, Operation operation)
{
    const detail::SelfHold hold(object);
    const int code = guarded(error, operation);
    if (code == 0) [[likely]]
        return 0;
    return object.setError(code, id, error, false);
}

int getByMessage(const LiveObject &object, LiveProperty &property, Variant &out, Error *error)
{
    LiveMessage message(object, askGet, property.getID(), error);
    if (!object.broadcast(message))
        return detail::errorUndefined;
    if (message.getError() == 0) {
        LivePropertyAccess::value(property) = *message.getData();
        out = LivePropertyAccess::value(property);
    }
    return message.getError();
}

int getDynamic(const LiveObject &object, LiveProperty &property, Variant &out, Error *error)
{
    if (!isReadable(property.getType()))
        return detail::errorUndefined;
    const PropertyUse use(*detail::LiveObjectAccess::data(object));
    return isByMessage(property) ? getByMessage(object, property, out, error) : property.get(out);
}

int getFromComponent(const LiveObject &object, int id, Variant &out, Error *error)
{
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();) {
        const InfoType type = component->getType(object, id);
        if (isReadable(type))
            return component->get(object, id, out, error);
        if (type == kInfoMethod || type == kInfoHidden)
            break;
    }
    return detail::errorUndefined;
}

// A write is done by somebody, or by nobody; then it is not autostored.
struct Write
{
    int code = detail::errorUndefined;
    bool isHandled = false;
};

Write putByMessage(LiveObject &object, const LiveProperty &property, const Variant &value,
                   Error *error)
{
    LiveMessage message(object, askPut, property.getID(), value, error);
    if (!object.broadcast(message))
        return {};
    const int code = message.getError();
    return {code == detail::errorUndefined ? 0 : code, true};
}

Write putDynamic(LiveObject &object, LiveProperty &property, const Variant &value, Error *error)
{
    const bool isOpen = (property.getFlags() & kPropertyFirstPut) != 0; // D-243
    if (!isOpen && !isWritable(property.getType()))
        return {};
    const PropertyUse use(*detail::LiveObjectAccess::data(object));
    if (isByMessage(property))
        return putByMessage(object, property, value, error);
    return {property.put(value), true};
}

Write putToComponent(LiveObject &object, int id, const Variant &value, Error *error)
{
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();) {
        const InfoType type = component->getType(object, id);
        if (isWritable(type))
            return {component->put(object, id, value, error), true};
        if (type == kInfoReadOnly || type == kInfoReadOnlyMethod)
            return {detail::errorReadOnly, false};
        if (type == kInfoMethod || type == kInfoHidden)
            break;
    }
    return {};
}

int callByMessage(const LiveObject &object, LiveObject &thisObject, const LiveProperty &property,
                  const Array &args, Variant &result, Error *error)
{
    // D-247: the answer 2 of a listener, and no answer, leave this code.
    const int code =
        thisObject.getClassName() == object.getClassName() ? 0 : detail::errorWrongClass;
    LiveMessage message(thisObject, askCall, property.getID(), args, error);
    if (!object.broadcast(message) || message.getError() == detail::errorUndefined)
        return code;
    if (message.getError() == 0)
        result = *message.getData();
    return message.getError();
}

int callDynamic(const LiveObject &object, LiveObject &thisObject, LiveProperty &property,
                const Array &args, Variant &result, Error *error)
{
    if (!isCallable(property.getType()))
        return detail::errorNoFunction;
    const PropertyUse use(*detail::LiveObjectAccess::data(object));
    return isByMessage(property) ? callByMessage(object, thisObject, property, args, result, error)
                                 : property.call(args, result);
}

int callComponent(const LiveObject &object, LiveObject &thisObject, int id, const Array &args,
                  Variant &result, Error *error)
{
    for (ComponentWalk walk(object); LiveComponent *component = walk.next();) {
        const InfoType type = component->getType(object, id);
        if (type == kInfoNone)
            continue;
        if (type == kInfoHidden)
            return detail::errorUndefined;
        if (!isCallable(type))
            break;
        if (!component->isGeneric(id) && thisObject.getClassName() != object.getClassName())
            return detail::errorWrongClass;
        return component->call(thisObject, id, args, result, error);
    }
    return detail::errorNoFunction;
}

} // namespace

int LiveObject::get(int id, Variant &out, Error *error) const
{
    // Nothing of the host runs here, but for what `out` lets go at the very end.
    if (isUsable(*this)) [[likely]] {
        const LiveProperty *property = data->findByID(id);
        if (property != nullptr && LivePropertyAccess::readPlain(*property, out))
            return 0;
    }
    return answer(*this, id, error, [&] {
        out.erase();
        if (!isUsable(*this))
            return detail::errorInvalid;
        if (LiveProperty *property = data->findByID(id))
            return getDynamic(*this, *property, out, error);
        return getFromComponent(*this, id, out, error);
    });
}

int LiveObject::put(int id, const Variant &value, Error *error)
{
    return answer(*this, id, error, [&] {
        if (!isUsable(*this))
            return detail::errorInvalid;
        LiveProperty *property = data->findByID(id);
        const Write write = property != nullptr ? putDynamic(*this, *property, value, error)
                                                : putToComponent(*this, id, value, error);
        const bool isDone = write.isHandled && write.code == 0;
        return isDone ? invokeAutostore(error) : write.code;
    });
}

int LiveObject::call(int id, const Array &args, Variant &result, Error *error)
{
    return guarded(error, [&] { return apply(*this, id, args, result, error); });
}

int LiveObject::apply(LiveObject &thisObject, int id, const Array &args, Variant &result,
                      Error *error) const
{
    return answer(*this, id, error, [&] {
        const detail::SelfHold held(thisObject);
        result.erase();
        if (!isUsable(*this))
            return detail::errorInvalid;
        if (LiveProperty *property = data->findByID(id))
            return callDynamic(*this, thisObject, *property, args, result, error);
        return callComponent(*this, thisObject, id, args, result, error);
    });
}

} // namespace Tavrin
